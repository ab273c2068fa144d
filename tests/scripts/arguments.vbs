' Arguments in every shape that a caller can send: literals, variables, arrays of all kinds, any integer, left out.
Option Explicit

Dim server, groups, group, items, fixed(1), grown, literal, values, itemErrors, fixedValues(1), fixedErrors(1), value
Dim tooSmall(0), itemError, transaction, name, fresh, stamp, kind, other

Set server = ConfiguredServer()
Set groups = server.KELDataGroups

' Names and handles.
CheckEqual "no name", groups.Add.GroupName, "Group_1"
CheckEqual "no name, in parentheses", groups.Add().GroupName, "Group_2"
CheckEqual "a number as a name", groups.Add(5).GroupName, "5"
CheckEqual "an empty variable is a name", groups.Add(fresh).GroupName, ""
name = "by variable"
CheckEqual "a variable", groups.Add(name).GroupName, name
CheckEqual "by position", groups.Item(1).GroupName, "Group_1"
value = 2
CheckEqual "a variable as a handle", groups.Item(value).GroupName, "Group_2"
CheckEqual "it is as it was", value, 2
CheckEqual "a text as a handle", groups.Item("3").GroupName, "5"
CheckEqual "a broken number as a handle", groups.Item(2.0).GroupName, "Group_2"
For Each kind In Array(2, 3, 4, 5, 16, 17, 18, 19, 20, 21, 22, 23)
  CheckEqual "a handle of type " & kind, groups.Item(Host.Typed(kind, 2)).GroupName, "Group_2"
  value = Host.Typed(kind, 2)
  CheckEqual "a variable of type " & kind, groups(value).GroupName, "Group_2"
Next
CheckEqual "an error value that says left out", groups.Add(Host.Typed(3, 77)).GroupName, "77"
groups.RemoveAll

Set group = groups.Add("Line 1")
Set items = group.KELDataItems
CheckEqual "no name for an item", items.Add("WO100").ItemName, "Item_1"
name = "WO102"
CheckEqual "a variable as identifier", items.Add(name, 7).ItemName, "7"
CheckEqual "it is as it was", name, "WO102"
server.OpenCommunication

' Handles.
fixed(0) = 1
fixed(1) = 2
group.SyncWrite fixed, Array(11, 12), itemErrors
CheckEqual "fixed array", itemErrors, Array(0, 0)
ReDim grown(1)
grown(0) = 1
grown(1) = 2
group.SyncWrite grown, Array(21, 22), itemErrors
CheckEqual "grown array", itemErrors, Array(0, 0)
literal = Array(1, 2)
group.SyncWrite literal, Array(31, 32), itemErrors
CheckEqual "array in a variable", itemErrors, Array(0, 0)
group.SyncWrite (literal), (Array(41, 42)), itemErrors
CheckEqual "array by value", itemErrors, Array(0, 0)
group.SyncRead Array(1, 2), values, itemErrors
CheckEqual "literal", Array(values, itemErrors), Array(Array(41, 42), Array(0, 0))
group.SyncRead Array("1", 2.0), values, itemErrors
CheckEqual "texts and broken numbers as handles", values, Array(41, 42)
group.SyncRead Array(CByte(2), CLng(1)), values, itemErrors
CheckEqual "bytes and long numbers", values, Array(42, 41)
group.SyncRead 2, values, itemErrors
CheckEqual "one number for an array of one", Array(values, itemErrors), Array(Array(42), Array(0))
For Each kind In Array(2, 3, 4, 5, 8, 12, 16, 17, 18, 19, 20, 21)
  literal = Host.TypedArray(kind, 0, 2, 1)
  group.SyncRead literal, values, itemErrors
  CheckEqual "an array of type " & kind, Array(values, itemErrors), Array(Array(42, 41), Array(0, 0))
Next

' Other lower bounds: what comes back has the bounds of the handles.
literal = Host.TypedArray(3, 5, 1, 2)
values = Empty
group.SyncRead literal, values, itemErrors
CheckEqual "lower bound 5", Array(LBound(values), UBound(values), values(5), values(6)), Array(5, 6, 41, 42)
CheckEqual "errors as well", Array(LBound(itemErrors), UBound(itemErrors), itemErrors(5)), Array(5, 6, 0)
values = Array("an array of the same length", "keeps its own bounds")
group.SyncRead Host.TypedArray(12, -3, 2, 1), values, itemErrors
CheckEqual "lower bound -3", Array(LBound(itemErrors), UBound(itemErrors), values), Array(-3, -2, Array(42, 41))
group.SyncWrite Host.TypedArray(3, 1, 1, 2), Host.TypedArray(3, 10, 51, 52), itemErrors
CheckEqual "values by position", Array(LBound(itemErrors), items(1).USERValue, items(2).USERValue), Array(1, 51, 52)
group.SyncWrite Array(1, 2), Host.TypedArray(5, 0, 61, 62), itemErrors
CheckEqual "values of another type", Array(items(1).USERValue, items(2).USERValue), Array(61, 62)

