' Items: types of values, Signed and BCD, items that fail, the group's byte image.
Option Explicit

Dim server, group, items, motor, part, torque, batch, pieces, level, recipe, raw, ghost, value, itemError, stamp, values
Dim itemErrors, transaction, sink, handles, other, emptyGroup, bytes

Set server = ConfiguredServer()
Set group = server.KELDataGroups.Add("Line 1")
Set emptyGroup = server.KELDataGroups.Add("Empty")
Set items = group.KELDataItems
Set motor = items.Add("BI100.3", "Motor")
Set part = items.Add("BY103", "Part")
Set torque = items.Add("WO104", "Torque")
Set batch = items.Add("WO106", "Batch")
Set pieces = items.Add("DW108", "Pieces")
Set level = items.Add("FL112", "Level")
Set recipe = items.Add("ST0020004", "Recipe")
Set raw = items.Add("RA036", "Stamp")
Set ghost = items.AddCompiled("Ghost")

CheckEqual "types", Array(motor.ItemType, level.ItemType, recipe.ItemType, raw.ItemType), Array(0, 2, 1, 3)
CheckEqual "lengths in words", Array(motor.ItemWordLength, pieces.ItemWordLength, recipe.ItemWordLength, raw.ItemWordLength), Array(1, 2, 2, 3)
CheckEqual "what only a loaded configuration sets", Array(motor.AccessRights, motor.ItemGroupBufferOffset, group.GroupId), Array(0, 0, 0)
CheckEqual "a new item's time stamp", CDbl(motor.TimeStamp), 0
torque.Signed = True
CheckEqual "signed", Array(torque.Signed, torque.BCD), Array(True, False)
torque.BCD = True
CheckEqual "BCD takes Signed back", Array(torque.Signed, torque.BCD), Array(False, True)
torque.Signed = 1
CheckEqual "any number but 0 is true", torque.Signed, True
torque.Signed = False
torque.Signed = True

server.OpenCommunication
motor.SyncWrite 1, itemError
part.SyncWrite 200, itemError
torque.SyncWrite -40, itemError
pieces.SyncWrite 70000, itemError
level.SyncWrite 20.5, itemError
recipe.SyncWrite "Mango and more", itemError
CheckEqual "the last error", itemError, 0
batch.SyncWrite &H1234, itemError
motor.SyncRead value, itemError
CheckEqual "bit", value, 1
part.SyncRead value, itemError
CheckEqual "byte", value, 200
torque.SyncRead value, itemError
CheckEqual "signed word", value, -40
torque.Signed = False
CheckEqual "the same without sign", torque.USERValue, 65496
pieces.SyncRead value, itemError
CheckEqual "double word", value, 70000
level.SyncRead value, itemError
CheckEqual "single", value, 20.5
recipe.SyncRead value, itemError
CheckEqual "text, cut", value, "Mang"
batch.SyncRead value, itemError
CheckEqual "word", value, &H1234
batch.BCD = True
CheckEqual "the same as decimal digits", batch.USERValue, 1234
CheckTrue "bytes", IsArray(raw.USERValue) Or IsEmpty(raw.USERValue)
raw.SyncWrite Array(1, 2, 3, 4, 5, 6), itemError
raw.SyncWrite Host.TypedArray(17, 0, 1, 2, 3, 4, 5, 6), itemError
CheckEqual "raw bytes are written", itemError, 0
raw.SyncRead value, itemError
CheckEqual "raw bytes", value, Array(1, 2, 3, 4, 5, 6)

' An item that fails keeps what its caller has.
value = "before"
stamp = "before"
ghost.SyncRead value, itemError, stamp
CheckEqual "a failed read", Array(itemError, value, stamp), Array(10, "before", "before")
CheckEqual "and the item", Array(ghost.USERValue, CDbl(ghost.TimeStamp)), Array(Empty, 0)
ghost.SyncWrite 1, itemError
CheckEqual "a failed write", itemError, 10
group.SyncRead Array(9, 2), values, itemErrors
CheckEqual "one fails, one does not", Array(values(1), itemErrors), Array(200, Array(10, 0))
On Error Resume Next
group.SyncRead Array(77), values, itemErrors
CheckError "a handle of nobody", errInvalidHandle, "Invalid Handle: 77: Group Name= Line 1GroupHandle: 1"
On Error GoTo 0

' An empty group queues nothing and leaves its arguments alone.
transaction = 77
emptyGroup.AsyncReadAll transaction
CheckEqual "the transaction of an empty group", transaction, 77
transaction = Empty
emptyGroup.AsyncReadAll transaction
CheckEqual "whatever it held", transaction, Empty

' The byte image.
CheckEqual "image before its size is set", UBound(group.CompiledBuffer), -1
group.SetCompiledBufferDimension 4
CheckEqual "image", group.CompiledBuffer, Array(0, 0, 0, 0)
other = 2
group.SetCompiledBufferDimension other
bytes = group.CompiledBuffer
CheckEqual "length of the image", UBound(bytes), 1
group.SetCompiledBufferDimension 0
CheckEqual "length 0 makes one byte", UBound(group.CompiledBuffer), 0

server.CloseCommunication
Done
