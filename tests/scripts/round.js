// The whole round: create, configure, open, add, write, read, asynchronously too, subscribe, close.
var server = new ActiveXObject("ORVOBusiness.KELDataServer");
checkEqual("status of a new server", server.ServerStatus, 1);
server.SetDriverConfigurationFile("drivers.ini");
server.DeviceType = 2;
checkEqual("status with a device", server.ServerStatus, 2);

var groups = server.KELDataGroups;
var group = groups.Add("Line 1");
checkEqual("the group", [group.Handle, group.GroupName, groups.Count], [1, "Line 1", 1]);
var items = group.KELDataItems;
var speed = items.Add("WO100", "Speed");
var level = items.Add("FL112", "Level");
var recipe = items.Add("ST0020010", "Recipe");
checkEqual("the item", [recipe.Handle, recipe.ItemName, recipe.ItemId, items.Count], [3, "Recipe", "ST0020010", 3]);

server.OpenCommunication();
checkEqual("status and line", [server.ServerStatus, server.CommunicationStatus], [3, 1]);

var values = [], errors = [];
group.SyncWrite([1, 2, 3], [1500, 0.5, "Vanilla"], errors);
checkEqual("errors of a write", errors, [0, 0, 0]);
errors = [];
group.SyncRead([1, 2, 3], values, errors);
checkEqual("values", values, [1500, 0.5, "Vanilla   "]);
checkEqual("errors of a read", errors, [0, 0, 0]);
checkEqual("the item's value", speed.USERValue, 1500);
checkTrue("a time stamp of now", Math.abs(new Date(speed.TimeStamp) - new Date()) < 24 * 3600 * 1000);

var handles = [];
values = [];
errors = [];
group.SyncReadAll(handles, values, errors);
checkEqual("all", [handles, values, errors], [[1, 2, 3], [1500, 0.5, "Vanilla   "], [0, 0, 0]]);
group.SyncWriteAll(handles, [1501, 1.5, "Mango"], errors);
speed.SyncWrite(40000, 0);
group.SyncRead([1, 2], values, errors);
checkEqual("what was written", values.slice(0, 2), [40000, 1.5]);

var sink = new GroupSink();
var connection = Host.Advise(group, sink);
group.Subscribed = true;
checkTrue("subscribed", group.Subscribed);
group.AsyncRead([3, 1], 0);
awaitEvents(sink, 1);
checkEqual("event", sink.names(), ["AsyncReadComplete"]);
checkEqual("what it brings", [sink.events[0].handles, sink.events[0].values, sink.events[0].errors],
           [[3, 1], ["Mango     ", 40000], [0, 0]]);
group.AsyncWrite([1], [7], 0);
awaitEvents(sink, 2);
checkEqual("event of a write", [sink.events[1].name, sink.events[1].handles, sink.events[1].errors],
           ["AsyncWriteComplete", [1], [0]]);
checkEqual("transactions follow each other", sink.events[1].transactionId - sink.events[0].transactionId, 1);
group.AsyncRead([1], 0);
group.AsyncRead([2], 0);
group.AsyncCancel(sink.events[1].transactionId + 2);
awaitEvents(sink, 4);
var cancelled = sink.events[2].name == "AsyncCancelComplete" ? sink.events[2] : sink.events[3];
checkEqual("a cancelled read", [cancelled.name, cancelled.transactionId, cancelled.success],
           ["AsyncCancelComplete", sink.events[1].transactionId + 2, true]);

sink.events = [];
group.UpdateRate = 100;
group.Active = true;
awaitEvents(sink, 1);
checkEqual("the first change tells all", [sink.events[0].name, sink.events[0].handles, sink.events[0].values],
           ["DataChange", [1, 2, 3], [7, 1.5, "Mango     "]]);
group.AsyncWrite([1], [8], 0);
awaitEvents(sink, 3);
checkEqual("a later one tells what changed", [sink.events[2].handles, sink.events[2].values], [[1], [8]]);
Host.Unadvise(group, connection);
group.AsyncWrite([1], [9], 0);
Host.Sleep(400);
checkEqual("a withdrawn sink", sink.events.length, 3);
group.Active = false;
server.CloseCommunication();
checkEqual("status when closed", server.ServerStatus, 2);
checkEqual("the last value", speed.USERValue, 9);
done();
