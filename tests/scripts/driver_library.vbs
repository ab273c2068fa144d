' The server with a driver from a library of its own: called by its interface, with the same answers as the built-in one.
Option Explicit

Dim server, group, items, values, itemErrors, sink, transaction, value, itemError

Set server = CreateObject("ORVOBusiness.KELDataServer")
server.SetDriverConfigurationFile "library.ini"
server.DeviceType = 2
CheckEqual "what the driver tells", Array(server.BoardDescription, server.BootDate, server.CommunicationStatus), Array("Simulated panel", "2024-01-15", 0)
server.BaudRate = 19200
server.ProjectName = "plant"
CheckEqual "settings", Array(server.BaudRate, server.ProjectName), Array(19200, "plant")
On Error Resume Next
server.BaudRate = 123
CheckErrorBegins "a bad value", errInvalidValue, "Invalid Value: "
server.DeviceType = 9
CheckError "an unknown device", errInvalidDeviceType, "Invalid device type: 9"
server.DeviceType = 2
CheckNoError "a device"
On Error GoTo 0

Set group = server.KELDataGroups.Add("Line 1")
Set items = group.KELDataItems
items.Add "WO100"
items.Add "FL112"
items.Add "ST0020010"
items.Add "RA036"
items.AddCompiled "Ghost"
server.OpenCommunication
CheckEqual "line", server.CommunicationStatus, 1
group.SyncWrite Array(1, 2, 3, 4), Array(1500, 0.5, "Vanilla", Array(1, 2, 3, 4, 5, 255)), itemErrors
CheckEqual "errors of a write", itemErrors, Array(0, 0, 0, 0)
group.SyncRead Array(1, 2, 3, 4, 5), values, itemErrors
CheckEqual "errors of a read", itemErrors, Array(0, 0, 0, 0, 10)
CheckEqual "values", values, Array(1500, 0.5, "Vanilla   ", Array(1, 2, 3, 4, 5, 255), Empty)

Set sink = New GroupSink
Host.Advise group, sink
group.Subscribed = True
group.AsyncRead Array(1), transaction
AwaitEvents sink, 1
CheckEqual "event", Array(sink.Log, sink.Values), Array("AsyncReadComplete " & transaction & ";", Array(1500))
group.UpdateRate = 100
group.Active = True
AwaitEvents sink, 2
CheckTrue "a change", InStr(sink.Log, "DataChange") > 0
group.Active = False
server.CloseCommunication
CheckEqual "line when closed", server.CommunicationStatus, 0
server.DownloadFirmware "panel.fw"
Done