' What is filled: variables of every kind.
group.SyncRead fixed, fixedValues, fixedErrors
CheckEqual "fixed arrays are filled in place", Array(fixedValues(0), fixedValues(1), fixedErrors(1)), Array(61, 62, 0)
values = Array("old", "old", "old")
itemErrors = 5
group.SyncRead Array(1, 2), values, itemErrors
CheckEqual "other content is replaced", Array(values, itemErrors), Array(Array(61, 62), Array(0, 0))
values = 5
group.SyncRead Array(2), values, itemErrors
CheckEqual "a number is replaced", values, Array(62)
group.SyncRead Array(1), Array(), Array()
group.SyncRead Array(1), (values), (itemErrors)
CheckEqual "nothing comes back by value", Array(values, itemErrors), Array(Array(62), Array(0))
group.SyncRead fixed, Array(0, 0), 0
CheckEqual "literals for what is filled", fixed(0), 1
group.SyncReadAll fresh, values, itemErrors
CheckEqual "a fresh variable", fresh, Array(1, 2)

items(1).SyncRead value, itemError
CheckEqual "fresh variables of an item", Array(value, itemError), Array(61, 0)
value = "old"
itemError = 1.5
stamp = "old"
items(2).SyncRead value, itemError, stamp
CheckEqual "others are replaced", Array(value, itemError, TypeName(stamp)), Array(62, 0, "Date")
items(2).SyncRead (value), 0
items(1).SyncRead fixedValues(0), fixedErrors(0)
CheckEqual "elements of arrays", Array(fixedValues(0), fixedErrors(0)), Array(61, 0)
For Each kind In Array(2, 3, 4, 5, 8, 16, 17, 18, 19, 20, 21, 22, 23)
  items(1).SyncWrite Host.Typed(kind, 100 + kind), itemError
  CheckEqual "a value of type " & kind, Array(items(1).USERValue, itemError), Array(100 + kind, 0)
Next

' Transactions.
group.AsyncRead Array(1), transaction
CheckTrue "a fresh variable gets the transaction", transaction > 0
other = "5"
group.AsyncRead Array(1), other
CheckEqual "so does one that holds a text", other, transaction + 1
group.AsyncRead 1, 0
group.AsyncCancel other
group.AsyncCancel CStr(transaction)
group.AsyncCancel 999
Settle
Settle

' Arrays that come back.
CheckEqual "lengths", group.GetDimension(Array(1, 2, 99)), Array(1, 1, 0)
CheckEqual "lengths of a variable", group.GetDimension(fixed), Array(1, 1)
value = group.CompileVariable(Array(2, 99))
CheckEqual "compiled addresses", Array(UBound(value), value(0) > 0, value(1)), Array(1, True, 0)
value = group.CompileVariable(Host.TypedArray(3, 1, 1, 2))
CheckEqual "compiled addresses from lower bound 1", Array(LBound(value), UBound(value), value(0), value(1) > 0), Array(0, 2, 0, True)

' What cannot be an array of numbers.
On Error Resume Next
group.SyncRead Array("one"), values, itemErrors
CheckNumber "a text in the handles", 13
group.SyncRead Array(Null), values, itemErrors
CheckTrue "Null in the handles", Err.Number <> 0
Err.Clear
group.SyncRead server, values, itemErrors
CheckTrue "an object for the handles", Err.Number <> 0
Err.Clear
group.SyncRead Array(3000000000), values, itemErrors
CheckNumber "a number that does not fit", 6
group.SyncRead Array(1)
CheckNumber "arguments too few", 450
group.SyncRead Array(1, 2), tooSmall, itemErrors
CheckErrorBegins "a fixed array without room", 9, "Subscript out of range: a fixed array of 1 elements was given for 2"
itemError = "a text"
items(1).SyncRead value, itemError
CheckNumber "a variable that holds what can be no number", 13
On Error GoTo 0
CheckEqual "values after failures", values, Array(61, 62)
server.CloseCommunication
Done
