// Sinks: several of them, one that fails, one that withdraws itself, functions by prefix.
var server = configuredServer();
var group = server.KELDataGroups.Add("Line 1");
group.KELDataItems.Add("WO100");
group.Subscribed = true;

var log = [];
Host.Advise(group, {AsyncReadComplete: function () { log.push("first"); }});
Host.Advise(group, {AsyncReadComplete: function () { log.push("failing"); throw new Error(5, "a handler that fails"); }});
Host.Advise(group, {});
var once = Host.Advise(group, {AsyncReadComplete: function () { log.push("once"); Host.Unadvise(group, once); }});
Host.Advise(group, {AsyncReadComplete: function (transactionId, handles, values, errors) {
  log.push("last " + shown(listOf(handles)) + shown(listOf(errors)));
}});
server.OpenCommunication();

function pumpUntil(done) {
  var start = Host.Ticks;
  while (!done() && Host.Ticks - start < 5000) Host.Sleep(10);
}

group.AsyncRead([1], 0);
pumpUntil(function () { return log.length >= 4; });
checkEqual("each sink hears it, in order", log, ["first", "failing", "once", "last [1][0]"]);
log = [];
group.AsyncRead([1], 0);
pumpUntil(function () { return log.length >= 3; });
checkEqual("without the one that withdrew itself", log, ["first", "failing", "last [1][0]"]);
checkEqual("the handler's failures were reported to the host only", Host.TakeErrors(), 2);

var count = 0;
function group_AsyncWriteComplete(transactionId, handles, errors) {
  ++count;
}
WScript.ConnectObject(group, "group_");
group.AsyncWrite([1], [5], 0);
pumpUntil(function () { return count == 1; });
checkEqual("functions with a prefix", count, 1);
WScript.DisconnectObject(group);
group.AsyncWrite([1], [6], 0);
Host.Sleep(300);
checkEqual("disconnected", count, 1);
server.CloseCommunication();
done();
