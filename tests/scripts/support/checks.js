// What every JScript test uses: checks, the server against the simulated panel, a sink that keeps a log.
// A failed check is reported and the script goes on; the last line of each script is  done();
var errInvalidState = 0x80040001 - 0x100000000;
var errInvalidDeviceType = 0x80040005 - 0x100000000;
var errInvalidHandle = 0x80040006 - 0x100000000;
var errInvalidName = 0x80040007 - 0x100000000;
var errInvalidItemId = 0x80040009 - 0x100000000;
var errInvalidValue = 0x8004000B - 0x100000000;
var errInternal = 0x8004000E - 0x100000000;
var errInvalidFormat = 0x8004000F - 0x100000000;

var checks = 0;

// A value with its type, so that 1 and "1" and true differ.
function shown(value) {
  if (value === undefined) return "undefined";
  if (value === null) return "null";
  if (value instanceof Array) {
    var texts = [];
    for (var index = 0; index < value.length; ++index) texts.push(shown(value[index]));
    return "[" + texts.join(",") + "]";
  }
  if (typeof value == "string") return "\"" + value + "\"";
  return String(value);
}

function checkEqual(what, actual, expected) {
  ++checks;
  if (shown(actual) != shown(expected)) Host.Fail(what + ": " + shown(actual) + " instead of " + shown(expected));
}

function checkTrue(what, condition) {
  checkEqual(what, condition, true);
}

// That `action` raises this number and this whole text.
function checkRaises(what, number, description, action) {
  ++checks;
  try {
    action();
  } catch (error) {
    if (error.number != number || error.description != description)
      Host.Fail(what + ": error " + error.number + " \"" + error.description + "\" instead of " + number + " \"" +
                description + "\"");
    return;
  }
  Host.Fail(what + ": no error instead of " + number + " \"" + description + "\"");
}

// The number that `action` raises as VBScript shows it, 0 for none. Wine's JScript passes on codes that JScript of Windows
// turns into the numbers of the language.
function numberOf(action) {
  var known = {"-2147352571": 13, "-2147352566": 6, "-2147352562": 450};
  try {
    action();
  } catch (error) {
    return known[error.number] || error.number & 0xFFFF;
  }
  return 0;
}

function done() {
  Host.Echo("DONE " + checks + " checks");
}

// An array that came from the server.
function listOf(safeArray) {
  return new VBArray(safeArray).toArray();
}

// A server that knows the panel; communication is closed.
function configuredServer() {
  var server = new ActiveXObject("ORVOBusiness.KELDataServer");
  server.SetDriverConfigurationFile("drivers.ini");
  server.DeviceType = 2;
  return server;
}

function GroupSink() {
  this.events = [];
}
GroupSink.prototype.DataChange = function (handles, values) {
  this.events.push({name: "DataChange", handles: listOf(handles), values: listOf(values)});
};
GroupSink.prototype.AsyncReadComplete = function (transactionId, handles, values, errors) {
  this.events.push({name: "AsyncReadComplete", transactionId: transactionId, handles: listOf(handles),
                    values: listOf(values), errors: listOf(errors)});
};
GroupSink.prototype.AsyncWriteComplete = function (transactionId, handles, errors) {
  this.events.push({name: "AsyncWriteComplete", transactionId: transactionId, handles: listOf(handles),
                    errors: listOf(errors)});
};
GroupSink.prototype.AsyncCancelComplete = function (transactionId, success) {
  this.events.push({name: "AsyncCancelComplete", transactionId: transactionId, success: success});
};
// The names of the events so far.
GroupSink.prototype.names = function () {
  var names = [];
  for (var index = 0; index < this.events.length; ++index) names.push(this.events[index].name);
  return names;
};

// Pumps until the sink has seen so many events; at most 5 seconds.
function awaitEvents(sink, count) {
  var start = Host.Ticks;
  while (sink.events.length < count && Host.Ticks - start < 5000) Host.Sleep(10);
  ++checks;
  if (sink.events.length < count)
    Host.Fail("the sink saw " + sink.events.length + " events instead of " + count + ": " + shown(sink.names()));
}
