#include "CollectionMember.h"
#include "model/KeyedList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using List = KeyedList<CollectionMember>;
using Names = std::vector<std::string>;

void Fill(List& list, std::initializer_list<const char*> names) {
  for (const char* name : names)
    ASSERT_TRUE(list.Insert(MemberNamed(name))) << name;
}

Names SnapshotNames(const List& list) {
  Names names;
  for (const auto& member : list.Snapshot())
    names.push_back(member->Name());
  return names;
}

TEST(KeyedList, MembersStandInTheOrderInWhichTheyCame) {
  List list;
  Fill(list, {"b", "a", "c"});
  EXPECT_EQ(list.Count(), 3U);
  EXPECT_EQ(NamesOf(list), (Names{"b", "a", "c"}));
  EXPECT_EQ(SnapshotNames(list), (Names{"b", "a", "c"}));
}

TEST(KeyedList, KeysIgnoreCaseAndNamesDoNot) {
  List list;
  Fill(list, {"Tank",
              "Gr\xC3\xB6\xC3\x9F"
              "e"});
  EXPECT_EQ(list.FindKey("TANK"), list.FindName("Tank"));
  EXPECT_NE(list.FindKey("tAnK"), nullptr);
  EXPECT_EQ(list.FindName("tank"), nullptr);
  EXPECT_NE(list.FindKey("GR\xC3\x96\xC3\x9F"
                         "E"),
            nullptr);
  EXPECT_EQ(list.FindName("GR\xC3\x96\xC3\x9F"
                          "E"),
            nullptr);
  EXPECT_EQ(list.FindKey("Tan"), nullptr);
  EXPECT_EQ(list.FindKey(""), nullptr);
}

TEST(KeyedList, TheEmptyNameIsANameLikeAnyOther) {
  List list;
  Fill(list, {"", "a"});
  EXPECT_NE(list.FindName(""), nullptr);
  EXPECT_FALSE(list.Insert(MemberNamed("")));
  EXPECT_NE(list.RemoveKey(""), nullptr);
  EXPECT_EQ(NamesOf(list), Names{"a"});
}

TEST(KeyedList, AKeyInUseIsRefusedAndNothingChanges) {
  List list;
  Fill(list, {"a", "b"});
  const auto first = list.FindName("a");
  EXPECT_FALSE(list.Insert(MemberNamed("A")));
  EXPECT_FALSE(list.Insert(MemberNamed("a")));
  EXPECT_FALSE(list.Insert(first));
  EXPECT_EQ(list.Count(), 2U);
  EXPECT_EQ(list.FindKey("A"), first);
  EXPECT_EQ(NamesOf(list), (Names{"a", "b"}));
}

TEST(KeyedList, RemovingHandsTheMemberBackAndMakesItsKeyFree) {
  List list;
  Fill(list, {"a", "b", "c"});
  const auto removed = list.RemoveKey("B");
  ASSERT_NE(removed, nullptr);
  EXPECT_EQ(removed->Name(), "b");
  EXPECT_EQ(list.Count(), 2U);
  EXPECT_EQ(list.FindKey("b"), nullptr);
  EXPECT_EQ(list.RemoveKey("b"), nullptr);
  EXPECT_EQ(NamesOf(list), (Names{"a", "c"}));
  EXPECT_TRUE(list.Insert(removed));
  EXPECT_EQ(NamesOf(list), (Names{"a", "c", "b"}));
}

TEST(KeyedList, AMemberCanBeRemovedByItsOwnName) {
  List list;
  Fill(list, {"only"});
  const std::string& name = list.FindName("only")->Name();
  EXPECT_NE(list.RemoveKey(name), nullptr);
  EXPECT_EQ(list.Count(), 0U);
}

TEST(KeyedList, TheListHoldsItsMembersAndLetsThemGoOnRemoval) {
  List list;
  Fill(list, {"a"});
  const std::weak_ptr<CollectionMember> member = list.FindName("a");
  EXPECT_FALSE(member.expired());
  list.RemoveKey("a");
  EXPECT_TRUE(member.expired());
}

TEST(KeyedList, AWalkEndsWhereItsVisitorSaysSo) {
  List list;
  Fill(list, {"a", "b", "c"});
  Names seen;
  EXPECT_TRUE(list.Walk([&](const CollectionMember& member) {
    seen.push_back(member.Name());
    return member.Name() == "b";
  }));
  EXPECT_EQ(seen, (Names{"a", "b"}));
  EXPECT_FALSE(list.Walk([](const CollectionMember&) { return false; }));
}

