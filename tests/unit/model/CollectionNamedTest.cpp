#include "CollectionMember.h"
#include "model/NamedCollection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using Collection = NamedCollection<CollectionMember>;
using Names = std::vector<std::string>;

std::shared_ptr<CollectionMember> Add(Collection& collection, const std::string& name) {
  const auto member = MemberNamed(name, collection.FreeHandle());
  return collection.Insert(member) ? member : nullptr;
}

TEST(NamedCollection, GivesTheLowestFreeHandle) {
  Collection collection("Item_");
  for (const char* name : {"a", "b", "c", "d"})
    Add(collection, name);
  EXPECT_EQ(collection.FreeHandle(), 5);
  collection.RemoveKey("c");
  collection.RemoveKey("a");
  EXPECT_EQ(collection.FreeHandle(), 1);
  EXPECT_EQ(Add(collection, "e")->Handle(), 1);
  EXPECT_EQ(Add(collection, "f")->Handle(), 3);
  EXPECT_EQ(Add(collection, "g")->Handle(), 5);
  EXPECT_EQ(NamesOf(collection), (Names{"b", "d", "e", "f", "g"}));
  EXPECT_EQ(collection.Count(), 5);
}

TEST(NamedCollection, FindsByHandleWhateverNumberIsAsked) {
  Collection collection("Item_");
  const auto a = Add(collection, "a");
  const auto b = Add(collection, "b");
  EXPECT_EQ(collection.FindHandle(1), a);
  EXPECT_EQ(collection.FindHandle(2), b);
  for (const std::int32_t handle :
       {0, 3, 4, -1, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()})
    EXPECT_EQ(collection.FindHandle(handle), nullptr) << handle;
  collection.RemoveKey("A");
  EXPECT_EQ(collection.FindHandle(1), nullptr);
}

TEST(NamedCollection, FindHandleOfAnEmptyCollectionFindsNothing) {
  const Collection collection("Item_");
  EXPECT_EQ(collection.FindHandle(0), nullptr);
  EXPECT_EQ(collection.FindHandle(1), nullptr);
}

// Each row: the names present, and the name that is generated.
TEST(NamedCollection, GeneratesTheFirstNameThatNoMemberBearsExactly) {
  const std::vector<std::pair<Names, std::string>> rows{
      {{}, "Item_1"},
      {{"Item_1"}, "Item_2"},
      {{"Item_2"}, "Item_1"},
      {{"Item_2", "Item_1"}, "Item_3"},
      {{"Item_1", "Item_3"}, "Item_2"},
      {{"item_1"}, "Item_1"},
      {{"Item_01"}, "Item_1"},
      {{"Item_+1"}, "Item_1"},
      {{"Item_-1"}, "Item_1"},
      {{"Item_ 1"}, "Item_1"},
      {{"Item_1 "}, "Item_1"},
      {{"Item_1x"}, "Item_1"},
      {{"Item_0"}, "Item_1"},
      {{"Item_"}, "Item_1"},
      {{"Item"}, "Item_1"},
      {{"1"}, "Item_1"},
      {{"Item_2147483647"}, "Item_1"},
      {{"Item_2147483648"}, "Item_1"},
      {{"Item_99999999999999999999"}, "Item_1"},
      {{"Item_4294967297"}, "Item_1"},
  };
  for (const auto& [names, generated] : rows) {
    SCOPED_TRACE(names.empty() ? "empty" : names.front());
    Collection collection("Item_");
    for (const std::string& name : names)
      ASSERT_NE(Add(collection, name), nullptr);
    EXPECT_EQ(collection.FreeName(), generated);
    for (const std::string& name : names)
      ASSERT_NE(collection.RemoveKey(name), nullptr);
    EXPECT_EQ(collection.FreeName(), "Item_1");
    EXPECT_EQ(collection.FreeHandle(), 1);
  }
}

