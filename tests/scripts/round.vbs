' The whole round: create, configure, open, add, write, read, asynchronously too, subscribe, close.
Option Explicit

Dim server, groups, group, items, speed, level, recipe, handles, values, itemErrors, transaction, sink, connection
Dim value, itemError, stamp, other

Set server = CreateObject("ORVOBusiness.KELDataServer")
CheckEqual "status of a new server", server.ServerStatus, 1
CheckEqual "its device type", server.DeviceType, 0
CheckEqual "its device name", server.DeviceName, ""
CheckEqual "its automatic downloads", Array(server.AutoDownloadFirmware, server.AutoDownloadProject), Array(False, False)
server.SetDriverConfigurationFile "drivers.ini"
CheckEqual "status with a driver", server.ServerStatus, 1
server.DeviceType = 2
CheckEqual "status with a device", server.ServerStatus, 2

Set groups = server.KELDataGroups
CheckTrue "the same collection each time", groups Is server.KELDataGroups
CheckTrue "the parent of the groups", groups.Parent Is server
Set group = groups.Add("Line 1")
CheckEqual "the group", Array(group.Handle, group.GroupName, groups.Count), Array(1, "Line 1", 1)
CheckTrue "the parent of the group", group.Parent Is server
Set items = group.KELDataItems
Set speed = items.Add("WO100", "Speed")
Set level = items.Add("FL112", "Level")
Set recipe = items.Add("ST0020010", "Recipe")
CheckEqual "the item", Array(recipe.Handle, recipe.ItemName, recipe.ItemId, items.Count), Array(3, "Recipe", "ST0020010", 3)
CheckTrue "the parent of the item", recipe.Parent Is group
CheckTrue "the parent of the items", items.Parent Is group
CheckEqual "a value that was never read", Array(speed.USERValue, speed.DATAValue), Array(Empty, Empty)

server.OpenCommunication
CheckEqual "status and line", Array(server.ServerStatus, server.CommunicationStatus), Array(3, 1)

handles = Array(1, 2, 3)
group.SyncWrite handles, Array(1500, 0.5, "Vanilla"), itemErrors
CheckEqual "errors of a write", itemErrors, Array(0, 0, 0)
group.SyncRead handles, values, itemErrors
CheckEqual "values", values, Array(1500, 0.5, "Vanilla   ")
CheckEqual "errors of a read", itemErrors, Array(0, 0, 0)
CheckEqual "the handles are as they were", handles, Array(1, 2, 3)
CheckEqual "the item's value", speed.USERValue, 1500
CheckType "a time stamp", speed.TimeStamp, "Date"
CheckTrue "a time stamp of today", speed.TimeStamp > Date - 1 And speed.TimeStamp < Date + 2

group.SyncReadAll handles, values, itemErrors
CheckEqual "all", Array(handles, values, itemErrors), Array(Array(1, 2, 3), Array(1500, 0.5, "Vanilla   "), Array(0, 0, 0))
group.SyncWriteAll handles, Array(1501, 1.5, "Mango"), itemErrors
CheckEqual "errors of a write of all", itemErrors, Array(0, 0, 0)

speed.SyncRead value, itemError, stamp
CheckEqual "one item", Array(value, itemError), Array(1501, 0)
CheckType "its time stamp", stamp, "Date"
speed.SyncWrite 40000, itemError
CheckEqual "error of its write", itemError, 0
speed.SyncRead value, itemError
CheckEqual "one item, without time stamp", Array(value, itemError), Array(40000, 0)

Set sink = New GroupSink
connection = Host.Advise(group, sink)
group.Subscribed = True
CheckTrue "subscribed", group.Subscribed
group.AsyncRead Array(3, 1), transaction
CheckTrue "a transaction", transaction > 0
AwaitEvents sink, 1
CheckEqual "event", sink.Log, "AsyncReadComplete " & transaction & ";"
CheckEqual "its handles", sink.DataHandles, Array(3, 1)
CheckEqual "its values", sink.Values, Array("Mango     ", 40000)
CheckEqual "its errors", sink.Errors, Array(0, 0)

group.AsyncWrite Array(1), Array(7), transaction
AwaitEvents sink, 2
CheckEqual "event of a write", Right(sink.Log, Len("AsyncWriteComplete " & transaction & ";")), "AsyncWriteComplete " & transaction & ";"
CheckEqual "its handles and errors", Array(sink.DataHandles, sink.Errors), Array(Array(1), Array(0))
group.AsyncWriteAll Array(2), Array(2.25), transaction
AwaitEvents sink, 3
CheckEqual "event of a write of all", sink.LastTransaction, transaction
group.AsyncReadAll transaction
AwaitEvents sink, 4
CheckEqual "event of a read of all", sink.LastTransaction, transaction
CheckEqual "its values", sink.Values, Array(7, 2.25, "Mango     ")

sink.Log = ""
group.AsyncRead Array(1), other
group.AsyncRead Array(2), transaction
group.AsyncCancel transaction
AwaitEvents sink, 6
CheckEqual "one read, the other cancelled", InStr(sink.Log, "AsyncCancelComplete " & transaction & " True;") > 0 And InStr(sink.Log, "AsyncReadComplete " & other & ";") > 0, True

sink.Log = ""
sink.Events = 0
group.UpdateRate = 100
group.Active = True
CheckTrue "active", group.Active
AwaitEvents sink, 1
CheckEqual "the first change tells all", Array(sink.Log, sink.DataHandles, sink.Values), Array("DataChange;", Array(1, 2, 3), Array(7, 2.25, "Mango     "))
group.AsyncWrite Array(1), Array(8), transaction
AwaitEvents sink, 3
CheckEqual "a later one tells what changed", Array(sink.DataHandles, sink.Values), Array(Array(1), Array(8))

Host.Unadvise group, connection
group.AsyncWrite Array(1), Array(9), transaction
Host.Sleep 400
CheckEqual "a withdrawn sink", sink.Events, 3
group.Active = False

server.CloseCommunication
CheckEqual "status when closed", server.ServerStatus, 2
CheckEqual "the last value", speed.USERValue, 9
Done
