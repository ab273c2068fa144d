Attribute VB_Name = "FirstClient"
' A first client in VBA (Excel, Access, ...) or Visual Basic 6, early bound.
'
'   1. Tools, References: tick "ORVOBusiness 1.0: data server for operator panels". 64-bit Office needs the 64-bit
'      ORVOBusiness.dll registered, 32-bit Office the 32-bit one.
'   2. File, Import File: this module and GroupWatcher.cls.
'   3. Put drivers.ini where DriverFile says, open the Immediate window (Ctrl+G) and run FirstClient.Run.
Option Explicit

Private Const DriverFile As String = "C:\ORVOBusiness\samples\drivers.ini"

Public Sub Run()
    Dim server As ORVOBusiness.KELDataServer
    Dim group As ORVOBusiness.KELDataGroup
    Dim items As ORVOBusiness.KELDataItems
    Dim speed As ORVOBusiness.KELDataItem
    Dim recipe As ORVOBusiness.KELDataItem
    Dim handles(0 To 1) As Long
    Dim values() As Variant
    Dim errors() As Long
    Dim k As Long

    On Error GoTo Failed

    ' Create and configure.
    Set server = New ORVOBusiness.KELDataServer
    server.SetDriverConfigurationFile DriverFile
    server.DeviceType = 2                                 ' the line "2=PanelB" of the file

    ' Groups and items are added while communication is closed.
    Set group = server.KELDataGroups.Add("Line 1")
    Set items = group.KELDataItems
    Set speed = items.Add("WO100", "Speed")               ' a word at 100
    Set recipe = items.Add("ST0020010", "Recipe")         ' ten characters at 200

    ' Open. A line that does not answer is no error of this call: look at the status.
    server.OpenCommunication
    If server.ServerStatus <> 3 Then Err.Raise vbObjectError + 1000, , "communication is not open"
    Debug.Print server.BoardDescription; ", status of the line"; server.CommunicationStatus

    ' Write and read: arrays that run in parallel, with any lower bound.
    handles(0) = speed.Handle
    handles(1) = recipe.Handle
    ReDim values(0 To 1)
    values(0) = 1500
    values(1) = "Vanilla 3%"
    group.SyncWrite handles, values, errors
    group.SyncRead handles, values, errors
    For k = LBound(handles) To UBound(handles)
        Debug.Print "  "; items.Item(handles(k)).ItemName; " = "; values(k); ", error"; errors(k)
    Next k

    ' Subscribe: from now on the group is read every 100 ms, and DataChange brings what is new.
    Dim watcher As New GroupWatcher
    watcher.Watch group
    group.Subscribed = True
    group.UpdateRate = 100
    group.Active = True
    For k = 1 To 3
        watcher.WriteSpeed speed.Handle, 1500 + 10 * k
        Pump 0.5
    Next k
    group.Active = False
    watcher.Watch Nothing

    server.CloseCommunication

    ' Catch an error: number, text and source.
    On Error Resume Next
    items.Add "XY100", "Wrong"
    If Err.Number <> 0 Then Debug.Print "error 0x"; Hex$(Err.Number); " from "; Err.Source; ": "; Err.Description
    On Error GoTo 0
    Debug.Print "DONE"
    Exit Sub

Failed:
    If Err.Number = 429 Or Err.Number = &H80040154 Then
        Debug.Print "The server is not registered for this Office: run register-user.cmd or register-machine.cmd."
    End If
    Debug.Print "FAILED: error 0x"; Hex$(Err.Number); ": "; Err.Description
End Sub

' Handles the messages. Requests are sent and events arrive only while somebody does this: a form that waits for its user
' does it all the time, a macro that runs has to.
Private Sub Pump(ByVal seconds As Single)
    Dim start As Single
    start = Timer
    Do While Timer - start < seconds And Timer >= start   ' Timer starts again from 0 at midnight
        DoEvents
    Loop
End Sub
