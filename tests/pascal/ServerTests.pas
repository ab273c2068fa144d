{ The server: properties in every number type, configuration files, downloads. }
unit ServerTests;

{$mode objfpc}{$H+}

interface

procedure TestServer;

implementation

uses
  Windows, SysUtils, Variants, ActiveX, ComObj, Checks, EventSinks, Plant;

procedure NewServerIsNotConfigured;
var
  Server, Number: OleVariant;
begin
  Server := NewServer;
  CheckEqual(Server.ServerStatus, 1, 'ServerStatus');
  CheckEqual(Server.DeviceType, 0, 'DeviceType');
  CheckEqual(Server.DeviceName, '', 'DeviceName');
  CheckEqual(Server.AutoDownloadFirmware, False, 'AutoDownloadFirmware');
  CheckEqual(Server.AutoDownloadProject, False, 'AutoDownloadProject');
  Check((IUnknown(Server.KELDataGroups) as IUnknown) = (IUnknown(Server.KELDataGroups) as IUnknown),
    'KELDataGroups is the same object every time');
  Server.OpenCommunication;
  CheckEqual(Server.ServerStatus, 1, 'ServerStatus after opening without a device');
  try
    Number := Server.BaudRate;
    CheckRaised('BaudRate without a driver');
  except
    on E: Exception do CheckError(E, errInternal, 'INTERNAL ERROR, please contact support. code');
  end;
  CheckEqual(Number, Unassigned, 'the variable that was to receive it');
end;

procedure DriverConfigurationFile;
var
  Server: OleVariant;
