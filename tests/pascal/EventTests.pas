{ Asynchronous requests and the events of a group. }
unit EventTests;

{$mode objfpc}{$H+}

interface

procedure TestEvents;

implementation

uses
  Windows, SysUtils, Variants, ActiveX, ComObj, Checks, EventSinks, Plant;

var
  Server, Group: OleVariant;
  Sink: TSink; { lives as long as Held }
  Held: IDispatch;
  Connection: DWORD;

{ A subscribed group of two words, handles 1 and 2, communication open. }
procedure Open(NewSink: TSink);
begin
  Server := ConfiguredServer;
  Group := Server.KELDataGroups.Add('Mill');
  Group.KELDataItems.Add('WO100');
  Group.KELDataItems.Add('WO102');
  Group.Subscribed := True;
  Sink := NewSink;
  Held := Sink;
  Connection := Advise(Group, GroupEvents, Held);
  Server.OpenCommunication;
end;

procedure Close;
begin
  if Connection <> 0 then
    Unadvise(Group, GroupEvents, Connection);
  if not VarIsEmpty(Server) then
  begin
    Group.Active := False;
    Server.CloseCommunication;
  end;
  Held := nil;
  Sink := nil;
  Group := Unassigned;
  Server := Unassigned;
end;

{ A write and a read, with their events; the shapes that Handles and Values are to have. }
procedure RoundOfRequests(HandlesShape, ValuesShape: Word);
var
  Event: TEvent;
  Written: Integer;
  Read: OleVariant;
begin
  Written := 0;
  Group.AsyncWrite(Numbers(varInteger, 5, [2, 1]), VarArrayOf([222, 111]), Written);
  Check(Written > 0, 'the transaction id of a write');
  Event := Sink.Await(AsyncWriteCompleteId);
  CheckEqual(Length(Event.Arguments), 3, 'arguments of AsyncWriteComplete');
  CheckEqual(Event.Arguments[0], Written, 'its transaction id');
  CheckEqual(Event.Arguments[1][Low1(Event.Arguments[1])], 2, 'its first handle');
  CheckEqual(Event.Arguments[2][Low1(Event.Arguments[2])], 0, 'its first error');
  CheckEqual(Event.Shapes[0], varInteger, 'the shape of the transaction id');
  CheckEqual(Event.Shapes[1], HandlesShape, 'the shape of the handles');

  Read := Unassigned;
  Group.AsyncRead(VarArrayOf([1, 2]), Read);
  Check(Read > 0, 'the transaction id of a read');
  Event := Sink.Await(AsyncReadCompleteId);
  CheckEqual(Length(Event.Arguments), 4, 'arguments of AsyncReadComplete');
  CheckEqual(Event.Arguments[0], Read, 'its transaction id');
  CheckEqual(Event.Arguments[2][0], 111, 'its first value');
  CheckEqual(Event.Arguments[2][1], 222, 'its second value');
  CheckEqual(Event.Arguments[3][1], 0, 'its second error');
  CheckEqual(Event.Shapes[1], HandlesShape, 'the shape of the handles');
  CheckEqual(Event.Shapes[2], ValuesShape, 'the shape of the values');
end;

procedure EventsReachAPlainSink;
begin
  Open(TSink.Create);
  RoundOfRequests(varArray or varVariant, varArray or varVariant);
  Close;
end;

procedure EventsReachATypedSink;
begin
  Open(TSink.CreateTyped(GroupEvents));
  RoundOfRequests(varArray or varInteger or varByRef, varArray or varVariant or varByRef);
  Close;
end;

procedure TransactionIdsGoToEveryVariable;
var
  AsSmallInt: SmallInt;
  AsInt64: Int64;
  AsVariant: OleVariant;
  Empty: OleVariant;
begin
  Open(TSink.Create);
  AsSmallInt := 0;
  Group.AsyncRead(VarArrayOf([1]), AsSmallInt);
  Check(AsSmallInt > 0, 'the transaction id in a SmallInt');
  AsInt64 := 0;
  Group.AsyncReadAll(AsInt64);
  CheckEqual(AsInt64, AsSmallInt + 1, 'the transaction id in an Int64');
  AsVariant := 'none';
  try
    Group.AsyncWriteAll(VarArrayOf([1]), VarArrayOf([5]), AsVariant);
    CheckEqual(AsVariant, AsSmallInt + 2, 'the transaction id in a variant');
  except
    on E: Exception do CheckError(E, TypeMismatch, '');
  end;
  Group.AsyncRead(VarArrayOf([1]), 0);
  Server.CloseCommunication;
  Empty := Server.KELDataGroups.Add('empty');
  Server.OpenCommunication;
  AsInt64 := 4711;
  Empty.AsyncReadAll(AsInt64);
  CheckEqual(AsInt64, 4711, 'the transaction id of a group without items');
  Close;
end;

procedure WaitingRequestIsCancelled;
var
  First, Second: Integer;
  Event: TEvent;
