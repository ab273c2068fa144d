' The script host itself, without the server.
Option Explicit

Class Numbers
  Public Sum
End Class

Sub Raise13()
  Err.Raise 13, "somebody", "a text"
End Sub

Dim start, numbers1, fixed(2), made
start = Host.Ticks
Host.Sleep 60
CheckTrue "Sleep lasts", Host.Ticks - start >= 50
Host.Pump
CheckEqual "arguments", Host.Arguments.Count, 2
CheckEqual "first argument", Host.Arguments(0), "one"
CheckEqual "second argument, the other object", WScript.Arguments.Item(1), "two words"
CheckEqual "name of the script", WScript.ScriptName, "host.vbs"

Set made = WScript.CreateObject("Scripting.Dictionary")
made.Add "key", 5
CheckEqual "an object by identifier", made("key"), 5
CheckEqual "an array", Shown(Array(1, "a", True, Empty, Null)), "(1,""a"",True,Empty,Null)"
CheckEqual "a fixed array", Shown(fixed), "(Empty,Empty,Empty)"

On Error Resume Next
Host.Arguments(2)
CheckErrorBegins "an argument that is not there", &H8002000B, "Host.Arguments: there is no argument 2"
Set numbers1 = New Numbers
Host.Advise made, numbers1
CheckErrorBegins "an object without events", &H80004002, "Host.Advise: the object does not tell its class"
Host.Unadvise made, 1
CheckErrorBegins "a connection that is not there", &H80070057, "Host.Unadvise: the object has no connection with the number 1"
WScript.CreateObject "There.Is.None"
CheckErrorBegins "an unknown identifier", &H800401F3, "WScript.CreateObject: no class is registered under the identifier 'There.Is.None'"
Raise13
CheckError "an error of the script's own", 13, "a text"
On Error GoTo 0
Done
