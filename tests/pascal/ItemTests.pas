{ Single items: properties, reads and writes with every type of value. }
unit ItemTests;

{$mode objfpc}{$H+}

interface

procedure TestItems;

implementation

uses
  SysUtils, Variants, ActiveX, ComObj, Checks, Plant;

var
  Server, Items: OleVariant;

procedure Open(const ItemIds: array of string);
var
  I: Integer;
begin
  Server := ConfiguredServer;
  Items := Server.KELDataGroups.Add('Mill').KELDataItems;
  for I := 0 to High(ItemIds) do
    Items.Add(ItemIds[I], ItemIds[I]);
  Server.OpenCommunication;
end;

procedure Close;
begin
  if not VarIsEmpty(Server) then
    Server.CloseCommunication;
  Items := Unassigned;
  Server := Unassigned;
end;

{ What a read brings after Value was written; -1 in place of it when the write or the read has an error. }
function Echo(const ItemId: string; const Value: OleVariant): OleVariant;
var
  Error: Integer;
begin
  Error := 77;
  Items.ItemByName(ItemId).SyncWrite(Value, Error);
  CheckEqual(Error, 0, 'the error of a write to ' + ItemId);
  Error := 77;
  Result := -1;
  Items.ItemByName(ItemId).SyncRead(Result, Error);
  CheckEqual(Error, 0, 'the error of a read from ' + ItemId);
end;

procedure ItemHasItsFacts;
var
  Item: OleVariant;
begin
  Open(['WO100', 'DW108', 'FL112', 'ST0020010', 'RA0304']);
  Item := Items.ItemByName('WO100');
  CheckEqual(Item.AccessRights, 0, 'AccessRights');
  CheckEqual(Item.ItemType, 0, 'ItemType');
  CheckEqual(Item.ItemWordLength, 1, 'ItemWordLength');
  CheckEqual(Item.ItemGroupBufferOffset, 0, 'ItemGroupBufferOffset');
  CheckEqual(Item.USERValue, Unassigned, 'USERValue before the first read');
  CheckEqual(Item.DATAValue, Unassigned, 'DATAValue before the first read');
  Check(VarType(Item.TimeStamp) = varDate, 'TimeStamp is a date');
  Check(TDateTime(Item.TimeStamp) = 0, 'TimeStamp before the first read');
  CheckEqual(Items.ItemByName('DW108').ItemWordLength, 2, 'ItemWordLength of a double word');
  CheckEqual(Items.ItemByName('FL112').ItemType, 2, 'ItemType of a single');
  CheckEqual(Items.ItemByName('ST0020010').ItemType, 1, 'ItemType of a string');
  CheckEqual(Items.ItemByName('RA0304').ItemType, 3, 'ItemType of raw bytes');
  Item.Signed := True;
  CheckEqual(Item.Signed, True, 'Signed');
  Item.BCD := True;
  CheckEqual(Item.BCD, True, 'BCD');
  CheckEqual(Item.Signed, False, 'Signed after BCD');
  Item.BCD := False;
  CheckEqual(Item.BCD, False, 'BCD');
  Close;
end;

procedure EveryNumberTypeIsWritten;
var
  AsByte: Byte;
  AsShortInt: ShortInt;
  AsSmallInt: SmallInt;
  AsWord: Word;
  AsInteger, Error: Integer;
  AsCardinal: Cardinal;
  AsInt64: Int64;
  AsQWord: QWord;
  AsSingle: Single;
  AsDouble: Double;
  AsCurrency: Currency;
  Item: OleVariant;
begin
  Open(['DW108']);
  Item := Items.ItemByName('DW108');
  { Each as the type that it is, by reference, as Pascal passes variables. }
  AsByte := 11;
  Item.SyncWrite(AsByte, Error);
  CheckEqual(Item.USERValue, 11, 'a Byte');
  AsShortInt := 12;
  Item.SyncWrite(AsShortInt, Error);
  CheckEqual(Item.USERValue, 12, 'a ShortInt');
  AsSmallInt := 13;
  Item.SyncWrite(AsSmallInt, Error);
  CheckEqual(Item.USERValue, 13, 'a SmallInt');
  AsWord := 14;
  Item.SyncWrite(AsWord, Error);
  CheckEqual(Item.USERValue, 14, 'a Word');
  AsInteger := 15;
  Item.SyncWrite(AsInteger, Error);
  CheckEqual(Item.USERValue, 15, 'an Integer');
  AsCardinal := 16;
  Item.SyncWrite(AsCardinal, Error);
  CheckEqual(Item.USERValue, 16, 'a Cardinal');
  AsInt64 := 17;
  Item.SyncWrite(AsInt64, Error);
  CheckEqual(Item.USERValue, 17, 'an Int64');
  AsQWord := 18;
  Item.SyncWrite(AsQWord, Error);
  CheckEqual(Item.USERValue, 18, 'a QWord');
  AsSingle := 19;
  Item.SyncWrite(AsSingle, Error);
  CheckEqual(Item.USERValue, 19, 'a Single');
  AsDouble := 20;
  Item.SyncWrite(AsDouble, Error);
  CheckEqual(Item.USERValue, 20, 'a Double');
  AsCurrency := 21;
  Item.SyncWrite(AsCurrency, Error);
  CheckEqual(Item.USERValue, 21, 'a Currency');
  Item.SyncWrite('22', Error);
  CheckEqual(Item.USERValue, 22, 'a text');
  Item.SyncWrite(23, Error);
  CheckEqual(Item.USERValue, 23, 'a constant');
  Item.SyncWrite(AsByte + AsWord, Error);
  CheckEqual(Item.USERValue, 25, 'an expression');
  CheckEqual(Error, 0, 'the error of the last one');
  Close;
