' A first client in VBScript.
'
'     cscript //nologo FirstClient.vbs [drivers.ini]
'
' The cscript of System32 is a 64-bit program and needs the 64-bit ORVOBusiness.dll registered, the one of SysWOW64 the
' 32-bit one. Use cscript, not wscript: each Echo of wscript is a window that stops the script.
Option Explicit

Dim server, group, items, speed, recipe, driverFile, handles, values, errors, transactionId, k

driverFile = "drivers.ini"
If WScript.Arguments.Count > 0 Then driverFile = WScript.Arguments(0)

' Create and configure.
Set server = CreateObject("ORVOBusiness.KELDataServer")
server.SetDriverConfigurationFile driverFile
server.DeviceType = 2                               ' the line "2=PanelB" of the file

' Groups and items are added while communication is closed.
Set group = server.KELDataGroups.Add("Line 1")
Set items = group.KELDataItems
Set speed = items.Add("WO100", "Speed")             ' a word at 100
Set recipe = items.Add("ST0020010", "Recipe")       ' ten characters at 200

' Open. A line that does not answer is no error of this call: look at the status.
server.OpenCommunication
If server.ServerStatus <> 3 Then
  WScript.Echo "FAILED: communication is not open"
  WScript.Quit 1
End If
WScript.Echo server.BoardDescription & ", status of the line " & server.CommunicationStatus

' Write and read: arrays that run in parallel. Both calls fill their last arguments: give them variables.
handles = Array(speed.Handle, recipe.Handle)
group.SyncWrite handles, Array(1500, "Vanilla 3%"), errors
group.SyncRead handles, values, errors
For k = LBound(handles) To UBound(handles)
  WScript.Echo "  " & items.Item(handles(k)).ItemName & " = " & values(k) & ", error " & errors(k)
Next

' Subscribe: from now on the group is read every 100 ms, and DataChange brings what is new. The events of the group call
' the functions below whose names begin with "Line_".
WScript.ConnectObject group, "Line_"
group.Subscribed = True
group.UpdateRate = 100
group.Active = True
For k = 1 To 3
  group.AsyncWrite Array(speed.Handle), Array(1500 + 10 * k), transactionId
  WScript.Sleep 500                                 ' handles the messages that send requests and bring events
Next
group.Active = False
WScript.DisconnectObject group

server.CloseCommunication

' Catch an error: number, text and source.
On Error Resume Next
items.Add "XY100", "Wrong"
If Err.Number <> 0 Then WScript.Echo "error 0x" & Hex(Err.Number) & " from " & Err.Source & ": " & Err.Description
On Error GoTo 0
WScript.Echo "DONE"

' What changed is in the arguments; the items themselves hold it too, whatever form the arguments have.
Sub Line_DataChange(DataHandles, USERValues)
  WScript.Echo "  DataChange: Speed = " & speed.USERValue & ", Recipe = " & recipe.USERValue
End Sub

Sub Line_AsyncWriteComplete(TransactionId, DataHandles, DataErrors)
  WScript.Echo "  AsyncWriteComplete: transaction " & TransactionId
End Sub