begin
  Open(TSink.CreateTyped(GroupEvents));
  Group.AsyncRead(VarArrayOf([1]), First);
  Group.AsyncRead(VarArrayOf([2]), Second);
  Group.AsyncCancel(Second);
  Event := Sink.Await(AsyncCancelCompleteId);
  CheckEqual(Event.Arguments[0], Second, 'the transaction id');
  CheckEqual(Event.Arguments[1], True, 'Success');
  CheckEqual(Event.Shapes[1], varBoolean, 'the shape of Success');
  Sink.Await(AsyncReadCompleteId);
  CheckEqual(Sink.CountOf(AsyncReadCompleteId), 1, 'reads that were completed');
  Close;
end;

procedure ChangesAreReported;
var
  Event: TEvent;
  TransactionId: Integer;
  Start: QWord;
begin
  Open(TSink.Create);
  Group.UpdateRate := 50;
  Group.Active := True;
  CheckEqual(Group.Active, True, 'Active');
  Event := Sink.Await(DataChangeId);
  CheckEqual(Size(Event.Arguments[0]), 2, 'items in the first DataChange');
  Pump(200);
  CheckEqual(Sink.CountOf(DataChangeId), 1, 'DataChange events while nothing changes');
  Sink.Clear;
  Group.AsyncWrite(VarArrayOf([2]), VarArrayOf([4321]), TransactionId);
  Event := Sink.Await(DataChangeId);
  CheckEqual(Size(Event.Arguments[0]), 1, 'items in the next DataChange');
  CheckEqual(Event.Arguments[0][0], 2, 'its handle');
  CheckEqual(Event.Arguments[1][0], 4321, 'its value');
  Group.Subscribed := False;
  Sink.Clear;
  Group.AsyncWrite(VarArrayOf([2]), VarArrayOf([4322]), TransactionId);
  Start := GetTickCount64;
  repeat
    PumpOnce(20);
  until (Group.KELDataItems.Item(2).USERValue = 4322) or (GetTickCount64 - Start > WaitLimit);
  CheckEqual(Group.KELDataItems.Item(2).USERValue, 4322, 'the value of an item of a group that is not subscribed');
  CheckEqual(Length(Sink.Events), 0, 'events of such a group');
  Close;
end;

procedure WithdrawItself;
begin
  Unadvise(Group, GroupEvents, Connection);
end;

procedure RaiseSomething;
begin
  raise Exception.Create('a handler that fails');
end;

procedure SinksMayFailAndLeave;
var
  Other: TSink;
  OtherHeld: IDispatch;
  OtherConnection: DWORD;
  TransactionId: Integer;
begin
  Open(TSink.Create);
  Sink.Reaction := @RaiseSomething;
  Other := TSink.CreateTyped(GroupEvents);
  OtherHeld := Other;
  OtherConnection := Advise(Group, GroupEvents, OtherHeld);
  Group.AsyncRead(VarArrayOf([1]), TransactionId);
  Other.Await(AsyncReadCompleteId);
  CheckEqual(Sink.CountOf(AsyncReadCompleteId), 1, 'events at the sink that fails');
  Sink.Reaction := @WithdrawItself;
  Group.AsyncRead(VarArrayOf([1]), TransactionId);
  Sink.Clear;
  Other.Clear;
  Other.Await(AsyncReadCompleteId);
  CheckEqual(Connection, 0, 'the connection that was withdrawn inside an event');
  Group.AsyncRead(VarArrayOf([1]), TransactionId);
  Sink.Clear;
  Other.Clear;
  Other.Await(AsyncReadCompleteId);
  CheckEqual(Length(Sink.Events), 0, 'events at the sink that left');
  Unadvise(Group, GroupEvents, OtherConnection);
  Close;
end;

procedure SinksAreReleased;
var
  Before: Integer;
  Left: OleVariant;
begin
  Before := LiveSinks;
  Open(TSink.Create);
  CheckEqual(LiveSinks, Before + 1, 'sinks');
  { Withdrawing lets go of the sink. }
  Held := nil;
  Unadvise(Group, GroupEvents, Connection);
  CheckEqual(LiveSinks, Before, 'sinks after withdrawing');
  Close;
  { So does the end of the group, here after that of the server. }
  Open(TSink.Create);
  Left := Group;
  Server.CloseCommunication;
  Server := Unassigned;
  Group := Unassigned;
  Held := nil;
  CheckEqual(LiveSinks, Before + 1, 'sinks of a group whose server is gone');
  CheckEqual(Left.GroupName, 'Mill', 'the name of a group whose server is gone');
  Left := Unassigned;
  CheckEqual(LiveSinks, Before, 'sinks after the end of the group');
  Connection := 0;
end;

procedure TestEvents;
begin
  RunTest('EventsReachAPlainSink', @EventsReachAPlainSink);
  RunTest('EventsReachATypedSink', @EventsReachATypedSink);
  RunTest('TransactionIdsGoToEveryVariable', @TransactionIdsGoToEveryVariable);
  RunTest('WaitingRequestIsCancelled', @WaitingRequestIsCancelled);
  RunTest('ChangesAreReported', @ChangesAreReported);
  RunTest('SinksMayFailAndLeave', @SinksMayFailAndLeave);
  RunTest('SinksAreReleased', @SinksAreReleased);
  Held := nil;
  Group := Unassigned;
  Server := Unassigned;
end;

end.
