{ Reads and writes of groups: arrays of every shape in and out. }
unit GroupTests;

{$mode objfpc}{$H+}

interface

procedure TestGroups;

implementation

uses
  SysUtils, Variants, ActiveX, ComObj, Checks, Plant;

var
  Server, Group: OleVariant;

{ A group of three words (handles 1, 2, 3) that hold 10, 20, 30; communication open. }
procedure Open;
var
  Errors: OleVariant;
begin
  Server := ConfiguredServer;
  Group := Server.KELDataGroups.Add('Mill');
  Group.KELDataItems.Add('WO100');
  Group.KELDataItems.Add('WO102');
  Group.KELDataItems.Add('WO104');
  Server.OpenCommunication;
  Group.SyncWrite(VarArrayOf([1, 2, 3]), VarArrayOf([10, 20, 30]), Errors);
end;

procedure Close;
begin
  if not VarIsEmpty(Server) then
    Server.CloseCommunication;
  Group := Unassigned;
  Server := Unassigned;
end;

{ The elements from Low on are these. }
procedure CheckElements(const Actual: OleVariant; Low: Integer; const Expected: array of Integer; const What: string);
var
  I: Integer;
begin
  if not VarIsArray(Actual) then
  begin
    Check(False, What + ' is no array');
    Exit;
  end;
  CheckEqual(Low1(Actual), Low, 'the lower bound of ' + What);
  CheckEqual(Size(Actual), Length(Expected), 'the length of ' + What);
  if (Low1(Actual) = Low) and (Size(Actual) = Length(Expected)) then
    for I := 0 to High(Expected) do
      CheckEqual(Actual[Low + I], Expected[I], 'element ' + IntToStr(Low + I) + ' of ' + What);
end;

procedure GroupHasItsProperties;
var
  Rate: Int64;
begin
  Open;
  CheckEqual(Group.Handle, 1, 'Handle');
  CheckEqual(Group.GroupName, 'Mill', 'GroupName');
  CheckEqual(Group.GroupId, 0, 'GroupId');
  CheckEqual(Group.KELDataItems.Count, 3, 'Count of the items');
  CheckEqual(Group.Parent.ServerStatus, 3, 'ServerStatus of the parent');
  CheckEqual(Group.Active, False, 'Active');
  CheckEqual(Group.Subscribed, False, 'Subscribed');
  CheckEqual(Group.UpdateRate, 0, 'UpdateRate');
  Rate := 250;
  Group.UpdateRate := Rate;
  CheckEqual(Group.UpdateRate, 250, 'UpdateRate from an Int64');
  Group.Subscribed := True;
  CheckEqual(Group.Subscribed, True, 'Subscribed');
  try
    Group.UpdateRate := -1;
    CheckRaised('a negative update rate');
  except
    on E: Exception do CheckError(E, errInvalidValue, 'Update rate must be >= 0');
  end;
  CheckEqual(Group.UpdateRate, 250, 'UpdateRate after a refused one');
  Close;
end;

procedure HandlesOfEveryBound;
const
  Lows: array[0..4] of Integer = (0, 1, 5, -1, 100);
var
  Handles, Values, Errors: OleVariant;
  Low: Integer;
begin
  Open;
  for Low in Lows do
  begin
    Handles := Numbers(varInteger, Low, [3, 1, 2]);
    Values := Unassigned;
    Errors := Unassigned;
    Group.SyncRead(Handles, Values, Errors);
    CheckElements(Values, Low, [30, 10, 20], 'Values');
    CheckElements(Errors, Low, [0, 0, 0], 'Errors');
    CheckElements(Handles, Low, [3, 1, 2], 'Handles after the call');
  end;
  Close;
end;

procedure HandlesOfEveryType;
const
  { The run-time library makes no arrays of 64-bit integers; they come as elements of a variant array below. }
  Types: array[0..8] of Word = (varByte, varShortInt, varSmallint, varWord, varInteger, varLongWord, varSingle,
    varDouble, varVariant);
var
  Handles, Values, Errors: OleVariant;
  ElementType: Word;
  Dynamic: array of Integer;
