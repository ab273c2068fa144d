' Sinks: several of them, some that know few events, one that fails, one that withdraws itself, one that lets go of all.
Option Explicit

Class ReadSink
  Public Count
  Sub AsyncReadComplete(transactionId, handles, read, itemErrors)
    Count = Count + 1
  End Sub
End Class

Class FailingSink
  Public Count
  Sub AsyncReadComplete(transactionId, handles, read, itemErrors)
    Count = Count + 1
    Err.Raise 5, "FailingSink", "a handler that fails"
  End Sub
End Class

Class SilentSink
  Public Count
End Class

Class OnceSink
  Public Count
  Public Connection
  Sub AsyncReadComplete(transactionId, handles, read, itemErrors)
    Count = Count + 1
    Host.Unadvise group, Connection
  End Sub
End Class

Class ReentrantSink
  Public Count
  Public Log
  Sub AsyncWriteComplete(transactionId, handles, itemErrors)
    Dim next1
    Count = Count + 1
    Log = Log & group.KELDataItems(1).USERValue & ";"
    If Count < 3 Then group.AsyncWrite Array(1), Array(Count + 100), next1
  End Sub
End Class

Class ReleasingSink
  Public Count
  Sub AsyncReadComplete(transactionId, handles, read, itemErrors)
    Count = Count + 1
    Set group = Nothing
    Set server = Nothing
  End Sub
End Class

Dim server, group, first, failing, silent, once, last, transaction, reentrant, releasing, start, sink

Set server = ConfiguredServer()
Set group = server.KELDataGroups.Add("Line 1")
group.KELDataItems.Add "WO100"
group.Subscribed = True
Set first = New ReadSink
Set failing = New FailingSink
Set silent = New SilentSink
Set once = New OnceSink
Set last = New ReadSink
Host.Advise group, first
Host.Advise group, failing
Host.Advise group, silent
once.Connection = Host.Advise(group, once)
Host.Advise group, last
server.OpenCommunication
group.AsyncRead Array(1), transaction
group.AsyncRead Array(1), transaction
start = Host.Ticks
Do While last.Count < 2 And Host.Ticks - start < 5000
  Host.Sleep 10
Loop
CheckEqual "each sink hears it, the failing one and those behind it too", Array(first.Count, failing.Count, last.Count), Array(2, 2, 2)
CheckEqual "a sink that withdrew itself", once.Count, 1
CheckEqual "the handler's failures were reported to the host only", Host.TakeErrors, 2

' Asking for more inside a handler.
Set reentrant = New ReentrantSink
Host.Advise group, reentrant
group.AsyncWrite Array(1), Array(100), transaction
start = Host.Ticks
Do While reentrant.Count < 3 And Host.Ticks - start < 5000
  Host.Sleep 10
Loop
CheckEqual "writes from inside the handler", reentrant.Log, "100;101;102;"

' Not subscribed: the values still arrive.
group.Subscribed = False
group.AsyncRead Array(1), transaction
Settle
Settle
CheckEqual "nothing is raised", last.Count, 2
CheckEqual "the value is there", group.KELDataItems(1).USERValue, 102

' A handler that lets go of the source.
group.Subscribed = True
Set releasing = New ReleasingSink
Host.Advise group, releasing
group.AsyncRead Array(1), transaction
start = Host.Ticks
Do While releasing.Count < 1 And Host.Ticks - start < 5000
  Host.Sleep 10
Loop
CheckEqual "the handler that lets go of all", Array(releasing.Count, group Is Nothing, server Is Nothing), Array(1, True, True)
Host.Sleep 200
Host.TakeErrors

' Connected by name, as the console host does it.
Sub Panel_DownloadFirmwareComplete()
  silent.Count = silent.Count + 1
End Sub
Set server = WScript.CreateObject("ORVOBusiness.KELDataServer", "Panel_")
server.SetDriverConfigurationFile "drivers.ini"
server.DeviceType = 2
server.DownloadFirmware "panel.fw"
CheckEqual "functions with a prefix", silent.Count, 1
WScript.DisconnectObject server
server.DownloadFirmware "panel.fw"
CheckEqual "disconnected", silent.Count, 1
Done
