// Arguments in the shapes of JScript: its arrays are objects, outputs come back in their elements.
var server = configuredServer();
var groups = server.KELDataGroups;
checkEqual("no name", groups.Add().GroupName, "Group_1");
checkEqual("undefined is passed", groups.Add(undefined).GroupName, "");
checkEqual("a number as a name", groups.Add(5).GroupName, "5");
checkEqual("a text as a handle", groups.Item("3").GroupName, "5");
checkEqual("a broken number as a handle", groups.Item(1.0).GroupName, "Group_1");
checkEqual("the default member", groups(3).GroupName, "5");
groups.RemoveAll();

var group = groups.Add("Line 1");
var items = group.KELDataItems;
items.Add("WO100");
items.Add("WO102", "Second");
items.Add("RA036", "Raw");
server.OpenCommunication();

var values = [], errors = [];
group.SyncWrite([1, 2], [11, 12], errors);
checkEqual("errors fill an empty array", errors, [0, 0]);
group.SyncRead([1, 2], values, errors);
checkEqual("values fill an empty array", values, [11, 12]);
values = ["old", "old", "old"];
group.SyncRead([2], values, errors);
checkEqual("the first element is filled", values[0], 12);
group.SyncRead(["1", 2.0], values = [], errors = []);
checkEqual("texts and broken numbers as handles", values, [11, 12]);
group.SyncRead(2, values = [], errors = []);
checkEqual("one number for an array of one", [values, errors], [[12], [0]]);
group.SyncRead([1], undefined, 0);
var list = {length: 2, 0: 2, 1: 1};
group.SyncRead(list, values = [], errors = []);
checkEqual("an object that looks like an array", values, [12, 11]);
group.SyncRead(Host.TypedArray(3, 5, 1, 2), values = [], errors = []);
checkEqual("a typed array of lower bound 5", values, [11, 12]);
group.SyncWrite(Host.TypedArray(2, 1, 1, 2), Host.TypedArray(5, 7, 21, 22), errors = []);
checkEqual("typed arrays", [errors, items(1).USERValue, items(2).USERValue], [[0, 0], 21, 22]);
group.SyncWrite([3], [Host.TypedArray(17, 0, 1, 2, 3, 4, 5, 6)], errors = []);
checkEqual("bytes inside an array", errors, [0]);
checkEqual("bytes come back", listOf(items(3).USERValue), [1, 2, 3, 4, 5, 6]);

var handles = [];
group.SyncReadAll(handles, values = [], errors = []);
checkEqual("all", [handles, values[0], values[1], errors], [[1, 2, 3], 21, 22, [0, 0, 0]]);
checkEqual("lengths", listOf(group.GetDimension([1, 2, 3, 99])), [1, 1, 3, 0]);
checkEqual("compiled addresses", listOf(group.CompileVariable([1, 99])).length, 2);
items(1).SyncWrite(31, 0);
items(1).SyncWrite("32", 0);
items(1).SyncRead(null, 0);
checkEqual("an item", items(1).USERValue, 32);

checkEqual("a text in the handles", numberOf(function () { group.SyncRead(["one"], [], []); }), 13);
checkTrue("an object for the handles", numberOf(function () { group.SyncRead(server, [], []); }) != 0);
checkTrue("an array without end", numberOf(function () { group.SyncRead({length: 4000000000}, [], []); }) != 0);
checkTrue("a negative length", numberOf(function () { group.SyncRead({length: -1}, [], []); }) != 0);
checkEqual("arguments too few", numberOf(function () { group.SyncRead([1]); }), 450);
server.CloseCommunication();
done();