begin
  Open;
  for ElementType in Types do
  begin
    Handles := Numbers(ElementType, 5, [2, 3, 1]);
    Values := Unassigned;
    Group.SyncRead(Handles, Values, Errors);
    CheckElements(Values, 5, [20, 30, 10], 'Values for handles of type ' + IntToStr(ElementType));
    CheckEqual(VarType(Handles), varArray or ElementType, 'the type of the handles after the call');
  end;
  SetLength(Dynamic, 2);
  Dynamic[0] := 3;
  Dynamic[1] := 2;
  Handles := Dynamic;
  Group.SyncRead(Handles, Values, Errors);
  CheckElements(Values, 0, [30, 20], 'Values for a dynamic array');
  Group.SyncRead(VarArrayOf([Int64(3), Int64(1)]), Values, Errors);
  CheckElements(Values, 0, [30, 10], 'Values for an array of 64-bit integers');
  Group.SyncRead(VarArrayOf(['2', '1']), Values, Errors);
  CheckElements(Values, 0, [20, 10], 'Values for an array of texts');
  Group.SyncRead(3, Values, Errors);
  Check(VarIsArray(Values), 'Values for a single handle is an array');
  if VarIsArray(Values) then
    CheckEqual(Values[Low1(Values)], 30, 'the value for a single handle');
  Close;
end;

procedure ResultsGoToEveryShape;
var
  Values, Errors: OleVariant;
begin
  Open;
  { Arrays that are there already, with the bounds of the handles. }
  Values := VarArrayCreate([1, 3], varVariant);
  Errors := Numbers(varInteger, 1, [7, 7, 7]);
  Group.SyncRead(Numbers(varInteger, 1, [1, 2, 3]), Values, Errors);
  CheckElements(Values, 1, [10, 20, 30], 'Values into an array of variants');
  CheckElements(Errors, 1, [0, 0, 0], 'Errors into an array of integers');
  { Narrower ones, longer ones, shorter ones, no arrays at all. }
  Values := VarArrayCreate([1, 3], varSmallint);
  Errors := VarArrayCreate([1, 3], varByte);
  Group.SyncRead(Numbers(varInteger, 1, [1, 2, 3]), Values, Errors);
  CheckElements(Values, 1, [10, 20, 30], 'Values where an array of small integers was');
  CheckElements(Errors, 1, [0, 0, 0], 'Errors where an array of bytes was');
  Values := VarArrayCreate([0, 9], varVariant);
  Errors := VarArrayCreate([5, 5], varInteger);
  Group.SyncRead(Numbers(varInteger, 1, [2, 3]), Values, Errors);
  CheckEqual(Values[Low1(Values)], 20, 'the first of Values where a longer array was');
  CheckElements(Errors, 1, [0, 0], 'Errors where a shorter array was');
  Values := 'text';
  Errors := 5;
  try
    Group.SyncRead(VarArrayOf([1, 2]), Values, Errors);
    CheckElements(Errors, 0, [0, 0], 'Errors where a number was');
  except
    on E: Exception do CheckError(E, TypeMismatch, '');
  end;
  { By value nothing comes back. }
  Group.SyncRead(VarArrayOf([1, 2]), VarArrayOf([0, 0]), VarArrayOf([0, 0]));
  Close;
end;

procedure WritesOfEveryShape;
var
  Values, Errors: OleVariant;
begin
  Open;
  Errors := Unassigned;
  Group.SyncWrite(Numbers(varInteger, 5, [1, 2, 3]), Numbers(varSmallint, 0, [11, 12, 13]), Errors);
  CheckElements(Errors, 5, [0, 0, 0], 'Errors with the bounds of Handles');
  Group.SyncRead(VarArrayOf([1, 2, 3]), Values, Errors);
  CheckElements(Values, 0, [11, 12, 13], 'what was written');
  Group.SyncWriteAll(VarArrayOf([3, 1]), VarArrayOf(['33', 31.0]), Errors);
  CheckElements(Errors, 0, [0, 0], 'Errors of SyncWriteAll');
  Group.SyncRead(VarArrayOf([1, 2, 3]), Values, Errors);
  CheckElements(Values, 0, [31, 12, 33], 'what SyncWriteAll wrote');
  try
    Group.SyncWrite(Numbers(varInteger, 5, [1, 2]), VarArrayOf([1, 'much']), Errors);
    CheckRaised('a value that an item cannot take');
  except
    on E: Exception do CheckError(E, errInvalidFormat, 'INVALID FORMAT Invalid format: index=6');
  end;
  try
    Group.SyncWrite(VarArrayOf([9]), VarArrayOf([1]), Errors);
    CheckRaised('a handle that no item has');
  except
    on E: Exception do CheckError(E, errInvalidHandle, 'Invalid Handle: 9');
  end;
  try
    Group.SyncRead(VarArrayOf(['first']), Values, Errors);
    CheckRaised('a handle that is no number');
  except
    on E: Exception do CheckError(E, TypeMismatch, '');
  end;
  Group.SyncRead(VarArrayOf([1, 2, 3]), Values, Errors);
  CheckElements(Values, 0, [31, 12, 33], 'the values after refused writes');
  Close;
