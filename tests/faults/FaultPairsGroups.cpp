#include "faults/FaultPairs.h"
#include "faults/FaultScene.h"

namespace orvo::testing {

namespace {

const std::string NoValues = "[Empty,Empty,Empty]";
const std::string NotSent = "[99,99,99]";
const std::string Numbers = "[{n},{n},{n}]";
const std::string ForAll = "[1,2,3] ";

// What a read with this serial leaves in the three items, and what the writes of 5, 6 and 7 do.
std::string Stored(const std::string& integers, int serial, const std::string& stamp) {
  std::string left;
  for (const auto& [item, number] : {std::pair{"a", 1}, {"b", 2}, {"c", 3}}) {
    const std::string kind = number == 3 ? "R4" : integers == "R8" ? "R8" : number == 1 ? "I2" : "I4";
    if (!left.empty()) left += ", ";
    left += std::string("G.") + item + ".DATAValue=" + kind + ":" + std::to_string(10 * serial + number);
    if (!stamp.empty()) left += std::string(", G.") + item + ".stamped";
  }
  return left;
}

const char* const WrittenItems =
    "G.a.DATAValue=I4:5, G.a.stamped, G.a.WriteDone=True, G.b.DATAValue=I4:6, G.b.stamped, "
    "G.b.WriteDone=True, G.c.DATAValue=R4:7, G.c.stamped, G.c.WriteDone=True";

std::string Event(const std::string& name, const std::string& rest) {
  return "id 2 | " + name + " 2 [1,2,3] " + rest;
}

// The same whether the driver transfers whole groups or not.
std::vector<FaultPair> ListPairs(const std::string& of) {
  const std::string stamped = Stored("", 2, "stamped");
  return {
      {"ReadItems", "Group.SyncRead" + of, 0, NoValues + " " + NotSent, ""},
      {"ExtractValue", "Group.SyncRead" + of, 0, NoValues + " " + Numbers, stamped},
      {"ExtractValue", "Group.SyncRead" + of, 2, "[I2:21,Empty,R4:23] [0,{n},0]", stamped},
      {"WriteItems", "Group.SyncWrite" + of, 0, NotSent, ""},
      {"ReadItems", "Group.AsyncRead" + of, 0, "id 2", ""},
      {"ExtractValue", "Group.AsyncRead" + of, 0, Event("AsyncReadComplete", NoValues + " " + Numbers),
       stamped},
      {"ExtractValue", "Group.AsyncRead" + of, 3, Event("AsyncReadComplete", "[I2:21,I4:22,Empty] [0,0,{n}]"),
       stamped},
      {"WriteItems", "Group.AsyncWrite" + of, 0, "id 2", ""},
      // A question about whole groups that fails counts as a no: the items go one by one.
      {"GroupTransfer", "Group.SyncReadAll" + of, 0, ForAll + ItemValues(2) + " [0,0,0]", Stored("", 2, "")},
      {"GroupTransfer", "Group.SyncWriteAll" + of, 0, "[0,0,0]", WrittenItems},
      {"GroupTransfer", "Group.AsyncReadAll" + of, 0, Event("AsyncReadComplete", ItemValues(2) + " [0,0,0]"),
       stamped},
      {"GroupTransfer", "Group.AsyncWriteAll" + of, 0, Event("AsyncWriteComplete", "[0,0,0]"), WrittenItems},
      {"GroupTransfer", "refresh" + of, 0, "ok | DataChange [1,2,3] " + ItemValues(3),
       Stored("", 3, "stamped")},
  };
}

std::vector<FaultPair> ItemModePairs() {
  const std::string stamped = Stored("", 2, "stamped");
  return {
      {"ReadItems", "Group.SyncReadAll of items", 0, ForAll + NoValues + " " + NotSent, ""},
      {"ExtractValue", "Group.SyncReadAll of items", 0, ForAll + NoValues + " " + Numbers, Stored("", 2, "")},
      {"WriteItems", "Group.SyncWriteAll of items", 0, NotSent, ""},
      {"ReadItems", "Group.AsyncReadAll of items", 0, "id 2", ""},
      {"ExtractValue", "Group.AsyncReadAll of items", 0, Event("AsyncReadComplete", NoValues + " " + Numbers),
       stamped},
      {"WriteItems", "Group.AsyncWriteAll of items", 0, "id 2", ""},
      {"ReadItems", "refresh of items", 0, "ok", ""},
      {"ExtractValue", "refresh of items", 0, "ok | DataChange [1,2,3] " + NoValues, Stored("", 3, "stamped")},
      {"ExtractValue", "refresh of items", 1, "ok | DataChange [1,2,3] [Empty,I4:32,R4:33]",
       Stored("", 3, "stamped")},
  };
}

std::vector<FaultPair> WholeGroupPairs() {
  const std::string lost = "[0,0,0] " + NoValues + " " + NotSent;
  const std::string defined = "G.Defined=True";
  std::vector<FaultPair> pairs{
      {"ReadGroup", "Group.SyncReadAll of groups", 0, lost, defined},
      {"ExtractValue", "Group.SyncReadAll of groups", 0, ForAll + NoValues + " " + Numbers,
       defined + ", " + Stored("R8", 2, "")},
      {"WriteGroup", "Group.SyncWriteAll of groups", 0, NotSent, defined},
      {"ReadGroup", "Group.AsyncReadAll of groups", 0, "id 2", defined},
      {"ExtractValue", "Group.AsyncReadAll of groups", 0,
       Event("AsyncReadAllComplete", NoValues + " " + Numbers), defined + ", " + Stored("R8", 2, "stamped")},
      {"WriteGroup", "Group.AsyncWriteAll of groups", 0, "id 2", defined},
      {"ReadGroup", "refresh of groups", 0, "ok", ""},
      {"ExtractValue", "refresh of groups", 0, "ok | DataChange [1,2,3] " + NoValues,
       Stored("R8", 3, "stamped")},
  };
  // Without a definition nothing is sent.
  for (const char* const operation : {"GroupCapacity", "SetGroupDefinition"}) {
    pairs.push_back({operation, "Group.SyncReadAll of groups", 0, lost, ""});
    pairs.push_back({operation, "Group.SyncWriteAll of groups", 0, NotSent, ""});
    pairs.push_back({operation, "Group.AsyncReadAll of groups", 0, "id 2", ""});
    pairs.push_back({operation, "Group.AsyncWriteAll of groups", 0, "id 2", ""});
  }
  // A device that cannot tell its capacity counts as full: what is not in use gives way.
  const std::string full = "Group.SyncReadAll on a full device";
  const std::string read = "G.Defined=True, " + Stored("R8", 2, "");
  pairs.push_back({"GroupCapacity", full, 0, NotSent, "H.Defined=False, K.Defined=False"});
  pairs.push_back({"GroupCapacity", full, 2, "[0,0,0]", read + ", H.Defined=False, K.Defined=False"});
  pairs.push_back({"SetGroupDefinition", full, 0, NotSent, ""});
  pairs.push_back({"SetGroupDefinition", full, 2, NotSent, "H.Defined=False"});
  pairs.push_back({"GroupTransfer", "Group.SyncReadAll on a full device", 0, "[0,0,0]", Stored("", 2, "")});
  pairs.push_back(
      {"ReadGroup", "Group.SyncReadAll on a full device", 0, NotSent, "G.Defined=True, H.Defined=False"});
  pairs.push_back({"ExtractValue", "Group.SyncReadAll on a full device", 0, Numbers,
                   "G.Defined=True, " + Stored("R8", 2, "") + ", H.Defined=False"});
  return pairs;
}

}  // namespace

std::vector<FaultPair> GroupFaultPairs() {
  const std::string activation = "{internal :DataGroup.Active(GroupName=G,NewValue=True}";
  const std::string refused = "-2147221495: Invalid ItemID: WO9: Group Name= GGroupHandle: 1";
  return {
      {"GroupCapacity", "Group.put Active at 2", 0, activation, ""},
      // The first question is for the limit of active groups, the second for the definition.
      {"GroupCapacity", "Group.put Active at 3", 0, activation, ""},
      {"GroupCapacity", "Group.put Active at 3", 2, "ok", ""},
      {"SetGroupDefinition", "Group.put Active at 3", 0, "ok", ""},
      {"GroupCapacity", "Group.put Active on a full device", 0, activation, ""},
      {"GroupCapacity", "Group.put Active on a full device", 2, "ok",
       "G.Active=True, G.Defined=True, G.Timer=runs, H.Defined=False, Timers=2"},
      {"GroupCapacity", "Group.put Active on a full device", 3, "ok",
       "G.Active=True, G.Defined=True, G.Timer=runs, H.Defined=False, K.Defined=False, Timers=2"},
      {"SetGroupDefinition", "Group.put Active on a full device", 0, "ok", ""},
      {"SetGroupDefinition", "Group.put Active on a full device", 2, "ok", "H.Defined=False"},
      {"GroupCapacity", "Group.put UpdateRate at 2", 0, activation, "G.Active=False, G.UpdateRate=700"},
      {"GroupCapacity", "Group.put UpdateRate at 3", 0, activation,
       "G.Active=False, G.Timer=none, G.UpdateRate=700, Timers=1"},
      {"CompileItemId", "Items.Add", 0, refused, ""},
      {"CheckVariable", "Items.Add", 0, refused, ""},
      {"ExtractValue", "Item.get USERValue", 0, "{internal :DataItem.USERValue(ItemName=a}", ""},
      {"ReadItems", "Item.SyncRead", 0, "String:\"old\" 99", ""},
      {"ExtractValue", "Item.SyncRead", 0, "String:\"old\" 0 {internal :DataItem.SyncRead(ItemName=a}",
       "G.a.DATAValue=I2:21"},
      {"WriteItems", "Item.SyncWrite", 0, "99", ""},
  };
}

std::vector<FaultPair> RequestFaultPairs() {
  std::vector<FaultPair> pairs;
  for (const std::vector<FaultPair>& part :
       {ListPairs(" of items"), ListPairs(" of groups"), ItemModePairs(), WholeGroupPairs()})
    pairs.insert(pairs.end(), part.begin(), part.end());
  return pairs;
}

}  // namespace orvo::testing
