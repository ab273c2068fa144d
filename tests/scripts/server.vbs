' The server: what is known of the device, settings, configuration files, downloads and their events.
Option Explicit

Class DownloadSink
  Public Log
  Sub DownloadFirmwareInProgress(percent)
    Log = Log & "firmware " & percent & ";"
  End Sub
  Sub DownloadProjectInProgress(percent)
    Log = Log & "project " & percent & ";"
  End Sub
  Sub DownloadFirmwareComplete()
    Log = Log & "firmware complete;"
  End Sub
  Sub DownloadProjectComplete()
    Log = Log & "project complete;"
  End Sub
End Class

Class CompleteSink
  Public Log
  Sub DownloadFirmwareComplete()
    Log = Log & "complete;"
  End Sub
End Class

Dim server, group, sink, other, connection, second, files

Set server = ConfiguredServer()
CheckEqual "versions", Array(server.MajorVersion, server.MinorVersion, server.BootVersion, server.FirmwareVersion), Array(1, 0, 1, 1)
CheckTrue "description", InStr(server.Description, vbCrLf) > 1
CheckEqual "board", Array(server.BoardDescription, server.BoardStatus, server.BootDate), Array("Simulated panel", 0, "2024-01-15")
CheckEqual "line", server.CommunicationStatus, 0

server.BaudRate = 19200
server.ComPortNumber = 3
server.Timeout = 500
server.WordIO = -2
server.ProjectName = "plant"
CheckEqual "settings", Array(server.BaudRate, server.ComPortNumber, server.Timeout, server.WordIO, server.ProjectName), Array(19200, 3, 500, -2, "plant")
server.BaudRate = "38400"
CheckEqual "a text as a setting", server.BaudRate, 38400
server.Timeout = 600.0
CheckEqual "a broken number as a setting", server.Timeout, 600
server.AutoDownloadFirmware = True
server.AutoDownloadProject = -1
CheckEqual "flags", Array(server.AutoDownloadFirmware, server.AutoDownloadProject), Array(True, True)
server.AutoDownloadFirmware = False
server.AutoDownloadProject = 0
CheckEqual "flags taken back", Array(server.AutoDownloadFirmware, server.AutoDownloadProject), Array(False, False)

' Downloads: events arrive inside the call.
Set sink = New DownloadSink
Set other = New CompleteSink
connection = Host.Advise(server, sink)
Host.Advise server, other
server.DownloadFirmware "panel.fw"
CheckEqual "firmware", sink.Log, "firmware 100;firmware complete;"
CheckEqual "a sink without a function for an event", other.Log, "complete;"
sink.Log = ""
server.DownloadProject "panel.obj"
CheckEqual "project", sink.Log, "project 33;project 66;project 100;project complete;"
sink.Log = ""
server.DownloadFirmware "there_is_none.fw"
CheckEqual "a file that is not there", sink.Log, ""
Host.Unadvise server, connection
server.DownloadFirmware "panel.fw"
CheckEqual "a withdrawn sink", sink.Log, ""

' Configuration files.
Set group = server.KELDataGroups.Add("Line 1")
group.UpdateRate = 250
group.Subscribed = True
group.KELDataItems.Add("WO104", "Torque").Signed = True
group.KELDataItems.Add "ST0020010", "Recipe"
server.SaveConfigurationToFile "saved.ini"
Set files = CreateObject("Scripting.FileSystemObject")
CheckTrue "a file was written", files.FileExists("saved.ini")

Set second = CreateObject("ORVOBusiness.KELDataServer")
second.SetDriverConfigurationFile "drivers.ini"
second.LoadConfigurationFromFile "saved.ini"
CheckEqual "loaded settings", Array(second.ServerStatus, second.DeviceType, second.BaudRate, second.ComPortNumber, second.Timeout, second.WordIO), Array(2, 2, 38400, 3, 600, -2)
CheckEqual "project of a loaded configuration", second.ProjectName, "saved.ini"
CheckEqual "loaded groups", second.KELDataGroups.Count, 1
Set group = second.KELDataGroups.ItemByName("Line 1")
CheckEqual "loaded group", Array(group.UpdateRate, group.Subscribed, group.Active, group.KELDataItems.Count), Array(250, True, False, 2)
CheckEqual "loaded item", Array(group.KELDataItems(1).ItemName, group.KELDataItems(1).Signed, group.KELDataItems(2).ItemId), Array("Torque", True, "ST0020010")
second.LoadConfigurationFromFile "saved.ini", False
second.LoadConfigurationFromFile "saved.ini", True
CheckEqual "loaded again", second.KELDataGroups.Count, 1

On Error Resume Next
second.LoadConfigurationFromFile "drivers.ini"
CheckError "a file without configuration", errInvalidFileFormat, "Invalid file format: drivers.ini"
second.SaveConfigurationToFile "no_such_folder\saved.ini"
CheckTrue "a folder that is not there", Err.Number <> 0
Err.Clear
second.OpenCommunication
second.LoadConfigurationFromFile "saved.ini"
CheckError "a load when open", errInvalidState, "Invalid State: Server is running"
second.SaveConfigurationToFile "saved.ini"
CheckError "a save when open", errInvalidState, "Invalid State: Server not stopped"
On Error GoTo 0
second.CloseCommunication
Done
