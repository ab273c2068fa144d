{ Groups and items as collections: adding with and without names, lookups by every kind of number, enumerators. }
unit CollectionTests;

{$mode objfpc}{$H+}

interface

procedure TestCollections;

implementation

uses
  Windows, SysUtils, Variants, ActiveX, ComObj, Checks, Plant;

{ The names of what an enumerator brings, each followed by a semicolon. }
function EnumeratedNames(const Collection: OleVariant; ofGroups: Boolean): string;
var
  Enumerator: IEnumVARIANT;
  Element: OleVariant;
  Fetched: LongWord;
begin
  Result := '';
  Enumerator := IUnknown(Collection.NewEnum) as IEnumVARIANT;
  Fetched := 0;
  while Enumerator.Next(1, Element, Fetched) = S_OK do
  begin
    if ofGroups then
      Result := Result + string(Element.GroupName) + ';'
    else
      Result := Result + string(Element.ItemName) + ';';
    Element := Unassigned;
  end;
end;

procedure GroupsAreAdded;
var
  Server, Groups, Group: OleVariant;
  Name: string;
begin
  { Groups do not keep their server alive. }
  Server := ConfiguredServer;
  Groups := Server.KELDataGroups;
  Group := Groups.Add;
  CheckEqual(Group.GroupName, 'Group_1', 'the name of a group added without one');
  CheckEqual(Group.Handle, 1, 'its handle');
  CheckEqual(Groups.Add(EmptyParam).GroupName, 'Group_2', 'the name after the missing argument');
  CheckEqual(Groups.Add('Line 1').Handle, 3, 'Handle');
  Name := 'Line 2';
  CheckEqual(Groups.Add(Name).GroupName, 'Line 2', 'GroupName');
  CheckEqual(Groups.Add(GroupName := 'Line 3').GroupName, 'Line 3', 'GroupName by argument name');
  CheckEqual(Groups.Add(12).GroupName, '12', 'GroupName from a number');
  CheckEqual(Groups.Count, 6, 'Count');
  CheckEqual(EnumeratedNames(Groups, True), 'Group_1;Group_2;Line 1;Line 2;Line 3;12;', 'the enumerated names');
  try
    Groups.Add('Line 1');
    CheckRaised('a name that is used');
  except
    on E: Exception do CheckError(E, errInvalidName, 'Invalid Name: Line 1:Name already used');
  end;
  try
    Groups.Add('LINE 1');
    CheckRaised('a name that differs in case only');
  except
    on E: Exception do CheckError(E, DuplicateKeyError, '');
  end;
  CheckEqual(Groups.Count, 6, 'Count after refused names');
  CheckEqual(Group.Parent.ServerStatus, 2, 'the ServerStatus of the parent');
end;

procedure GroupsAreFound;
var
  Server, Groups, AsVariant: OleVariant;
  Name: string;
  AsByte: Byte;
  AsSmallInt: SmallInt;
  AsWord: Word;
  AsCardinal: Cardinal;
  AsInt64: Int64;
  AsQWord: QWord;
  AsDouble: Double;
begin
  Server := ConfiguredServer;
  Groups := Server.KELDataGroups;
  Groups.Add('Line A');
  Groups.Add('Line B');
  AsByte := 1;
  CheckEqual(Groups.Item(AsByte).GroupName, 'Line A', 'Item of a Byte');
  AsSmallInt := 2;
  CheckEqual(Groups.Item(AsSmallInt).GroupName, 'Line B', 'Item of a SmallInt');
  AsWord := 1;
  CheckEqual(Groups.Item(AsWord).GroupName, 'Line A', 'Item of a Word');
  AsCardinal := 2;
  CheckEqual(Groups.Item(AsCardinal).GroupName, 'Line B', 'Item of a Cardinal');
  AsInt64 := 1;
  CheckEqual(Groups.Item(AsInt64).GroupName, 'Line A', 'Item of an Int64');
  AsQWord := 2;
  CheckEqual(Groups.Item(AsQWord).GroupName, 'Line B', 'Item of a QWord');
  AsDouble := 1;
  CheckEqual(Groups.Item(AsDouble).GroupName, 'Line A', 'Item of a Double');
  AsVariant := 2;
  CheckEqual(Groups.Item(AsVariant).GroupName, 'Line B', 'Item of a variant');
  CheckEqual(AsVariant, 2, 'the variant that was passed');
  CheckEqual(Groups.Item(1).GroupName, 'Line A', 'Item of a constant');
  CheckEqual(Groups.Item(Groups.Count).GroupName, 'Line B', 'Item of an expression');
  CheckEqual(Groups.Item('02').GroupName, 'Line B', 'Item of a text');
  Name := 'Line A';
  CheckEqual(Groups.ItemByName(Name).Handle, 1, 'ItemByName of a string variable');
  CheckEqual(Name, 'Line A', 'the string that was passed');
  AsVariant := 'Line B';
  CheckEqual(Groups.ItemByName(AsVariant).Handle, 2, 'ItemByName of a variant');
  CheckEqual(Groups.ItemByName('Line B').Handle, 2, 'ItemByName of a constant');
  try
    Groups.Item(7);
    CheckRaised('a handle that no group has');
  except
    on E: Exception do CheckError(E, errInvalidHandle, 'Invalid Handle: 7');
  end;
  try
    Groups.ItemByName('line a');
    CheckRaised('a name in another case');
  except
    on E: Exception do CheckError(E, errInvalidName, 'Invalid Name: line a');
  end;
  try
    Groups.Item('first');
    CheckRaised('a handle that is no number');
  except
    on E: Exception do CheckError(E, TypeMismatch, '');
  end;