begin
  Server := NewServer;
  try
    Server.SetDriverConfigurationFile(ScratchFile('no such file.ini'));
    CheckRaised('a driver configuration file that is not there');
  except
    on E: Exception do CheckError(E, FileNotFoundError, 'no such file.ini');
  end;
  Server := ConfiguredServer;
  CheckEqual(Server.ServerStatus, 2, 'ServerStatus');
  CheckEqual(Server.MajorVersion, 1, 'MajorVersion');
  CheckEqual(Server.MinorVersion, 0, 'MinorVersion');
  CheckEqual(Server.Description, 'KEL Active Data Server'#13#10'Simulated panel driver', 'Description');
  CheckEqual(Server.BoardDescription, 'Simulated panel', 'BoardDescription');
  CheckEqual(Server.BootVersion, 1.0, 'BootVersion');
  CheckEqual(Server.FirmwareVersion, 1.0, 'FirmwareVersion');
  Check(string(Server.BootDate) <> '', 'BootDate');
  CheckEqual(Server.BoardStatus, 0, 'BoardStatus');
  CheckEqual(Server.CommunicationStatus, 0, 'CommunicationStatus');
end;

procedure DeviceTypeTakesEveryNumberType;
var
  Server, AsVariant: OleVariant;
  AsByte: Byte;
  AsShortInt: ShortInt;
  AsSmallInt: SmallInt;
  AsWord: Word;
  AsInteger: Integer;
  AsCardinal: Cardinal;
  AsInt64: Int64;
  AsQWord: QWord;
  AsSingle: Single;
  AsDouble: Double;
  AsText: string;
begin
  Server := ConfiguredServer;
  AsByte := 1;
  Server.DeviceType := AsByte;
  CheckEqual(Server.DeviceType, 1, 'DeviceType from a Byte');
  AsShortInt := 2;
  Server.DeviceType := AsShortInt;
  CheckEqual(Server.DeviceType, 2, 'DeviceType from a ShortInt');
  AsSmallInt := 1;
  Server.DeviceType := AsSmallInt;
  CheckEqual(Server.DeviceType, 1, 'DeviceType from a SmallInt');
  AsWord := 2;
  Server.DeviceType := AsWord;
  CheckEqual(Server.DeviceType, 2, 'DeviceType from a Word');
  AsInteger := 1;
  Server.DeviceType := AsInteger;
  CheckEqual(Server.DeviceType, 1, 'DeviceType from an Integer');
  AsCardinal := 2;
  Server.DeviceType := AsCardinal;
  CheckEqual(Server.DeviceType, 2, 'DeviceType from a Cardinal');
  AsInt64 := 1;
  Server.DeviceType := AsInt64;
  CheckEqual(Server.DeviceType, 1, 'DeviceType from an Int64');
  AsQWord := 2;
  Server.DeviceType := AsQWord;
  CheckEqual(Server.DeviceType, 2, 'DeviceType from a QWord');
  AsSingle := 1;
  Server.DeviceType := AsSingle;
  CheckEqual(Server.DeviceType, 1, 'DeviceType from a Single');
  AsDouble := 2;
  Server.DeviceType := AsDouble;
  CheckEqual(Server.DeviceType, 2, 'DeviceType from a Double');
  AsText := '1';
  Server.DeviceType := AsText;
  CheckEqual(Server.DeviceType, 1, 'DeviceType from a string');
  { A variant variable comes as an assignment of a reference. }
  AsVariant := 2;
  Server.DeviceType := AsVariant;
  CheckEqual(Server.DeviceType, 2, 'DeviceType from a variant');
  Server.DeviceType := Byte(AsInteger);
  CheckEqual(Server.DeviceType, 1, 'DeviceType from an expression');
  try
    Server.DeviceType := 77;
    CheckRaised('a device type that the driver does not know');
  except
    on E: Exception do CheckError(E, errInvalidDeviceType, '77');
  end;
  CheckEqual(Server.DeviceType, 1, 'DeviceType after a refused one');
  try
    Server.DeviceType := 'two';
    CheckRaised('a device type that is no number');
  except
    on E: Exception do CheckError(E, TypeMismatch, '');
  end;
end;

procedure PropertiesKeepTheirValues;
var
  Server, AsVariant: OleVariant;
  Flag: Boolean;
  LongFlag: WordBool;
  Narrow: string;
  Wide: WideString;
  Unicode: UnicodeString;
  Short: ShortString;
begin
  Server := ConfiguredServer;
  Server.BaudRate := 19200;
  CheckEqual(Server.BaudRate, 19200, 'BaudRate');
  Server.ComPortNumber := 3;
  CheckEqual(Server.ComPortNumber, 3, 'ComPortNumber');
  Server.Timeout := 700;
  CheckEqual(Server.Timeout, 700, 'Timeout');
  Server.WordIO := 5;
  CheckEqual(Server.WordIO, 5, 'WordIO');
  Server.AutoDownloadFirmware := True;
  CheckEqual(Server.AutoDownloadFirmware, True, 'AutoDownloadFirmware');
  Flag := True;
  Server.AutoDownloadProject := Flag;
  CheckEqual(Server.AutoDownloadProject, True, 'AutoDownloadProject');
  LongFlag := False;
  Server.AutoDownloadProject := LongFlag;
  CheckEqual(Server.AutoDownloadProject, False, 'AutoDownloadProject');
  Server.AutoDownloadFirmware := 0;
  CheckEqual(Server.AutoDownloadFirmware, False, 'AutoDownloadFirmware from 0');
  Narrow := 'narrow';
  Server.ProjectName := Narrow;
  CheckEqual(Server.ProjectName, 'narrow', 'ProjectName from a string');
  Wide := 'wide';
  Server.ProjectName := Wide;
  CheckEqual(Server.ProjectName, 'wide', 'ProjectName from a WideString');
  Unicode := 'unicode';
  Server.ProjectName := Unicode;
  CheckEqual(Server.ProjectName, 'unicode', 'ProjectName from a UnicodeString');
  Short := 'short';
  Server.ProjectName := Short;
  CheckEqual(Server.ProjectName, 'short', 'ProjectName from a ShortString');
  AsVariant := 'variant';
  Server.ProjectName := AsVariant;
  CheckEqual(Server.ProjectName, 'variant', 'ProjectName from a variant');
  Server.ProjectName := '';
  CheckEqual(Server.ProjectName, '', 'an empty ProjectName');
  try
    Server.BaudRate := 12345;
    CheckRaised('a baud rate that the panel does not have');
  except
    on E: Exception do CheckError(E, errInvalidValue, 'Invalid Value: ');
  end;
  try
    Server.BaudRate := Int64(5000000000);
    CheckRaised('a baud rate beyond 32 bits');
  except
    on E: Exception do Check(E is EOleSysError, 'a baud rate beyond 32 bits raises ' + E.ClassName);
  end;
  CheckEqual(Server.BaudRate, 19200, 'BaudRate after refused ones');
  Server.OpenCommunication;
  CheckEqual(Server.ServerStatus, 3, 'ServerStatus');
  CheckEqual(Server.CommunicationStatus, 1, 'CommunicationStatus');
  try
    Server.Timeout := 1;
    CheckRaised('Timeout while communication is open');
  except
    on E: Exception do CheckError(E, errInvalidState, 'Invalid State: Server is running');
  end;
  Server.CloseCommunication;
  CheckEqual(Server.ServerStatus, 2, 'ServerStatus after closing');
end;

procedure SavedConfigurationComesBack;
var
  Server, Loaded: OleVariant;
  FileName: string;
begin
  FileName := ScratchFile('saved.ini');
  Server := ConfiguredServer;
  Server.BaudRate := 38400;
  Server.KELDataGroups.Add('Line 1').KELDataItems.Add('WO100', 'Speed');
  Server.SaveConfigurationToFile(FileName);
  Loaded := ConfiguredServer;
  Loaded.LoadConfigurationFromFile(FileName);
  CheckEqual(Loaded.BaudRate, 38400, 'BaudRate');
  CheckEqual(Loaded.KELDataGroups.ItemByName('Line 1').KELDataItems.ItemByName('Speed').ItemId, 'WO100', 'ItemId');
  Loaded.LoadConfigurationFromFile(FileName, True);
  CheckEqual(Loaded.KELDataGroups.Count, 1, 'groups after a load with bIgnoreErrors');
  Loaded.LoadConfigurationFromFile(FileName, False);
  CheckEqual(Loaded.KELDataGroups.Count, 1, 'groups after a load without');
  Loaded.LoadConfigurationFromFile(FileName, EmptyParam);
  CheckEqual(Loaded.KELDataGroups.Count, 1, 'groups after a load with the missing argument');
  WriteText(FileName, '[Communication Parameters]'#13#10'BaudRate=fast'#13#10);
  Loaded.LoadConfigurationFromFile(FileName);
  CheckEqual(Loaded.KELDataGroups.Count, 0, 'groups after a load of a file without');
  try
    Loaded.LoadConfigurationFromFile(FileName, False);
    CheckRaised('a malformed value with bIgnoreErrors False');
  except
    on E: Exception do CheckError(E, errInvalidFileFormat, 'BaudRate');
  end;
end;

procedure DownloadsReportTheirProgress;
var
  Server: OleVariant;
  Sink: TSink;
  Held: IDispatch;
  Connection: DWORD;
begin
  WriteText(ScratchFile('panel.fw'), StringOfChar('F', 3000));
  Server := ConfiguredServer;
  Sink := TSink.CreateTyped(ServerEvents);
  Held := Sink;
  Connection := Advise(Server, ServerEvents, Held);
  Server.DownloadFirmware(ScratchFile('panel.fw'));
  CheckEqual(Sink.CountOf(FirmwareProgressId), 3, 'progress events, one per 1024 bytes');
  CheckEqual(Sink.CountOf(FirmwareCompleteId), 1, 'completion events');
  CheckEqual(Sink.Events[2].Arguments[0], 100, 'the last percentage');
  CheckEqual(Sink.Events[2].Shapes[0], varSmallint, 'its type');
  Server.DownloadProject(ScratchFile('panel.fw'));
  CheckEqual(Sink.CountOf(ProjectProgressId), 3, 'progress events of the project');
  CheckEqual(Sink.CountOf(ProjectCompleteId), 1, 'completion events of the project');
  Server.DownloadFirmware(ScratchFile('no such file.fw'));
  CheckEqual(Sink.CountOf(FirmwareCompleteId), 1, 'completion events after a file that is not there');
  Unadvise(Server, ServerEvents, Connection);
  Server.DownloadFirmware(ScratchFile('panel.fw'));
  CheckEqual(Sink.CountOf(FirmwareCompleteId), 1, 'completion events after withdrawing');
  try
    NewServer.DownloadProject('panel.obj');
    CheckRaised('a download without a device');
  except
    on E: Exception do CheckError(E, errInvalidState, 'Invalid State: Server not stopped');
  end;
end;

procedure DriverOfAnotherLibrary;
var
  Server, Item, Value: OleVariant;
  Error: Integer;
begin
  WriteText(ScratchFile('foreign.ini'),
    '[Drivers]'#13#10'DataCommunication=SimulatedPanel.Channel.1'#13#10'1=PanelA'#13#10);
  Server := NewServer;
  Server.SetDriverConfigurationFile(ScratchFile('foreign.ini'));
  Server.DeviceType := 1;
  Item := Server.KELDataGroups.Add('Line 1').KELDataItems.Add('DW108');
  Server.OpenCommunication;
  CheckEqual(Server.CommunicationStatus, 1, 'CommunicationStatus');
  Item.SyncWrite(70000, Error);
  CheckEqual(Error, 0, 'the error of a write');
  Item.SyncRead(Value, Error);
  CheckEqual(Error, 0, 'the error of a read');
  CheckEqual(Value, 70000, 'the value');
  Server.CloseCommunication;
  try
    WriteText(ScratchFile('foreign.ini'), '[Drivers]'#13#10'DataCommunication=No.Such.Driver'#13#10);
    Server.SetDriverConfigurationFile(ScratchFile('foreign.ini'));
    CheckRaised('a driver that is not registered');
  except
    on E: Exception do CheckError(E, CannotCreateError, 'No.Such.Driver');
  end;
end;

procedure CallsThatAreWrong;
var
  Server: OleVariant;
begin
  Server := ConfiguredServer;
  try
    Server.NoSuchMethod(1);
    CheckRaised('a method that is not there');
  except
    on E: Exception do Check(E is EOleError, 'a method that is not there raises ' + E.ClassName);
  end;
  try
    Server.SaveConfigurationToFile;
    CheckRaised('a missing argument');
  except
    on E: Exception do CheckError(E, BadArgumentCount, '');
  end;
  try
    Server.SaveConfigurationToFile('one.ini', 'two.ini');
    CheckRaised('an argument too many');
  except
    on E: Exception do CheckError(E, BadArgumentCount, '');
  end;
end;

procedure TestServer;
begin
  RunTest('NewServerIsNotConfigured', @NewServerIsNotConfigured);
  RunTest('DriverConfigurationFile', @DriverConfigurationFile);
  RunTest('DeviceTypeTakesEveryNumberType', @DeviceTypeTakesEveryNumberType);
  RunTest('PropertiesKeepTheirValues', @PropertiesKeepTheirValues);
  RunTest('SavedConfigurationComesBack', @SavedConfigurationComesBack);
  RunTest('DownloadsReportTheirProgress', @DownloadsReportTheirProgress);
  RunTest('DriverOfAnotherLibrary', @DriverOfAnotherLibrary);
  RunTest('CallsThatAreWrong', @CallsThatAreWrong);
end;

end.
