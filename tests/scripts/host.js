// The script host itself, without the server.
checkEqual("name of the script", WScript.ScriptName, "host.js");
checkEqual("arguments", Host.Arguments.length, 2);
checkEqual("first argument", WScript.Arguments(0), "one");
checkRaises("an argument that is missing", -2147352562, "Host.Sleep: argument 1 is missing", function () { Host.Sleep(); });
checkRaises("an argument of a wrong kind", -2147352571, "Host.Sleep: the time is not a whole number: soon", function () { Host.Sleep("soon"); });
var dictionary = new ActiveXObject("Scripting.Dictionary");
dictionary.Add("key", 5);
checkEqual("an object by identifier", dictionary("key"), 5);
checkEqual("the keys", listOf(dictionary.Keys()), ["key"]);
done();
