{ Counted expectations. A failed one is printed and the run goes on; Summary tells the outcome. }
unit Checks;

{$mode objfpc}{$H+}

interface

uses
  SysUtils, Variants;

type
  TTestProcedure = procedure;

const
  { The system's own errors, and those of automation itself. }
  errInvalidState = HRESULT($80040001);
  errInvalidFileFormat = HRESULT($80040003);
  errInvalidDeviceType = HRESULT($80040005);
  errInvalidHandle = HRESULT($80040006);
  errInvalidName = HRESULT($80040007);
  errInvalidItemId = HRESULT($80040009);
  errInvalidValue = HRESULT($8004000B);
  errInternal = HRESULT($8004000E);
  errInvalidFormat = HRESULT($8004000F);
  FileNotFoundError = HRESULT($800A0035);
  CannotCreateError = HRESULT($800A01AD);
  DuplicateKeyError = HRESULT($800A01C9);
  TypeMismatch = HRESULT($80020005);
  BadArgumentCount = HRESULT($8002000E);

{ Runs a group of expectations; an exception that it does not expect is a failure. }
procedure RunTest(const Name: string; Test: TTestProcedure);
procedure Check(Condition: Boolean; const What: string);
procedure CheckEqual(const Actual, Expected: OleVariant; const What: string);
{ For an except block: the exception that is being handled is an automation error with this number, and its text
  holds Part. With a Part it must also name a source. }
procedure CheckError(Raised: Exception; Number: HRESULT; const Part: string);
{ Behind a statement that should have raised. }
procedure CheckRaised(const What: string);
{ The last line of the run, and its exit code. }
procedure Summary;

implementation

uses
  ComObj;

var
  Count: Integer = 0;
  Failures: Integer = 0;
  Current: string;

procedure Fail(const Text: string);
begin
  Inc(Failures);
  Writeln('FAILED: ', Current, ': ', Text);
end;

procedure RunTest(const Name: string; Test: TTestProcedure);
begin
  Current := Name;
  try
    Test();
  except
    on E: EOleSysError do
      Fail(E.ClassName + ' 0x' + IntToHex(Int64(LongWord(E.ErrorCode)), 8) + ': ' + E.Message);
    on E: Exception do
      Fail(E.ClassName + ': ' + E.Message);
  end;
end;

procedure Check(Condition: Boolean; const What: string);
begin
  Inc(Count);
  if not Condition then
    Fail(What);
end;

function Shown(const Value: OleVariant): string;
begin
  if VarIsEmpty(Value) then
    Result := '(empty)'
  else if VarIsNull(Value) then
    Result := '(null)'
  else if VarIsArray(Value) then
    Result := '(array)'
  else
    Result := '"' + VarToStr(Value) + '"';
end;

procedure CheckEqual(const Actual, Expected: OleVariant; const What: string);
var
  Same: Boolean;
begin
  Inc(Count);
  if VarIsEmpty(Actual) or VarIsEmpty(Expected) then
    Same := VarIsEmpty(Actual) and VarIsEmpty(Expected)
  else if VarIsArray(Actual) or VarIsArray(Expected) then
    Same := False
  else
    Same := Actual = Expected;
  if not Same then
    Fail(What + ' is ' + Shown(Actual) + ', not ' + Shown(Expected));
end;

procedure CheckError(Raised: Exception; Number: HRESULT; const Part: string);
begin
  Inc(Count);
  if not (Raised is EOleSysError) then
    Fail('raised ' + Raised.ClassName + ' (' + Raised.Message + '), not 0x' + IntToHex(Int64(LongWord(Number)), 8))
  else if EOleSysError(Raised).ErrorCode <> Number then
    Fail('raised 0x' + IntToHex(Int64(LongWord(EOleSysError(Raised).ErrorCode)), 8) + ' (' + Raised.Message +
      '), not 0x' + IntToHex(Int64(LongWord(Number)), 8))
  else if Part <> '' then
  begin
    if Pos(Part, Raised.Message) = 0 then
      Fail('the text "' + Raised.Message + '" lacks "' + Part + '"');
    if not (Raised is EOleException) or (EOleException(Raised).Source = '') then
      Fail('an error without a source: ' + Raised.Message);
  end;
end;

procedure CheckRaised(const What: string);
begin
  Inc(Count);
  Fail(What + ' did not raise an error');
end;

procedure Summary;
begin
  if Failures = 0 then
    Writeln('DONE ', Count, ' checks')
  else
  begin
    Writeln('FAILED ', Failures, ' of ', Count, ' checks');
    ExitCode := 1;
  end;
end;

end.
