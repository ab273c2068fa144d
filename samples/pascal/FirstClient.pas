{ A first client in Pascal: Free Pascal and Delphi, 32 or 64 bits like the ORVOBusiness.dll that is registered.

    fpc FirstClient.pas
    FirstClient [drivers.ini]

  Everything is late bound: no type library is imported, names are looked up when a line runs. }
program FirstClient;

{$ifdef FPC}{$mode delphi}{$else}{$apptype console}{$endif}

uses
  Windows, SysUtils, Variants, ActiveX, ComObj;

const
  GroupEventsId: TGUID = '{f45283ea-81b6-4edb-9990-92fdde3209bd}'; { __KELDataGroup }
  DataChangeId = 1;
  AsyncWriteCompleteId = 5;

type
  { Receives the events of a group. An event is a call of Invoke with the event's number; its arguments stand in
    reverse order. }
  TGroupEvents = class(TInterfacedObject, IDispatch)
  private
    procedure DataChange(const Handles, Values: OleVariant);
  public
    function GetTypeInfoCount(out Count: Integer): HResult; stdcall;
    function GetTypeInfo(Index, LocaleID: Integer; out TypeInfo): HResult; stdcall;
    function GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: Integer;
      DispIDs: Pointer): HResult; stdcall;
    function Invoke(DispID: Integer; const IID: TGUID; LocaleID: Integer; Flags: Word; var Params;
      VarResult, ExcepInfo, ArgErr: Pointer): HResult; stdcall;
  end;

function TGroupEvents.GetTypeInfoCount(out Count: Integer): HResult; stdcall;
begin
  Count := 0;
  Result := S_OK;
end;

function TGroupEvents.GetTypeInfo(Index, LocaleID: Integer; out TypeInfo): HResult; stdcall;
begin
  Pointer(TypeInfo) := nil;
  Result := E_NOTIMPL;
end;

function TGroupEvents.GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: Integer;
  DispIDs: Pointer): HResult; stdcall;
begin
  Result := E_NOTIMPL;
end;

function TGroupEvents.Invoke(DispID: Integer; const IID: TGUID; LocaleID: Integer; Flags: Word; var Params;
  VarResult, ExcepInfo, ArgErr: Pointer): HResult; stdcall;

  function Argument(FromTheEnd: Integer): OleVariant;
  begin
    Result := POleVariant(@TDispParams(Params).rgvarg^[FromTheEnd])^;
  end;

begin
  Result := S_OK;
  try
    case DispID of
      DataChangeId: DataChange(Argument(1), Argument(0));
      AsyncWriteCompleteId: Writeln('  AsyncWriteComplete: transaction ', Integer(Argument(2)));
    end;
  except
    Result := E_UNEXPECTED; { an exception must not leave a call from outside }
  end;
end;

procedure TGroupEvents.DataChange(const Handles, Values: OleVariant);
var
  I: Integer;
begin
  Write('  DataChange:');
  for I := VarArrayLowBound(Handles, 1) to VarArrayHighBound(Handles, 1) do
    Write('  item ', Integer(Handles[I]), ' = ', VarToStr(Values[I]));
  Writeln;
end;

{ Handles the thread's messages. Requests are sent and events arrive only while somebody does this: a program with
  forms does it all the time, a console program has to. }
procedure Pump(Milliseconds: Cardinal);
var
  Start, Spent: UInt64;
  Message: TMsg;
  None: THandle;
begin
  Start := GetTickCount64;
  None := 0;
  repeat
    while PeekMessage(Message, 0, 0, 0, PM_REMOVE) do
      DispatchMessage(Message);
    Spent := GetTickCount64 - Start;
    if Spent < Milliseconds then
      MsgWaitForMultipleObjects(0, None, False, DWORD(Milliseconds - Spent), QS_ALLINPUT);
  until Spent >= Milliseconds;
end;

procedure Run(const DriverFile: string);
var
  Server, Group, Items, Speed, Recipe: OleVariant;
  Handles, Values, Errors: OleVariant;
  Events: IDispatch;
  Connection: {$ifdef FPC}DWORD{$else}Longint{$endif};
  TransactionId, I: Integer;
begin
  { Create and configure. }
  Server := CreateOleObject('ORVOBusiness.KELDataServer');
  Server.SetDriverConfigurationFile(DriverFile);
  Server.DeviceType := 2; { the line "2=PanelB" of the file }

  { Groups and items are added while communication is closed. }
  Group := Server.KELDataGroups.Add('Line 1');
  Items := Group.KELDataItems;
  Speed := Items.Add('WO100', 'Speed');      { a word at 100 }
  Recipe := Items.Add('ST0020010', 'Recipe'); { ten characters at 200 }

  { Open. A line that does not answer is no error of this call: look at the status. }
  Server.OpenCommunication;
  if Server.ServerStatus <> 3 then
    raise Exception.Create('communication is not open');
  Writeln(string(Server.BoardDescription), ', status of the line ', Integer(Server.CommunicationStatus));

  { Write and read: arrays that run in parallel, with any lower bound. }
  Handles := VarArrayOf([Integer(Speed.Handle), Integer(Recipe.Handle)]);
  Values := VarArrayOf([1500, 'Vanilla 3%']);
  Errors := Unassigned;
  Group.SyncWrite(Handles, Values, Errors);
  Values := Unassigned;
  Group.SyncRead(Handles, Values, Errors);
  for I := VarArrayLowBound(Handles, 1) to VarArrayHighBound(Handles, 1) do
    Writeln('  ', string(Items.Item(Integer(Handles[I])).ItemName), ' = ', VarToStr(Values[I]), ', error ',
      Integer(Errors[I]));

  { Subscribe: from now on the group is read every 100 ms, and DataChange brings what is new. }
  Events := TGroupEvents.Create;
  Connection := 0;
  InterfaceConnect(Group, GroupEventsId, Events, Connection);
  if Connection = 0 then
    raise Exception.Create('the group did not take the event sink');
  Group.Subscribed := True;
  Group.UpdateRate := 100;
  Group.Active := True;
  for I := 1 to 3 do
  begin
    TransactionId := 0;
    Handles := VarArrayOf([Integer(Speed.Handle)]);
    Group.AsyncWrite(Handles, VarArrayOf([1500 + 10 * I]), TransactionId);
    Pump(500);
  end;
  Group.Active := False;
  InterfaceDisconnect(Group, GroupEventsId, Connection);

  { Catch an error: number, text and source. }
  Server.CloseCommunication;
  try
    Items.Add('XY100', 'Wrong');
  except
    on E: EOleException do
      Writeln('Error 0x', IntToHex(Int64(DWORD(E.ErrorCode)), 8), ' from ', E.Source, ': ', E.Message);
  end;
end;

var
  DriverFile: string;
begin
  CoInitialize(nil); { Delphi does this by itself only in programs with forms }
  try
    DriverFile := ParamStr(1);
    if DriverFile = '' then
      DriverFile := 'drivers.ini';
    Run(DriverFile);
    CoUninitialize;
    Writeln('DONE');
  except
    on E: EOleSysError do
    begin
      Writeln('FAILED: error 0x', IntToHex(Int64(DWORD(E.ErrorCode)), 8), ': ', E.Message);
      if (E.ErrorCode = CO_E_CLASSSTRING) or (E.ErrorCode = REGDB_E_CLASSNOTREG) then
        Writeln('The server is not registered for this program: run register-user.cmd or register-machine.cmd.');
      Halt(1);
    end;
    on E: Exception do
    begin
      Writeln('FAILED: ', E.Message);
      Halt(1);
    end;
  end;
end.
