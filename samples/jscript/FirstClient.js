// A first client in JScript.
//
//     cscript //nologo FirstClient.js [drivers.ini]
//
// The cscript of System32 is a 64-bit program and needs the 64-bit ORVOBusiness.dll registered, the one of SysWOW64 the
// 32-bit one. Use cscript, not wscript: each Echo of wscript is a window that stops the script.

var driverFile = WScript.Arguments.length > 0 ? WScript.Arguments(0) : "drivers.ini";

// Create and configure.
var server = new ActiveXObject("ORVOBusiness.KELDataServer");
server.SetDriverConfigurationFile(driverFile);
server.DeviceType = 2;                              // the line "2=PanelB" of the file

// Groups and items are added while communication is closed.
var group = server.KELDataGroups.Add("Line 1");
var items = group.KELDataItems;
var speed = items.Add("WO100", "Speed");            // a word at 100
var recipe = items.Add("ST0020010", "Recipe");      // ten characters at 200

// Open. A line that does not answer is no error of this call: look at the status.
server.OpenCommunication();
if (server.ServerStatus != 3) {
  WScript.Echo("FAILED: communication is not open");
  WScript.Quit(1);
}
WScript.Echo(server.BoardDescription + ", status of the line " + server.CommunicationStatus);

// Write and read: arrays that run in parallel. The calls fill the elements of the arrays that are given for results.
var handles = [speed.Handle, recipe.Handle], values = [], errors = [];
group.SyncWrite(handles, [1500, "Vanilla 3%"], errors);
group.SyncRead(handles, values, errors);
for (var k = 0; k < handles.length; ++k)
  WScript.Echo("  " + items.Item(handles[k]).ItemName + " = " + values[k] + ", error " + errors[k]);

// Subscribe: from now on the group is read every 100 ms, and DataChange brings what is new. The events of the group call
// the functions whose names begin with "Line_". Arrays of events are read by way of VBArray.
function Line_DataChange(DataHandles, USERValues) {
  var changed = new VBArray(DataHandles).toArray(), news = new VBArray(USERValues).toArray();
  for (var k = 0; k < changed.length; ++k)
    WScript.Echo("  DataChange: item " + changed[k] + " = " + news[k]);
}
function Line_AsyncWriteComplete(TransactionId, DataHandles, DataErrors) {
  WScript.Echo("  AsyncWriteComplete: transaction " + TransactionId);
}
WScript.ConnectObject(group, "Line_");
group.Subscribed = true;
group.UpdateRate = 100;
group.Active = true;
for (var n = 1; n <= 3; ++n) {
  group.AsyncWrite([speed.Handle], [1500 + 10 * n], 0);  // the event tells the number of the transaction
  WScript.Sleep(500);                               // handles the messages that send requests and bring events
}
group.Active = false;
WScript.DisconnectObject(group);

server.CloseCommunication();

// Catch an error: number, text.
try {
  items.Add("XY100", "Wrong");
} catch (failure) {
  WScript.Echo("error 0x" + (failure.number + 0x100000000).toString(16).toUpperCase() + ": " + failure.description);
}
WScript.Echo("DONE");
