' What every VBScript test uses: checks, the server against the simulated panel, a sink that keeps a log.
' A failed check is reported and the script goes on; the last line of each script is  Done.
Option Explicit

Const errInvalidState = &H80040001
Const errInvalidFileFormat = &H80040003
Const errInvalidDeviceType = &H80040005
Const errInvalidHandle = &H80040006
Const errInvalidName = &H80040007
Const errInvalidItemId = &H80040009
Const errCommunication = &H8004000A
Const errInvalidValue = &H8004000B
Const errInternal = &H8004000E
Const errInvalidFormat = &H8004000F

Dim checks
checks = 0

' A value with its type, so that 1 and "1" and True differ in a report and in a comparison of arrays.
Function Shown(value)
  Dim text, index
  If IsArray(value) Then
    text = ""
    For index = LBound(value) To UBound(value)
      If index > LBound(value) Then text = text & ","
      text = text & Shown(value(index))
    Next
    Shown = "(" & text & ")"
  ElseIf IsObject(value) Then
    If value Is Nothing Then
      Shown = "Nothing"
    Else
      Shown = "[object]"
    End If
  ElseIf IsEmpty(value) Then
    Shown = "Empty"
  ElseIf IsNull(value) Then
    Shown = "Null"
  ElseIf VarType(value) = 8 Then
    Shown = """" & value & """"
  ElseIf VarType(value) = 11 Then
    If value Then
      Shown = "True"
    Else
      Shown = "False"
    End If
  Else
    Shown = CStr(value)
  End If
End Function

Sub CheckEqual(what, actual, expected)
  checks = checks + 1
  If Shown(actual) <> Shown(expected) Then
    Host.Fail what & ": " & Shown(actual) & " instead of " & Shown(expected)
  End If
End Sub

Sub CheckTrue(what, condition)
  CheckEqual what, condition, True
End Sub

Sub CheckType(what, value, expected)
  CheckEqual "type of " & what, TypeName(value), expected
End Sub

' The error that the statement before it raised (under On Error Resume Next), whole text.
Sub CheckError(what, number, description)
  Dim actualNumber, actualText
  actualNumber = Err.Number
  actualText = Err.Description
  Err.Clear
  checks = checks + 1
  If actualNumber <> number Or actualText <> description Then
    Host.Fail what & ": error " & actualNumber & " """ & actualText & """ instead of " & number & " """ & description & """"
  End If
End Sub

' The same, for texts that begin so.
Sub CheckErrorBegins(what, number, description)
  Dim actualNumber, actualText
  actualNumber = Err.Number
  actualText = Err.Description
  Err.Clear
  checks = checks + 1
  If actualNumber <> number Or Left(actualText, Len(description)) <> description Then
    Host.Fail what & ": error " & actualNumber & " """ & actualText & """ instead of " & number & " """ & description & "..."""
  End If
End Sub

Sub CheckNumber(what, number)
  Dim actualNumber, actualText
  actualNumber = Err.Number
  actualText = Err.Description
  Err.Clear
  checks = checks + 1
  If actualNumber <> number Then
    Host.Fail what & ": error " & actualNumber & " """ & actualText & """ instead of " & number
  End If
End Sub

Sub CheckNoError(what)
  CheckError what, 0, ""
End Sub

Sub Done()
  Host.Echo "DONE " & checks & " checks"
End Sub

' A server that knows the panel; communication is closed.
Function ConfiguredServer()
  Dim server
  Set server = CreateObject("ORVOBusiness.KELDataServer")
  server.SetDriverConfigurationFile "drivers.ini"
  server.DeviceType = 2
  Set ConfiguredServer = server
End Function

Class GroupSink
  Public Events
  Public Log
  Public DataHandles
  Public Values
  Public Errors
  Public LastTransaction

  Private Sub Note(text)
    Events = Events + 1
    Log = Log & text & ";"
  End Sub
  Sub DataChange(handles, changed)
    DataHandles = handles
    Values = changed
    Note "DataChange"
  End Sub
  Sub AsyncReadComplete(transactionId, handles, read, itemErrors)
    LastTransaction = transactionId
    DataHandles = handles
    Values = read
    Errors = itemErrors
    Note "AsyncReadComplete " & transactionId
  End Sub
  Sub AsyncReadAllComplete(transactionId, handles, read, itemErrors)
    LastTransaction = transactionId
    DataHandles = handles
    Values = read
    Errors = itemErrors
    Note "AsyncReadAllComplete " & transactionId
  End Sub
  Sub AsyncWriteAllComplete(transactionId, handles, itemErrors)
    LastTransaction = transactionId
    DataHandles = handles
    Errors = itemErrors
    Note "AsyncWriteAllComplete " & transactionId
  End Sub
  Sub AsyncWriteComplete(transactionId, handles, itemErrors)
    LastTransaction = transactionId
    DataHandles = handles
    Errors = itemErrors
    Note "AsyncWriteComplete " & transactionId
  End Sub
  Sub AsyncCancelComplete(transactionId, success)
    LastTransaction = transactionId
    Note "AsyncCancelComplete " & transactionId & " " & Shown(success)
  End Sub
End Class

' Pumps until the sink has seen so many events; at most 5 seconds.
Sub AwaitEvents(sink, count)
  Dim start
  start = Host.Ticks
  Do While sink.Events < count And Host.Ticks - start < 5000
    Host.Sleep 10
  Loop
  checks = checks + 1
  If sink.Events < count Then Host.Fail "the sink saw " & sink.Events & " events instead of " & count & ": " & sink.Log
End Sub

' Pumps until the line is free.
Sub Settle()
  Host.Sleep 150
End Sub
