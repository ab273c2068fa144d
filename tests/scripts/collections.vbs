' Groups and items as collections: For Each, default member, names, handles, removal.
Option Explicit

Dim server, groups, group, items, item, names, handle

Set server = ConfiguredServer()
Set groups = server.KELDataGroups
CheckEqual "no groups", groups.Count, 0
names = ""
For Each group In groups
  names = names & group.GroupName & ";"
Next
CheckEqual "For Each over none", names, ""

groups.Add "First"
groups.Add "Second"
groups.Add
names = ""
For Each group In groups
  names = names & group.Handle & "=" & group.GroupName & ";"
Next
CheckEqual "For Each over groups", names, "1=First;2=Second;3=Group_1;"
CheckTrue "the same object by each way", groups(2) Is groups.Item(2) And groups(2) Is groups.ItemByName("Second")
names = ""
For Each group In groups
  names = names & group.GroupName & ";"
  groups.Remove group.Handle
Next
CheckEqual "removing inside For Each", names, "First;Second;Group_1;"
CheckEqual "all are gone", groups.Count, 0
Set group = groups.Add("First")
groups.RemoveAll
CheckEqual "a removed group is still there", group.GroupName, "First"

Set group = groups.Add("First")
groups.Add "Second"
groups.Add "Third"
groups.RemoveByName "SECOND"
CheckEqual "removed by a name in other case", groups.Count, 2
CheckEqual "the lowest free handle", groups.Add("Fourth").Handle, 2
names = ""
For Each item In groups
  names = names & item.GroupName & ";"
Next
CheckEqual "creation order", names, "First;Third;Fourth;"
For Each item In groups
  If item.Handle = 1 Then Exit For
Next
CheckEqual "leaving early", item.GroupName, "First"

Set items = group.KELDataItems
CheckTrue "the same items each time", items Is group.KELDataItems
items.Add "WO100", "Speed"
items.Add "BI104.3", "Motor"
items.Add "ST0020010"
items.AddCompiled "Ghost"
names = ""
For Each item In items
  names = names & item.Handle & "=" & item.ItemName & "/" & item.ItemId & ";"
Next
CheckEqual "For Each over items", names, "1=Speed/WO100;2=Motor/BI104.3;3=Item_1/ST0020010;4=Ghost/;"
CheckTrue "the same item by each way", items(2) Is items.Item(2) And items(2) Is items.ItemByName("Motor")
items.Remove 2
items.RemoveByName "ghost"
CheckEqual "two are left", items.Count, 2
CheckEqual "the lowest free handle of an item", items.Add("WO106").Handle, 2
names = ""
For Each handle In Array(1, 2, 3)
  names = names & items(handle).ItemName & ";"
Next
CheckEqual "by handle", names, "Speed;Item_2;Item_1;"
CheckEqual "a chain", server.KELDataGroups(1).KELDataItems(1).Parent.Parent.KELDataGroups.ItemByName("First").KELDataItems.Count, 3
Set item = items(1)
items.RemoveAll
CheckEqual "none is left", items.Count, 0
CheckEqual "a removed item still knows its group", item.Parent.GroupName, "First"
groups.RemoveAll
CheckEqual "no group is left", groups.Count, 0
Done