end;

procedure ValuesComeBack;
var
  Value, Item: OleVariant;
  I: Integer;
begin
  Open(['BI100.3', 'BY103', 'WO104', 'DW108', 'FL112', 'ST0020010', 'RA0304']);
  CheckEqual(Echo('BI100.3', 1), 1, 'a bit');
  CheckEqual(Echo('BY103', 200), 200, 'a byte');
  CheckEqual(Echo('WO104', 65535), 65535, 'a word');
  Item := Items.ItemByName('WO104');
  Item.Signed := True;
  CheckEqual(Echo('WO104', -40), -40, 'a signed word');
  Item.BCD := True;
  CheckEqual(Echo('WO104', $1234), 1234, 'a BCD word');
  CheckEqual(Echo('DW108', 70000), 70000, 'a double word');
  CheckEqual(Echo('FL112', 0.5), 0.5, 'a single');
  Check(VarType(Items.ItemByName('FL112').USERValue) = varSingle, 'a single comes as a single');
  CheckEqual(Echo('ST0020010', 'Vanilla 3%'), 'Vanilla 3%', 'a string');
  Check(VarType(Items.ItemByName('ST0020010').USERValue) = varOleStr, 'a string comes as a string');
  Value := Echo('RA0304', Numbers(varByte, 0, [1, 2, 253, 254]));
  Check(VarIsArray(Value), 'raw bytes come as an array');
  CheckEqual(Size(Value), 4, 'the number of raw bytes');
  for I := 0 to 3 do
    CheckEqual(Value[I], Numbers(varInteger, 0, [1, 2, 253, 254])[I], 'a raw byte');
  CheckEqual(Echo('WO104', Unassigned), 0, 'a word after Unassigned');
  CheckEqual(Echo('WO104', Null), 0, 'a word after Null');
  Close;
end;

procedure ResultsGoToEveryTypeOfVariable;
var
  Item, AnyValue, AnyError, AnyTime: OleVariant;
  ShortError: SmallInt;
  LongError: Int64;
  ByteError: Byte;
  Error: Integer;
  Time: TDateTime;
begin
  Open(['WO100']);
  Item := Items.ItemByName('WO100');
  AnyError := 77;
  Item.SyncWrite(1234, AnyError);
  CheckEqual(AnyError, 0, 'the error in a variant');
  ShortError := 77;
  Item.SyncRead(AnyValue, ShortError);
  CheckEqual(ShortError, 0, 'the error in a SmallInt');
  CheckEqual(AnyValue, 1234, 'the value in a variant');
  LongError := 77;
  Item.SyncRead(AnyValue, LongError);
  CheckEqual(LongError, 0, 'the error in an Int64');
  ByteError := 77;
  Item.SyncRead(AnyValue, ByteError);
  CheckEqual(ByteError, 0, 'the error in a Byte');
  AnyValue := 'a text that was there';
  AnyError := Unassigned;
  AnyTime := Unassigned;
  Item.SyncRead(AnyValue, AnyError, AnyTime);
  CheckEqual(AnyValue, 1234, 'the value in a variant that held a text');
  CheckEqual(AnyError, 0, 'the error in an empty variant');
  Check(Abs(TDateTime(AnyTime) - Now) < 1 / 1440, 'the time in a variant is now');
  Check(TDateTime(Item.TimeStamp) = TDateTime(AnyTime), 'TimeStamp is the same time');
  Time := 0;
  Error := 77;
  Item.SyncRead(AnyValue, Error, Time);
  Check(Abs(Time - Now) < 1 / 1440, 'the time in a TDateTime is now');
  Item.SyncRead(AnyValue, Error, EmptyParam);
  CheckEqual(Error, 0, 'the error without a time');
  { By value nothing comes back, and nothing fails. }
  Item.SyncRead(0, 0);
  Close;
end;

procedure RefusedValues;
var
  Item: OleVariant;
  Error: Integer;
begin
  Open(['WO100']);
  Item := Items.ItemByName('WO100');
  Error := 77;
  try
    Item.SyncWrite(70000, Error);
    CheckRaised('a value beyond a word');
  except
    on E: Exception do CheckError(E, errInvalidFormat, 'INVALID FORMAT Format not correct');
  end;
  try
    Item.SyncWrite('speed', Error);
    CheckRaised('a value that is no number');
  except
    on E: Exception do CheckError(E, errInvalidFormat, 'INVALID FORMAT Format not correct');
  end;
  CheckEqual(Error, 77, 'the error variable after a value that was refused');
  Server.CloseCommunication;
  try
    Item.SyncWrite(1, Error);
    CheckRaised('a write while communication is closed');
  except
    on E: Exception do CheckError(E, errInvalidState, 'Invalid State: Server isn''t running');
  end;
  Close;
end;

procedure TestItems;
begin
  RunTest('ItemHasItsFacts', @ItemHasItsFacts);
  RunTest('EveryNumberTypeIsWritten', @EveryNumberTypeIsWritten);
  RunTest('ValuesComeBack', @ValuesComeBack);
  RunTest('ResultsGoToEveryTypeOfVariable', @ResultsGoToEveryTypeOfVariable);
  RunTest('RefusedValues', @RefusedValues);
  Items := Unassigned;
  Server := Unassigned;
end;

end.
