// Failures reach a script as exceptions with number and description.
var inTheGroup = ": Group Name= Line 1GroupHandle: 1";
var server = new ActiveXObject("ORVOBusiness.KELDataServer");
checkRaises("no driver yet", errInternal,
            "INTERNAL ERROR, please contact support. codeObject variable or With block variable not set",
            function () { return server.BaudRate; });
server.SetDriverConfigurationFile("drivers.ini");
checkRaises("an unknown device", errInvalidDeviceType, "Invalid device type: 9", function () { server.DeviceType = 9; });
server.DeviceType = 2;
var groups = server.KELDataGroups;
var group = groups.Add("Line 1");
checkRaises("an unknown group", errInvalidHandle, "Invalid Handle: 7", function () { groups.Item(7); });
checkRaises("the default member", errInvalidHandle, "Invalid Handle: 7", function () { groups(7); });
checkRaises("an unknown name", errInvalidName, "Invalid Name: Nobody", function () { groups.ItemByName("Nobody"); });
checkRaises("a name twice", errInvalidName, "Invalid Name: Line 1:Name already used", function () { groups.Add("Line 1"); });
checkRaises("a rate", errInvalidValue, "Update rate must be >= 0", function () { group.UpdateRate = -1; });
checkRaises("a read when closed", errInvalidState, "Invalid State: Server isn't running",
            function () { group.SyncRead([1], [], []); });
var items = group.KELDataItems;
var item = items.Add("WO100", "Speed");
checkRaises("an unknown identifier", errInvalidItemId, "Invalid ItemID: XX100" + inTheGroup, function () { items.Add("XX100"); });
checkRaises("an unknown item", errInvalidHandle, "Invalid Handle: 7" + inTheGroup, function () { items(7); });
server.OpenCommunication();
checkRaises("a group when open", errInvalidState, "Invalid State: Server is running", function () { groups.Add(); });
checkRaises("a value that is no number", errInvalidFormat, "INVALID FORMAT Invalid format: index=1",
            function () { group.SyncWrite([1, 1], [1, "much"], []); });
checkRaises("a broken value", errInvalidFormat, "INVALID FORMAT Format not correct", function () { item.SyncWrite(1.5, 0); });
server.CloseCommunication();

// Arguments that cannot be what they should be.
checkEqual("a text for a number", numberOf(function () { server.DeviceType = "two"; }), 13);
checkEqual("an argument too few", numberOf(function () { server.SetDriverConfigurationFile(); }), 450);
checkEqual("an argument too many", numberOf(function () { server.CloseCommunication(1); }), 450);
checkEqual("an unknown member", numberOf(function () { server.ThereIsNone(); }), 438);
checkEqual("a driver that is not registered", numberOf(function () { server.SetDriverConfigurationFile("no_driver.ini"); }), 429);
checkTrue("a group cannot be created", numberOf(function () { new ActiveXObject("ORVOBusiness.KELDataGroup"); }) != 0);
done();
