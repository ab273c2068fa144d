// Every property that the other scripts do not ask for.
var server = configuredServer();
checkEqual("server", [server.MajorVersion, server.MinorVersion, server.BootVersion, server.FirmwareVersion, server.DeviceName],
           [1, 0, 1, 1, ""]);
checkTrue("description", server.Description.indexOf("\r\n") > 0);
server.WordIO = -3;
server.AutoDownloadProject = 1;
checkEqual("settings", [server.WordIO, server.AutoDownloadProject], [-3, true]);
server.AutoDownloadProject = 0;
checkEqual("a flag taken back", server.AutoDownloadProject, false);

var group = server.KELDataGroups.Add("Line 1");
var torque = group.KELDataItems.Add("WO104", "Torque");
checkEqual("group", [group.GroupId, group.Active, group.Subscribed, group.UpdateRate], [0, false, false, 0]);
checkEqual("item", [torque.ItemType, torque.ItemWordLength, torque.ItemGroupBufferOffset, torque.AccessRights], [0, 1, 0, 0]);
checkEqual("a value that was never read", [torque.USERValue, torque.DATAValue], [undefined, undefined]);
torque.Signed = true;
checkEqual("signed", [torque.Signed, torque.BCD], [true, false]);
torque.BCD = "True";
checkEqual("BCD takes Signed back", [torque.Signed, torque.BCD], [false, true]);
torque.BCD = false;

server.OpenCommunication();
var sink = new GroupSink();
Host.Advise(group, sink);
group.Subscribed = true;
group.AsyncWriteAll([1], [65535], 0);
awaitEvents(sink, 1);
group.AsyncReadAll(0);
awaitEvents(sink, 2);
checkEqual("events", sink.names(), ["AsyncWriteComplete", "AsyncReadComplete"]);
checkEqual("without sign", sink.events[1].values, [65535]);
torque.Signed = true;
checkEqual("with sign", [torque.USERValue, torque.DATAValue], [-1, -1]);
server.CloseCommunication();
done();
