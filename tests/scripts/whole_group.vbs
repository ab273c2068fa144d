' Groups that travel as one block of bytes, with a driver that is a script component.
Option Explicit

Dim server, group, items, handles, values, itemErrors, transaction, sink, failing

Set server = CreateObject("ORVOBusiness.KELDataServer")
server.SetDriverConfigurationFile "scripted.ini"
server.LoadConfigurationFromFile "block.ini", False
Set group = server.KELDataGroups.ItemByName("Block")
Set failing = server.KELDataGroups.ItemByName("Failing")
Set items = group.KELDataItems
CheckEqual "group", Array(group.GroupId, group.Subscribed, group.UpdateRate), Array(5, True, 100)
CheckEqual "places", Array(items(1).ItemGroupBufferOffset, items(2).ItemGroupBufferOffset), Array(0, 2)
CheckEqual "image", group.CompiledBuffer, Array(0, 0, 0, 0, 0, 0)

server.OpenCommunication
group.SyncWriteAll Array(1, 2), Array(258, 0.5), itemErrors
CheckEqual "errors of a write", itemErrors, Array(0, 0)
group.SyncReadAll handles, values, itemErrors
CheckEqual "all", Array(handles, values, itemErrors), Array(Array(1, 2), Array(258, 0.5), Array(0, 0))

Set sink = New GroupSink
Host.Advise group, sink
group.AsyncReadAll transaction
AwaitEvents sink, 1
CheckEqual "event of a read", Array(sink.Log, sink.DataHandles, sink.Values, sink.Errors), Array("AsyncReadAllComplete " & transaction & ";", Array(1, 2), Array(258, 0.5), Array(0, 0))
sink.Log = ""
group.AsyncWriteAll Array(1, 2), Array(259, 1.5), transaction
AwaitEvents sink, 2
CheckEqual "event of a write", Array(sink.Log, sink.DataHandles, sink.Errors), Array("AsyncWriteAllComplete " & transaction & ";", Array(1, 2), Array(0, 0))
sink.Log = ""
group.Active = True
AwaitEvents sink, 3
CheckEqual "a change", Array(sink.Log, sink.DataHandles, sink.Values), Array("DataChange;", Array(1, 2), Array(259, 1.5))
group.Active = False
Settle
Settle

failing.SyncReadAll handles, values, itemErrors
CheckEqual "one error for all", Array(handles, values, itemErrors), Array(Array(0), Array(Empty), Array(6))
failing.SyncWriteAll Array(1), Array(1), itemErrors
CheckEqual "also of a write", itemErrors, Array(6)
server.CloseCommunication
Done