// Each row: what the visitor of "b" in the list a b c d does, and what the walk sees.
TEST(KeyedList, AWalkSeesWhoeverIsInTheListWhenItsTurnComes) {
  struct Row {
    const char* title;
    std::function<void(List&)> change;
    Names seen;
    Names left;
  };
  const std::vector<Row> rows{
      {"add",
       [](List& list) { list.Insert(MemberNamed("e")); },
       {"a", "b", "c", "d", "e"},
       {"a", "b", "c", "d", "e"}},
      {"remove itself", [](List& list) { list.RemoveKey("b"); }, {"a", "b", "c", "d"}, {"a", "c", "d"}},
      {"remove the one before", [](List& list) { list.RemoveKey("a"); }, {"a", "b", "c", "d"}, {"b", "c", "d"}},
      {"remove the next", [](List& list) { list.RemoveKey("c"); }, {"a", "b", "d"}, {"a", "b", "d"}},
      {"remove the last", [](List& list) { list.RemoveKey("d"); }, {"a", "b", "c"}, {"a", "b", "c"}},
      {"remove all",
       [](List& list) {
         for (const char* name : {"a", "b", "c", "d"})
           list.RemoveKey(name);
       },
       {"a", "b"},
       {}},
      {"remove the next and add it again",
       [](List& list) { list.Insert(list.RemoveKey("c")); },
       {"a", "b", "d", "c"},
       {"a", "b", "d", "c"}},
      {"move itself to the end",
       [](List& list) {
         if (list.Snapshot().back()->Name() != "b") list.Insert(list.RemoveKey("b"));
       },
       {"a", "b", "c", "d", "b"},
       {"a", "c", "d", "b"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.title);
    List list;
    Fill(list, {"a", "b", "c", "d"});
    Names seen;
    list.Walk([&](const CollectionMember& member) {
      seen.push_back(member.Name());
      if (member.Name() == "b") row.change(list);
      return false;
    });
    EXPECT_EQ(seen, row.seen);
    EXPECT_EQ(NamesOf(list), row.left);
    EXPECT_EQ(SnapshotNames(list), row.left);
    EXPECT_EQ(list.Count(), row.left.size());
  }
}

TEST(KeyedList, AMemberThatAVisitorRemovesLivesUntilTheVisitEnds) {
  List list;
  Fill(list, {"a long name that needs memory of its own"});
  list.Walk([&](const CollectionMember& member) {
    list.RemoveKey(member.Name());
    EXPECT_EQ(list.Count(), 0U);
    EXPECT_EQ(member.Name(), "a long name that needs memory of its own");
    return false;
  });
}

TEST(KeyedList, AFailingVisitorLeavesAListThatWorksOn) {
  List list;
  Fill(list, {"a", "b"});
  EXPECT_THROW(list.Walk([](const CollectionMember&) -> bool { throw 1; }), int);
  for (int k = 0; k < 100; ++k)  // enough for the list to close its gaps
    list.Insert(list.RemoveKey("a"));
  EXPECT_EQ(NamesOf(list), (Names{"b", "a"}));
}

TEST(KeyedList, NestedWalksSurviveThatNearlyEverythingIsRemoved) {
  List list;
  for (int k = 0; k < 200; ++k)
    ASSERT_TRUE(list.Insert(MemberNamed("m" + std::to_string(k))));
  Names seen;
  list.Walk([&](const CollectionMember& outer) {
    seen.push_back(outer.Name());
    if (outer.Name() != "m10") return false;
    list.Walk([&](const CollectionMember& inner) {
      if (inner.Name() != "m150" && inner.Name() != "m199") list.RemoveKey(inner.Name());
      return false;
    });
    list.Insert(MemberNamed("new"));
    return false;
  });
  Names expected;
  for (int k = 0; k <= 10; ++k)
    expected.push_back("m" + std::to_string(k));
  for (const char* name : {"m150", "m199", "new"})
    expected.emplace_back(name);
  EXPECT_EQ(seen, expected);
  EXPECT_EQ(NamesOf(list), (Names{"m150", "m199", "new"}));
  list.RemoveKey("m199");
  EXPECT_EQ(NamesOf(list), (Names{"m150", "new"}));
}

// The same list as a plain vector. Serial numbers tell who came later.
class NaiveList {
 public:
  bool Insert(const std::string& name) {
    if (Find(name) != members_.end()) return false;
    members_.push_back({name, ++serial_});
    return true;
  }
  bool Remove(const std::string& name) {
    const auto found = Find(name);
    if (found == members_.end()) return false;
    members_.erase(found);
    return true;
  }
  bool Contains(const std::string& name) { return Find(name) != members_.end(); }
  Names All() const {
    Names names;
    for (const Member& member : members_)
      names.push_back(member.name);
    return names;
  }
  // The member that a walk comes to after the one with this serial number; "" at the end.
  std::string Next(int& serial) const {
    for (const Member& member : members_) {
      if (member.serial <= serial) continue;
      serial = member.serial;
      return member.name;
    }
    return "";
  }

 private:
  struct Member {
    std::string name;
    int serial;
  };
  static std::string Folded(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return name;
  }
  std::vector<Member>::iterator Find(const std::string& name) {
    return std::find_if(members_.begin(), members_.end(),
                        [&](const Member& member) { return Folded(member.name) == Folded(name); });
  }
  std::vector<Member> members_;
  int serial_ = 0;
};

TEST(KeyedList, AgreesWithAPlainVectorWhateverIsDoneAlsoWhileWalking) {
  const std::uint32_t seed = std::random_device{}();
  std::cout << "seed " << seed << '\n';
  std::mt19937 random(seed);
  List list;
  NaiveList naive;
  const auto change = [&] {
    const std::string name = (random() % 2 == 0 ? "n" : "N") + std::to_string(random() % 60);
    if (random() % 2 == 0) {
      ASSERT_EQ(list.Insert(MemberNamed(name)), naive.Insert(name)) << name;
    } else {
      ASSERT_EQ(list.RemoveKey(name) != nullptr, naive.Remove(name)) << name;
    }
    ASSERT_EQ(list.FindKey(name) != nullptr, naive.Contains(name)) << name;
  };
  for (int round = 0; round < 3000; ++round) {
    change();
    ASSERT_EQ(list.Count(), naive.All().size());
    ASSERT_EQ(SnapshotNames(list), naive.All());
    if (round % 10 != 0) continue;
    int serial = 0;
    int visits = 0;
    list.Walk([&](const CollectionMember& member) {
      EXPECT_EQ(member.Name(), naive.Next(serial));
      for (auto count = random() % 4; count > 0; --count)
        change();
      return ++visits > 500 || ::testing::Test::HasFailure();
    });
    const bool cutOff = visits > 500;
    ASSERT_EQ(cutOff ? "" : naive.Next(serial), "");
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
}

}  // namespace
}  // namespace orvo::testing