TEST(NamedCollection, ACollisionTakesNeitherHandleNorName) {
  Collection collection("Item_");
  Add(collection, "Item_1");
  EXPECT_EQ(Add(collection, "ITEM_1"), nullptr);
  EXPECT_EQ(collection.Count(), 1);
  EXPECT_EQ(collection.FreeHandle(), 2);
  EXPECT_EQ(collection.FindHandle(2), nullptr);
  EXPECT_EQ(collection.FreeName(), "Item_2");
  collection.RemoveKey("item_1");
  EXPECT_EQ(collection.FreeName(), "Item_1");
}

TEST(NamedCollection, NamesAreFoundExactlyAndKeysWithoutCase) {
  Collection collection("Item_");
  const auto member = Add(collection, "Level");
  EXPECT_EQ(collection.FindName("Level"), member);
  EXPECT_EQ(collection.FindName("level"), nullptr);
  EXPECT_EQ(collection.FindKey("LEVEL"), member);
  EXPECT_EQ(collection.RemoveKey("leveL"), member);
  EXPECT_EQ(collection.RemoveKey("Level"), nullptr);
}

TEST(NamedCollection, AgreesWithASearchFromOneOnWhateverIsAddedAndRemoved) {
  const std::uint32_t seed = std::random_device{}();
  std::cout << "seed " << seed << '\n';
  std::mt19937 random(seed);
  Collection collection("Item_");
  std::vector<std::shared_ptr<CollectionMember>> naive;
  for (int step = 0; step < 5000; ++step) {
    std::int32_t handle = 1;
    while (
        std::any_of(naive.begin(), naive.end(), [&](const auto& member) { return member->Handle() == handle; }))
      ++handle;
    int number = 1;
    const auto name = [&] { return "Item_" + std::to_string(number); };
    while (
        std::any_of(naive.begin(), naive.end(), [&](const auto& member) { return member->Name() == name(); }))
      ++number;
    ASSERT_EQ(collection.FreeHandle(), handle) << "step " << step;
    ASSERT_EQ(collection.FreeName(), name()) << "step " << step;
    ASSERT_EQ(collection.Snapshot(), naive) << "step " << step;
    const auto choice = random() % 8;
    if (choice < 4) {
      const std::string own = "Item_" + std::to_string(random() % 30);
      const auto member = MemberNamed(choice < 2 ? name() : own, handle);
      const bool used = std::any_of(naive.begin(), naive.end(),
                                    [&](const auto& other) { return other->Name() == member->Name(); });
      ASSERT_EQ(collection.Insert(member), !used) << "step " << step;
      if (!used) naive.push_back(member);
    } else if (!naive.empty()) {
      const auto victim = naive.begin() + static_cast<std::ptrdiff_t>(random() % naive.size());
      ASSERT_EQ(collection.FindHandle((*victim)->Handle()), *victim);
      ASSERT_EQ(collection.RemoveKey((*victim)->Name()), *victim) << "step " << step;
      naive.erase(victim);
    }
  }
}

TEST(NamedCollection, HoldsAHundredThousandMembers) {
  constexpr std::int32_t Members = 100000;
  Collection collection("Item_");
  for (std::int32_t k = 0; k < Members; ++k)
    ASSERT_NE(Add(collection, collection.FreeName()), nullptr);
  EXPECT_EQ(collection.Count(), Members);
  EXPECT_EQ(collection.FindName("Item_100000"), collection.FindHandle(Members));
  for (std::int32_t k = 1; k <= Members; k += 2)  // each removal and the walks between them have gaps to pass
    ASSERT_NE(collection.RemoveKey("ITEM_" + std::to_string(k)), nullptr);
  for (std::int32_t k = 1; k <= Members; k += 2) {
    ASSERT_EQ(collection.FreeHandle(), k);
    ASSERT_EQ(Add(collection, collection.FreeName())->Name(), "Item_" + std::to_string(k));
  }
  std::int32_t visited = 0;
  collection.Walk([&](const CollectionMember& member) {
    ++visited;
    return !collection.RemoveKey(member.Name());
  });
  EXPECT_EQ(visited, Members);
  EXPECT_EQ(collection.Count(), 0);
  EXPECT_EQ(collection.FreeHandle(), 1);
}

}  // namespace
}  // namespace orvo::testing