end;

procedure GroupsAreRemoved;
var
  Server, Groups, Group: OleVariant;
  Handle: SmallInt;
begin
  Server := ConfiguredServer;
  Groups := Server.KELDataGroups;
  Group := Groups.Add('Line A');
  Groups.Add('Line B');
  Groups.Add('Line C');
  Handle := 2;
  Groups.Remove(Handle);
  CheckEqual(EnumeratedNames(Groups, True), 'Line A;Line C;', 'the names after Remove');
  Groups.RemoveByName('LINE C');
  CheckEqual(Groups.Count, 1, 'Count after RemoveByName');
  Server.OpenCommunication;
  try
    Groups.RemoveAll;
    CheckRaised('RemoveAll while communication is open');
  except
    on E: Exception do CheckError(E, errInvalidState, 'Server is running');
  end;
  Server.CloseCommunication;
  Groups.RemoveAll;
  CheckEqual(Groups.Count, 0, 'Count after RemoveAll');
  CheckEqual(Group.GroupName, 'Line A', 'the name of a removed group');
end;

procedure ItemsAreAddedFoundAndRemoved;
var
  Server, Group, Items, Item: OleVariant;
  ItemId, Name: string;
  Handle: Byte;
begin
  Server := ConfiguredServer;
  Group := Server.KELDataGroups.Add('Mill');
  Items := Group.KELDataItems;
  ItemId := 'WO100';
  Name := 'Speed';
  Item := Items.Add(ItemId, Name);
  CheckEqual(Item.ItemName, 'Speed', 'ItemName');
  CheckEqual(Item.ItemId, 'WO100', 'ItemId');
  CheckEqual(Item.Handle, 1, 'Handle');
  CheckEqual(Item.Parent.GroupName, 'Mill', 'the GroupName of the parent');
  CheckEqual(Items.Parent.Handle, 1, 'the Handle of the parent of the items');
  CheckEqual(Items.Add('FL112').ItemName, 'Item_1', 'the name of an item added without one');
  CheckEqual(Items.Add('DW108', EmptyParam).ItemName, 'Item_2', 'the name after the missing argument');
  CheckEqual(Items.Add(ItemName := 'Recipe', ItemId := 'ST0020010').ItemId, 'ST0020010', 'ItemId by argument name');
  CheckEqual(Items.AddCompiled('Own').ItemId, '', 'the ItemId of a compiled item');
  CheckEqual(Items.Count, 5, 'Count');
  CheckEqual(EnumeratedNames(Items, False), 'Speed;Item_1;Item_2;Recipe;Own;', 'the enumerated names');
  Handle := 2;
  CheckEqual(Items.Item(Handle).ItemId, 'FL112', 'Item');
  CheckEqual(Items.ItemByName(Name).Handle, 1, 'ItemByName');
  try
    Items.Add('XY1', 'Wrong');
    CheckRaised('an identifier that the panel does not know');
  except
    on E: Exception do CheckError(E, errInvalidItemId, 'Invalid ItemID: XY1: Group Name= MillGroupHandle: 1');
  end;
  try
    Items.Add('WO100', 'Speed');
    CheckRaised('a name that is used');
  except
    on E: Exception do CheckError(E, errInternal, 'Speed:Name already used');
  end;
  Items.Remove(Handle);
  Items.RemoveByName('OWN');
  CheckEqual(EnumeratedNames(Items, False), 'Speed;Item_2;Recipe;', 'the names after removals');
  try
    Items.Remove(Handle);
    CheckRaised('a handle that no item has');
  except
    on E: Exception do CheckError(E, errInvalidHandle, 'Invalid Handle: 2: Group Name= MillGroupHandle: 1');
  end;
  Items.RemoveAll;
  CheckEqual(Items.Count, 0, 'Count after RemoveAll');
  CheckEqual(EnumeratedNames(Items, False), '', 'the names after RemoveAll');
end;

procedure TestCollections;
begin
  RunTest('GroupsAreAdded', @GroupsAreAdded);
  RunTest('GroupsAreFound', @GroupsAreFound);
  RunTest('GroupsAreRemoved', @GroupsAreRemoved);
  RunTest('ItemsAreAddedFoundAndRemoved', @ItemsAreAddedFoundAndRemoved);
end;

end.
