{ The scene of the tests: a scratch folder, the driver configuration file, a server that is ready to open. }
unit Plant;

{$mode objfpc}{$H+}

interface

function ScratchFile(const Name: string): string;
procedure WriteText(const FileName, Text: string);
{ A new server, not configured yet. }
function NewServer: OleVariant;
{ A server with the simulated panel as its device; status 2. }
function ConfiguredServer: OleVariant;
{ The position of the first element; the number of elements. }
function Low1(const Values: OleVariant): Integer;
function Size(const Values: OleVariant): Integer;
{ An array of this element type from Low on. }
function Numbers(ElementType: Word; Low: Integer; const Elements: array of Integer): OleVariant;

implementation

uses
  SysUtils, Variants, ComObj;

function ScratchFile(const Name: string): string;
begin
  Result := ExtractFilePath(ParamStr(0)) + 'scratch-' + Name;
end;

procedure WriteText(const FileName, Text: string);
var
  Target: TextFile;
begin
  AssignFile(Target, FileName);
  Rewrite(Target);
  Write(Target, Text);
  CloseFile(Target);
end;

function NewServer: OleVariant;
begin
  Result := CreateOleObject('ORVOBusiness.KELDataServer');
end;

function ConfiguredServer: OleVariant;
begin
  WriteText(ScratchFile('drivers.ini'),
    '[Drivers]'#13#10'DataCommunication=SimulatedPanel.Channel'#13#10'1=PanelA'#13#10'2=PanelB'#13#10);
  Result := NewServer;
  Result.SetDriverConfigurationFile(ScratchFile('drivers.ini'));
  Result.DeviceType := 2;
end;

function Low1(const Values: OleVariant): Integer;
begin
  Result := VarArrayLowBound(Values, 1);
end;

function Size(const Values: OleVariant): Integer;
begin
  Result := VarArrayHighBound(Values, 1) - VarArrayLowBound(Values, 1) + 1;
end;

function Numbers(ElementType: Word; Low: Integer; const Elements: array of Integer): OleVariant;
var
  I: Integer;
begin
  Result := VarArrayCreate([Low, Low + High(Elements)], ElementType);
  for I := 0 to High(Elements) do
    Result[Low + I] := Elements[I];
end;

end.
