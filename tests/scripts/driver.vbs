' The server with a driver that is a script component (driver.wsc): late bound from both sides.
Option Explicit

Class DownloadSink
  Public Log
  Sub DownloadFirmwareInProgress(percent)
    Log = Log & percent & ";"
  End Sub
  Sub DownloadFirmwareComplete()
    Log = Log & "firmware complete;"
  End Sub
  Sub DownloadProjectComplete()
    Log = Log & "project complete;"
  End Sub
End Class

Dim server, group, items, values, itemErrors, value, itemError, sink, downloads, transaction, broken, start, status

Set server = CreateObject("ORVOBusiness.KELDataServer")
server.SetDriverConfigurationFile "scripted.ini"
server.DeviceType = 1
CheckEqual "what the driver tells", Array(server.MajorVersion, server.MinorVersion, server.BootVersion, server.BootDate, server.FirmwareVersion), Array(2, 3, 1.5, "2025-05-01", 2.5)
CheckEqual "the network type of the file arrived", server.BoardDescription, "Scripted panel, network 4"
CheckTrue "description", InStr(server.Description, "Scripted communication driver") > 0
server.BaudRate = 19200
server.ComPortNumber = 2
server.ProjectName = "plant"
server.WordIO = 5
server.Timeout = 250
CheckEqual "settings", Array(server.BaudRate, server.ComPortNumber, server.ProjectName, server.WordIO, server.Timeout), Array(19200, 2, "plant", 5, 250)

' Failures of the driver arrive with their number.
On Error Resume Next
server.BaudRate = 5
CheckErrorBegins "a bad value (10)", errInvalidValue, "Invalid Value: "
server.ComPortNumber = 0
CheckErrorBegins "a state error (2)", errInvalidState, "Invalid State: "
server.BaudRate = 200000
CheckErrorBegins "any other number", errInternal, "INTERNAL ERROR, please contact support. code"
server.DeviceType = 3
CheckError "a device that the driver does not know", errInvalidDeviceType, "Invalid device type: 3"
server.DeviceType = 1
CheckNoError "a device"
Set group = server.KELDataGroups.Add("Line 1")
Set items = group.KELDataItems
items.Add "XX1"
CheckErrorBegins "an identifier that the device does not know", errInvalidItemId, "Invalid ItemID: XX1"
On Error GoTo 0

items.Add "WO1", "Speed"
items.Add "FL2", "Level"
items.Add "ST0000310", "Recipe"
items.Add "WO500", "Motor"
Set broken = items.Add("WO77", "Broken")
CheckEqual "what the device compiled", Array(items(2).ItemType, items(2).ItemWordLength, items(3).ItemType, items(3).ItemWordLength), Array(2, 2, 1, 5)
CheckEqual "compiled addresses", group.CompileVariable(Array(1, 2, 3)), Array(1, 1002, 2003)
On Error Resume Next
items.Add "WO6"
CheckErrorBegins "a group that does not fit", errInvalidItemId, "Invalid ItemID: WO6"
On Error GoTo 0

server.OpenCommunication
CheckEqual "status and line", Array(server.ServerStatus, server.CommunicationStatus), Array(3, 1)
group.SyncWrite Array(1, 2, 3, 4), Array(1500, 0.5, "Mango", 3), itemErrors
CheckEqual "errors of a write", itemErrors, Array(0, 0, 0, 0)
group.SyncRead Array(1, 2, 3, 4, 5), values, itemErrors
CheckEqual "errors of a read", itemErrors, Array(0, 0, 0, 0, 7)
CheckEqual "number, broken number, text, bit", Array(values(0), values(1), values(2), values(3)), Array(1500, 0.5, "Mango     ", 1)
value = "before"
broken.SyncRead value, itemError
CheckEqual "an item that fails", Array(value, itemError), Array("before", 7)
broken.SyncWrite 1, itemError
CheckEqual "its write", itemError, 7

' Answered later, from another call.
Set sink = New GroupSink
Host.Advise group, sink
group.Subscribed = True
server.CloseCommunication
items.Remove 5
items.Add "WO88", "Late"
server.OpenCommunication
group.AsyncRead Array(5, 1), transaction
Host.Sleep 300
CheckEqual "no answer yet", sink.Events, Empty
start = Host.Ticks
Do
  Host.Sleep 10
  status = server.BoardStatus
Loop While status = 0 And Host.Ticks - start < 5000
CheckEqual "the driver answers inside this call", status, 1
AwaitEvents sink, 1
CheckEqual "the late answer", Array(sink.Log, sink.Values), Array("AsyncReadComplete " & transaction & ";", Array(0, 1500))

' Refreshes.
server.CloseCommunication
items.Remove 5
server.OpenCommunication
group.UpdateRate = 50
group.Active = True
AwaitEvents sink, 2
CheckEqual "the first change", sink.DataHandles, Array(1, 2, 3, 4)
group.AsyncWrite Array(1), Array(1600), transaction
AwaitEvents sink, 4
CheckEqual "a later change", Array(sink.DataHandles, sink.Values), Array(Array(1), Array(1600))
group.Active = False
server.CloseCommunication

' Downloads.
Set downloads = New DownloadSink
Host.Advise server, downloads
server.DownloadFirmware "panel.fw"
CheckEqual "firmware", downloads.Log, "50;100;firmware complete;"
server.DownloadProject "panel.obj"
CheckEqual "a download that fails tells nothing", downloads.Log, "50;100;firmware complete;"

server.SaveConfigurationToFile "scripted_saved.ini"
server.LoadConfigurationFromFile "scripted_saved.ini", False
CheckEqual "a loaded group", server.KELDataGroups(1).KELDataItems.Count, 4
Done
