// Bytes in JScript: arrays of numbers, as one value and inside a list of values.
var server = configuredServer();
var group = server.KELDataGroups.Add("Bytes");
var raw = group.KELDataItems.Add("RA036", "Raw");
group.KELDataItems.Add("WO100", "Speed");
group.KELDataItems.Add("ST0020004", "Text");
server.OpenCommunication();

function bytesOf(value) {
  return new VBArray(value).toArray();
}

raw.SyncWrite([1, 2, 3, 4, 5, 6], 0);
checkEqual("bytes as one value", bytesOf(raw.USERValue), [1, 2, 3, 4, 5, 6]);
var values = [], errors = [];
group.SyncWrite([1, 2, 3], [[6, 5, 4, 3, 2, 1], 77, [65, 66]], errors);
checkEqual("errors", errors, [0, 0, 0]);
group.SyncRead([1, 2, 3], values, errors);
checkEqual("bytes among values", bytesOf(values[0]), [6, 5, 4, 3, 2, 1]);
checkEqual("the others", [values[1], values[2]], [77, "AB  "]);
group.SyncWrite([1], [values[0]], errors);
checkEqual("what was read is taken again", errors, [0]);
checkRaises("a number beyond a byte", -2147221489, "INVALID FORMAT Format not correct",
            function () { raw.SyncWrite([256], 0); });
server.CloseCommunication();
done();
