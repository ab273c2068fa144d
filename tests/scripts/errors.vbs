' Failures reach a script with their number and their text.
Option Explicit

Const InTheGroup = ": Group Name= Line 1GroupHandle: 1"
Dim server, groups, group, items, item, index, handles, values, itemErrors, transaction, value, itemError

On Error Resume Next
Set server = CreateObject("ORVOBusiness.KELDataServer")
CheckNoError "a server"

value = server.BaudRate
CheckError "no driver yet", errInternal, "INTERNAL ERROR, please contact support. codeObject variable or With block variable not set"
server.DeviceType = 2
CheckErrorBegins "no driver for a device", errInternal, "INTERNAL ERROR, please contact support. code91:Object variable or With block variable not set" & vbCrLf & ":Server.DeviceType(NewValue=2"
server.DownloadFirmware "panel.fw"
CheckError "a download without a device", errInvalidState, "Invalid State: Server not stopped"
server.OpenCommunication
CheckNoError "opening without a device tells nothing"
CheckEqual "and does nothing", server.ServerStatus, 1
server.SetDriverConfigurationFile "there_is_none.ini"
CheckNumber "a file that is not there", 53
server.SetDriverConfigurationFile "no_driver.ini"
CheckNumber "a driver that is not registered", 429
server.SetDriverConfigurationFile "drivers.ini"
CheckNoError "a driver"
server.DeviceType = 9
CheckError "an unknown device", errInvalidDeviceType, "Invalid device type: 9"
CheckEqual "status after it", server.ServerStatus, 1
server.DeviceType = 2
CheckNoError "a device"
server.BaudRate = 123
CheckErrorBegins "a value that the driver refuses", errInvalidValue, "Invalid Value: "

' Arguments that cannot be what they should be.
server.DeviceType = "two"
CheckNumber "a text for a number", 13
server.Timeout = 100000
CheckNumber "a number that does not fit", 6
server.ServerStatus = 3
CheckTrue "a property that cannot be put", Err.Number <> 0
Err.Clear
server.ThereIsNone
CheckNumber "an unknown member", 438
server.SetDriverConfigurationFile
CheckNumber "an argument too few", 450
server.CloseCommunication 1
CheckNumber "an argument too many", 450

Set groups = server.KELDataGroups
Set group = groups.Add("Line 1")
CheckNoError "a group"
Set value = groups.Item(7)
CheckError "an unknown group", errInvalidHandle, "Invalid Handle: 7"
Set value = groups(7)
CheckTrue "the default member", Err.Number <> 0  ' Wine's VBScript drops the text here
Err.Clear
Set value = groups.ItemByName("line 1")
CheckError "a name in other case", errInvalidName, "Invalid Name: line 1"
groups.Add "Line 1"
CheckError "a name twice", errInvalidName, "Invalid Name: Line 1:Name already used"
groups.Add "LINE 1"
CheckNumber "a key twice", 457
groups.Remove 7
CheckError "an unknown group to remove", errInvalidHandle, "Invalid Handle: 7"
groups.RemoveByName "Line 7"
CheckError "an unknown name to remove", errInvalidName, "Invalid Name: Line 7: can't remove it"
group.UpdateRate = -1
CheckError "a rate", errInvalidValue, "Update rate must be >= 0"
group.SyncRead Array(1), values, itemErrors
CheckError "a read when closed", errInvalidState, "Invalid State: Server isn't running"
group.AsyncReadAll transaction
CheckError "an asynchronous one", errInvalidState, "Invalid State: Server isn't running"

Set items = group.KELDataItems
Set item = items.Add("WO100", "Speed")
CheckNoError "an item"
items.Add "XX100"
CheckError "an unknown identifier", errInvalidItemId, "Invalid ItemID: XX100" & InTheGroup
items.Add "WO102", "Speed"
CheckErrorBegins "an item's name twice", errInternal, "INTERNAL ERROR, please contact support. code-2147221497:Invalid Name: Speed:Name already used" & InTheGroup & vbCrLf & ":DataItem.Add(ItemId=WO102,ItemName=Speed"
items.Add "WO102", "SPEED"
CheckError "an item's key twice", errInvalidItemId, "Invalid ItemID: WO102" & InTheGroup
items.AddCompiled "Speed"
CheckErrorBegins "a compiled item's name twice", errInternal, "INTERNAL ERROR, please contact support. code-2147221497:Invalid Name: Speed" & vbCrLf & ":DataItem.AddCompiled(ItemName=Speed"
Set value = items.Item(7)
CheckError "an unknown item", errInvalidHandle, "Invalid Handle: 7" & InTheGroup
Set value = items.ItemByName("speed")
CheckError "an unknown name", errInvalidName, "Invalid Name: speed" & InTheGroup
items.RemoveByName "Nobody"
CheckError "an unknown name to remove", errInvalidName, "Invalid Name: Nobody" & InTheGroup
items.Remove 7
CheckError "an unknown item to remove", errInvalidHandle, "Invalid Handle: 7" & InTheGroup
item.SyncRead value, itemError
CheckError "an item's read when closed", errInvalidState, "Invalid State: Server isn't running"
CheckEqual "nothing was added", Array(groups.Count, items.Count), Array(1, 1)

For index = 2 To 8
  groups.Add
Next
CheckNoError "eight groups"
For index = 1 To 7
  groups(index).Active = True
Next
CheckNoError "seven active groups"
groups(8).Active = True
CheckError "an eighth", errInvalidValue, "Too many active groups : the max number of groups that can be active at the same time is 7"
For index = 1 To 7
  groups(index).Active = False
Next

server.OpenCommunication
CheckNoError "opening"
groups.Add "Late"
CheckError "a group when open", errInvalidState, "Invalid State: Server is running"
items.Add "WO102"
CheckError "an item when open", errInvalidState, "Invalid State: Server not stopped"
server.Timeout = 100
CheckError "a setting when open", errInvalidState, "Invalid State: Server is running"
server.DownloadProject "panel.obj"
CheckError "a download when open", errInvalidState, "Invalid State: Server not stopped"
item.SyncWrite -1, itemError
CheckError "a negative value", errInvalidFormat, "INVALID FORMAT Format not correct"
item.SyncWrite 1.5, itemError
CheckError "a broken value", errInvalidFormat, "INVALID FORMAT Format not correct"
group.SyncWrite Array(1, 1), Array(1, "much"), itemErrors
CheckError "a value that is no number", errInvalidFormat, "INVALID FORMAT Invalid format: index=1"
server.CloseCommunication
CheckNoError "closing"

' Only the server can be created.
Set value = CreateObject("ORVOBusiness.KELDataGroup")
CheckTrue "a group cannot be created", Err.Number <> 0
Err.Clear
On Error GoTo 0
Done
