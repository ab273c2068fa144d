{ Event sinks that remember what they were given, and the message pump without which nothing arrives. }
unit EventSinks;

{$mode objfpc}{$H+}

interface

uses
  Windows, SysUtils, Variants, ActiveX, ComObj;

const
  ServerEvents: TGUID = '{664caa88-0b61-4bd3-8c29-ad25ec2df2fb}';
  GroupEvents: TGUID = '{f45283ea-81b6-4edb-9990-92fdde3209bd}';

  { Events of a server. }
  FirmwareProgressId = 1;
  ProjectProgressId = 2;
  FirmwareCompleteId = 3;
  ProjectCompleteId = 4;
  { Events of a group. }
  DataChangeId = 1;
  AsyncReadCompleteId = 2;
  AsyncWriteCompleteId = 5;
  AsyncCancelCompleteId = 6;

  WaitLimit = 5000; { milliseconds }

type
  TEvent = record
    Id: Integer;
    Arguments: array of OleVariant; { as published, first to last; references resolved }
    Shapes: array of Word;          { the variant types as they came }
  end;

  TReaction = procedure;

  { Answers for the event interface too when it is given one, else for IDispatch alone. }
  TSink = class(TInterfacedObject, IDispatch, IUnknown)
  private
    FInterfaceId: TGUID;
    FIsTyped: Boolean;
  public
    Events: array of TEvent;
    Reaction: TReaction; { called with each event, may raise }
    constructor Create;
    constructor CreateTyped(const InterfaceId: TGUID);
    destructor Destroy; override;
    function QueryInterface(constref IID: TGUID; out Obj): HResult; stdcall;
    function GetTypeInfoCount(out InfoCount: LongInt): HResult; stdcall;
    function GetTypeInfo(Index, LocaleID: LongInt; out TypeInfo): HResult; stdcall;
    function GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: LongInt; DispIDs: Pointer): HResult;
      stdcall;
    function Invoke(DispID: LongInt; const IID: TGUID; LocaleID: LongInt; Flags: Word; var Params;
      VarResult, ExcepInfo, ArgErr: Pointer): HResult; stdcall;
    { How many events of this number came. }
    function CountOf(Id: Integer): Integer;
    { The first event of this number; waits for it, and raises when it does not come. }
    function Await(Id: Integer): TEvent;
    procedure Clear;
  end;

{ Handles the messages that are there and waits for more, at most Milliseconds. }
procedure PumpOnce(Milliseconds: LongWord);
procedure Pump(Milliseconds: LongWord);
function Advise(const Source: OleVariant; const InterfaceId: TGUID; const Sink: IDispatch): DWORD;
procedure Unadvise(const Source: OleVariant; const InterfaceId: TGUID; var Connection: DWORD);

var
  LiveSinks: Integer = 0;

implementation

uses
  VarUtils;

constructor TSink.Create;
begin
  inherited Create;
  Inc(LiveSinks);
end;

constructor TSink.CreateTyped(const InterfaceId: TGUID);
begin
  Create;
  FInterfaceId := InterfaceId;
  FIsTyped := True;
end;

destructor TSink.Destroy;
begin
  Dec(LiveSinks);
  inherited Destroy;
end;

function TSink.QueryInterface(constref IID: TGUID; out Obj): HResult; stdcall;
begin
  if FIsTyped and IsEqualGUID(IID, FInterfaceId) then
    Result := inherited QueryInterface(IDispatch, Obj)
  else
    Result := inherited QueryInterface(IID, Obj);
end;

function TSink.GetTypeInfoCount(out InfoCount: LongInt): HResult; stdcall;
begin
  InfoCount := 0;
  Result := S_OK;
end;

function TSink.GetTypeInfo(Index, LocaleID: LongInt; out TypeInfo): HResult; stdcall;
begin
  Pointer(TypeInfo) := nil;
  Result := E_NOTIMPL;
end;

function TSink.GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: LongInt; DispIDs: Pointer): HResult;
  stdcall;
begin
  Result := E_NOTIMPL;
end;

function TSink.Invoke(DispID: LongInt; const IID: TGUID; LocaleID: LongInt; Flags: Word; var Params;
  VarResult, ExcepInfo, ArgErr: Pointer): HResult; stdcall;
var
  Event: TEvent;
  Given: TDispParams absolute Params;
  I: Integer;
  Argument: PVarData;
begin
  Result := S_OK;
  try
    Event.Id := DispID;
    SetLength(Event.Arguments, Given.cArgs);
    SetLength(Event.Shapes, Given.cArgs);
    for I := 0 to Integer(Given.cArgs) - 1 do
    begin
      Argument := PVarData(@Given.rgvarg^[Integer(Given.cArgs) - 1 - I]);
      Event.Shapes[I] := Argument^.VType;
      OleCheck(VariantCopyInd(TVarData(Event.Arguments[I]), Argument^));
    end;
    SetLength(Events, Length(Events) + 1);
    Events[High(Events)] := Event;
    if Assigned(Reaction) then
      Reaction();
  except
    Result := E_UNEXPECTED;
  end;
end;

function TSink.CountOf(Id: Integer): Integer;
var
  Event: TEvent;
begin
  Result := 0;
  for Event in Events do
    if Event.Id = Id then
      Inc(Result);
end;

function TSink.Await(Id: Integer): TEvent;
var
  Start: QWord;
  Event: TEvent;
begin
  Start := GetTickCount64;
  repeat
    for Event in Events do
      if Event.Id = Id then
        Exit(Event);
    PumpOnce(20);
  until GetTickCount64 - Start > WaitLimit;
  raise Exception.CreateFmt('event %d did not come within %d ms', [Id, WaitLimit]);
end;

procedure TSink.Clear;
begin
  Events := nil;
end;

procedure PumpOnce(Milliseconds: LongWord);
var
  Message: TMsg;
  None: THandle;
begin
  None := 0;
  MsgWaitForMultipleObjects(0, None, False, Milliseconds, QS_ALLINPUT);
  while PeekMessage(Message, 0, 0, 0, PM_REMOVE) do
    DispatchMessage(Message);
end;

procedure Pump(Milliseconds: LongWord);
var
  Start: QWord;
begin
  Start := GetTickCount64;
  repeat
    PumpOnce(10);
  until GetTickCount64 - Start >= Milliseconds;
end;

function ConnectionPoint(const Source: OleVariant; const InterfaceId: TGUID): IConnectionPoint;
begin
  OleCheck((IUnknown(Source) as IConnectionPointContainer).FindConnectionPoint(InterfaceId, Result));
end;

function Advise(const Source: OleVariant; const InterfaceId: TGUID; const Sink: IDispatch): DWORD;
begin
  OleCheck(ConnectionPoint(Source, InterfaceId).Advise(Sink, Result));
end;

procedure Unadvise(const Source: OleVariant; const InterfaceId: TGUID; var Connection: DWORD);
begin
  OleCheck(ConnectionPoint(Source, InterfaceId).Unadvise(Connection));
  Connection := 0;
end;

end.
