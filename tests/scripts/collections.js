// Groups and items as collections: Enumerator, default member, names, handles, removal.
var server = configuredServer();
var groups = server.KELDataGroups;

function namesOf(collection, property) {
  var names = [];
  for (var walk = new Enumerator(collection); !walk.atEnd(); walk.moveNext()) names.push(walk.item()[property]);
  return names;
}

checkEqual("an empty collection", namesOf(groups, "GroupName"), []);
groups.Add("First");
groups.Add("Second");
groups.Add();
checkEqual("an Enumerator over groups", namesOf(groups, "GroupName"), ["First", "Second", "Group_1"]);
checkTrue("the same object by each way", groups(2) === groups.Item(2) || groups(2) == groups.ItemByName("Second"));
var walk = new Enumerator(groups);
walk.moveNext();
groups.Remove(1);
checkEqual("removing beside an Enumerator", walk.item().GroupName, "Second");
walk.moveFirst();
checkEqual("from the start again", walk.item().GroupName, "First");
checkEqual("what is left", namesOf(groups, "GroupName"), ["Second", "Group_1"]);

var items = groups.ItemByName("Second").KELDataItems;
items.Add("WO100", "Speed");
items.Add("ST0020010");
items.AddCompiled("Ghost");
checkEqual("an Enumerator over items", namesOf(items, "ItemName"), ["Speed", "Item_1", "Ghost"]);
checkEqual("their identifiers", namesOf(items, "ItemId"), ["WO100", "ST0020010", ""]);
items.RemoveByName("SPEED");
checkEqual("the lowest free handle", items.Add("WO104").Handle, 1);
checkEqual("a chain", server.KELDataGroups(2).KELDataItems(2).Parent.Parent.ServerStatus, 2);
items.RemoveAll();
groups.RemoveAll();
checkEqual("nothing is left", [items.Count, groups.Count], [0, 0]);
done();
