#include "GroupFixture.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using GroupsEvict = GroupFixture;

TEST_F(GroupsEvict, TheDevicesAnswersDecideWhoWasUsedLast) {
  Driver().groupTransfer = true;
  Driver().groupCapacity = 2;
  AnswerGroups({0, 0});
  KeepTimeline();
  std::vector<std::shared_ptr<KELDataGroup>> groups;
  for (const char* name : {"A", "B", "C"})
    groups.push_back(Add(name, static_cast<std::int32_t>(11 + groups.size()), {"WO100"}));
  Server().OpenCommunication();
  const auto read = [&](std::size_t k) {
    std::int32_t id = 0;
    groups[k]->AsyncReadAll(id);
    Advance(200ms);
    groups[k]->PutSubscribed(false);
  };
  for (const std::size_t k : {0U, 1U, 0U, 2U, 0U, 1U})
    read(k);
  Log calls;
  for (const std::string& line : timeline)
    if (line.find("Group(") != std::string::npos || line.find("GroupDef") != std::string::npos)
      calls.push_back(line);
  EXPECT_EQ(calls, (Log{"50 SetGroupDefinition(11,-1)", "50 ReadGroup(groupId=11,buffer=[])",
                        "250 SetGroupDefinition(12,-1)", "250 ReadGroup(groupId=12,buffer=[])",
                        "450 ReadGroup(groupId=11,buffer=[])",                              //
                        "650 SetGroupDefinition(12,0)", "650 SetGroupDefinition(13,-1)",    //
                        "650 ReadGroup(groupId=13,buffer=[])",                              //
                        "850 ReadGroup(groupId=11,buffer=[])",                              //
                        "1050 SetGroupDefinition(13,0)", "1050 SetGroupDefinition(12,-1)",  //
                        "1050 ReadGroup(groupId=12,buffer=[])"}));
}

TEST_F(GroupsEvict, AnActiveGroupThatIsStoppedKeepsItsDefinitionAsACandidate) {
  Driver().groupCapacity = 2;
  const auto a = Add("A", 11);
  const auto b = Add("B", 12);
  const auto c = Add("C", 13);
  Server().OpenCommunication();
  a->PutActive(true);
  b->EnsureDefined();
  a->PutLastUseTick(1);
  b->PutLastUseTick(2);
  Driver().log.clear();
  EXPECT_TRUE(c->EnsureDefined());
  EXPECT_EQ(Driver().log, (Log{"SetGroupDefinition(12,0)", "SetGroupDefinition(13,-1)"}));
  c->PutLastUseTick(3);
  Driver().log.clear();
  a->PutActive(false);
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_TRUE(a->IsDefined());
  EXPECT_TRUE(b->EnsureDefined());
  EXPECT_EQ(Driver().log, (Log{"SetGroupDefinition(11,0)", "SetGroupDefinition(12,-1)"}));
}

TEST_F(GroupsEvict, DefinitionsSurviveClosingAndOpening) {
  KeepTimeline();
  const auto a = Add("A", 11, {}, 100);
  a->PutActive(true);
  Server().OpenCommunication();
  Server().CloseCommunication();
  Server().OpenCommunication();
  EXPECT_EQ(Taken(), (Log{"0 OpenCommunication(true)", "0 SetGroupDefinition(11,-1)", "0 CloseCommunication()",
                          "0 OpenCommunication(true)"}));
  EXPECT_GT(a->TimerId(), 0);
}

// The contract of definitions as plain loops over plain vectors; no group is ever removed.
struct NaiveDefinitions {
  struct Group {
    std::string id;
    bool active = false;
    bool defined = false;
    std::uint32_t tick = 0;
  };
  std::vector<Group> groups;
  std::vector<std::size_t> listed;
  std::size_t capacity = 0;
  bool defineFails = false;
  bool releaseFails = false;
  Log log;

  bool Call(std::size_t k, bool define) {
    log.push_back("SetGroupDefinition(" + groups[k].id + (define ? ",-1)" : ",0)"));
    return !(define ? defineFails : releaseFails);
  }
  bool Release(std::size_t k) {
    if (!groups[k].defined) return true;
    if (!Call(k, false)) return false;
    listed.erase(std::find(listed.begin(), listed.end(), k));
    groups[k].defined = false;
    return true;
  }
  bool Ensure(std::size_t k) {
    if (groups[k].defined) return true;
    while (listed.size() >= capacity) {
      std::size_t victim = groups.size();
      for (const std::size_t candidate : listed)
        if (!groups[candidate].active &&
            (victim == groups.size() || groups[candidate].tick < groups[victim].tick))
          victim = candidate;
      if (victim == groups.size() || !Release(victim)) return false;
    }
    groups[k].defined = Call(k, true);
    if (groups[k].defined) listed.push_back(k);
    return groups[k].defined;
  }
};

TEST_F(GroupsEvict, AgreesWithPlainLoopsWhateverIsDefinedReleasedUsedAndRefused) {
  const std::uint32_t seed = std::random_device{}();
  std::cout << "seed " << seed << '\n';
  std::mt19937 random(seed);
  NaiveDefinitions naive;
  std::vector<std::shared_ptr<KELDataGroup>> groups;
  for (std::int32_t k = 0; k < 12; ++k) {
    groups.push_back(Add("G" + std::to_string(k), 100 + k));
    naive.groups.push_back({std::to_string(100 + k)});
  }
  // Failing by the direction of the call, which the script cannot tell apart.
  Driver().during["SetGroupDefinition"] = [&] {
    const bool define = Driver().log.back().ends_with(",-1)");
    if (define ? naive.defineFails : naive.releaseFails) throw AutomationError(3, "refused");
  };
  for (int step = 0; step < 6000; ++step) {
    const std::size_t k = random() % groups.size();
    naive.capacity = 3 + random() % 5;
    naive.defineFails = random() % 6 == 0;
    naive.releaseFails = random() % 6 == 0;
    Driver().groupCapacity = static_cast<std::int32_t>(naive.capacity);
    const auto tick = static_cast<std::uint32_t>(random() % 16) << 28;
    switch (random() % 6) {
      case 0:
        groups[k]->PutLastUseTick(tick);
        naive.groups[k].tick = tick;
        break;
      case 1:
        groups[k]->PutActive(false);
        naive.groups[k].active = false;
        break;
      case 2:
        ASSERT_EQ(groups[k]->ReleaseDefinition(), naive.Release(k)) << "step " << step;
        break;
      case 3: {
        const auto active = std::count_if(naive.groups.begin(), naive.groups.end(),
                                          [](const NaiveDefinitions::Group& group) { return group.active; });
        const bool allowed = naive.groups[k].active || active < static_cast<std::ptrdiff_t>(naive.capacity) - 1;
        ASSERT_EQ(ErrorNumberOf([&] { groups[k]->PutActive(true); }) == 0, allowed) << "step " << step;
        naive.groups[k].active = allowed;
        break;
      }
      default:
        ASSERT_EQ(groups[k]->EnsureDefined(), naive.Ensure(k)) << "step " << step;
    }
    ASSERT_EQ(Driver().log, naive.log) << "step " << step;
    Driver().log.clear();
    naive.log.clear();
    for (std::size_t j = 0; j < groups.size(); ++j)
      ASSERT_EQ(groups[j]->IsDefined(), naive.groups[j].defined) << "step " << step << ", group " << j;
    ASSERT_EQ(Groups().DefinedCount(), naive.listed.size()) << "step " << step;
  }
}

}  // namespace
}  // namespace orvo::testing