end;

procedure ReadAll;
var
  Handles, Values, Errors: OleVariant;
begin
  Open;
  Handles := Unassigned;
  Group.SyncReadAll(Handles, Values, Errors);
  CheckElements(Handles, 0, [1, 2, 3], 'Handles');
  CheckElements(Values, 0, [10, 20, 30], 'Values');
  CheckElements(Errors, 0, [0, 0, 0], 'Errors');
  Handles := VarArrayCreate([1, 3], varInteger);
  Group.SyncReadAll(Handles, Values, Errors);
  CheckElements(Handles, 0, [1, 2, 3], 'Handles where an array with other bounds was');
  Close;
end;

procedure CompiledForms;
var
  Addresses, Dimensions, Buffer: OleVariant;
  NewValue: SmallInt;
begin
  Open;
  Server.CloseCommunication;
  Group.KELDataItems.Add('DW108');
  Addresses := Group.CompileVariable(Numbers(varInteger, 1, [1, 9, 4]));
  CheckEqual(Low1(Addresses), 0, 'the lower bound of CompileVariable');
  CheckEqual(Size(Addresses), 4, 'the length of CompileVariable');
  Check((Addresses[0] = 0) and (Addresses[1] <> 0) and (Addresses[2] = 0) and (Addresses[3] <> 0),
    'the addresses of CompileVariable');
  Dimensions := Group.GetDimension(VarArrayOf([4, 1, 9]));
  CheckElements(Dimensions, 0, [2, 1, 0], 'GetDimension');
  Buffer := Group.CompiledBuffer;
  Check(VarIsArray(Buffer), 'CompiledBuffer is an array');
  CheckEqual(Size(Buffer), 0, 'the length of CompiledBuffer before any sizing');
  NewValue := 16;
  Group.SetCompiledBufferDimension(NewValue);
  Buffer := Group.CompiledBuffer;
  CheckEqual(Size(Buffer), 16, 'the length of CompiledBuffer');
  CheckEqual(Buffer[15], 0, 'its last byte');
  Group.SetCompiledBufferDimension(0);
  CheckEqual(Size(Group.CompiledBuffer), 1, 'the length of CompiledBuffer sized to 0');
  Close;
end;

procedure ClosedCommunication;
var
  Handles, Values, Errors, TransactionId: OleVariant;
begin
  Open;
  Server.CloseCommunication;
  Values := 5;
  try
    Group.SyncReadAll(Handles, Values, Errors);
    CheckRaised('SyncReadAll');
  except
    on E: Exception do CheckError(E, errInvalidState, 'Server isn''t running');
  end;
  CheckEqual(Values, 5, 'Values after a call that failed');
  try
    Group.AsyncReadAll(TransactionId);
    CheckRaised('AsyncReadAll');
  except
    on E: Exception do CheckError(E, errInvalidState, 'Server isn''t running');
  end;
  try
    Group.AsyncCancel(1);
    CheckRaised('AsyncCancel');
  except
    on E: Exception do CheckError(E, errInvalidState, 'Server isn''t running');
  end;
  Close;
end;

procedure TestGroups;
begin
  RunTest('GroupHasItsProperties', @GroupHasItsProperties);
  RunTest('HandlesOfEveryBound', @HandlesOfEveryBound);
  RunTest('HandlesOfEveryType', @HandlesOfEveryType);
  RunTest('ResultsGoToEveryShape', @ResultsGoToEveryShape);
  RunTest('WritesOfEveryShape', @WritesOfEveryShape);
  RunTest('ReadAll', @ReadAll);
  RunTest('CompiledForms', @CompiledForms);
  RunTest('ClosedCommunication', @ClosedCommunication);
  Group := Unassigned;
  Server := Unassigned;
end;

end.
