// The server: what is known of the device, settings, configuration files, downloads and their events.
var server = configuredServer();
checkEqual("board", [server.BoardDescription, server.BoardStatus, server.BootDate], ["Simulated panel", 0, "2024-01-15"]);
server.BaudRate = 19200;
server.ComPortNumber = 3;
server.Timeout = 500;
server.ProjectName = "plant";
server.AutoDownloadFirmware = true;
checkEqual("settings", [server.BaudRate, server.ComPortNumber, server.Timeout, server.ProjectName, server.AutoDownloadFirmware],
           [19200, 3, 500, "plant", true]);
server.AutoDownloadFirmware = false;

var log = [];
Host.Advise(server, {
  DownloadFirmwareInProgress: function (percent) { log.push("firmware " + percent); },
  DownloadFirmwareComplete: function () { log.push("firmware complete"); },
  DownloadProjectComplete: function () { log.push("project complete"); }
});
server.DownloadFirmware("panel.fw");
server.DownloadProject("panel.obj");
checkEqual("downloads", log, ["firmware 100", "firmware complete", "project complete"]);

var group = server.KELDataGroups.Add("Line 1");
group.UpdateRate = 250;
group.KELDataItems.Add("WO106", "Batch").BCD = true;
server.SaveConfigurationToFile("saved_by_jscript.ini");
server.KELDataGroups.RemoveAll();
server.LoadConfigurationFromFile("saved_by_jscript.ini");
checkEqual("loaded", [server.KELDataGroups(1).UpdateRate, server.KELDataGroups(1).KELDataItems(1).BCD], [250, true]);
server.LoadConfigurationFromFile("saved_by_jscript.ini", false);
checkEqual("loaded again", server.KELDataGroups.Count, 1);

// The byte image and values that are bytes.
group = server.KELDataGroups(1);
group.SetCompiledBufferDimension(3);
checkEqual("image", listOf(group.CompiledBuffer), [0, 0, 0]);
var raw = group.KELDataItems.Add("RA036", "Raw");
server.OpenCommunication();
raw.SyncWrite(Host.TypedArray(17, 0, 6, 5, 4, 3, 2, 1), 0);
raw.SyncRead(0, 0);
checkEqual("raw bytes", listOf(raw.USERValue), [6, 5, 4, 3, 2, 1]);
server.CloseCommunication();
done();
