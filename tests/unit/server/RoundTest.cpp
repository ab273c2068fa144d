// One round through the whole system, against the scripted driver.

#include "support/Plant.h"

#include <gtest/gtest.h>

namespace orvo::testing {
namespace {

TEST(Round, ASynchronousReadBringsTheDevicesValuesAndLeavesThemInTheItems) {
  Plant plant;
  plant.Configure();
  const auto group = plant.AddGroup({"WO100", "WO102"});
  plant.server->OpenCommunication();
  plant.AnswerByItself();
  plant.Answer = [](double address, std::int16_t) { return Word(static_cast<std::uint16_t>(40 + address)); };
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncRead({1, 2}, values, errors);
  EXPECT_EQ(LogText(values), "[I2:41,I2:42]");
  EXPECT_EQ(LogText(errors), "[0,0]");
  EXPECT_EQ(LogText(group->KELDataItems()->Item(2)->USERValue()), "I2:42");
}

TEST(Round, AnActiveGroupReportsWhatChangedAndNothingElse) {
  Plant plant;
  plant.Configure();
  const auto group = plant.AddGroup({"WO100", "WO102"});
  group->PutUpdateRate(500);
  group->PutActive(true);
  plant.server->OpenCommunication();
  plant.AnswerByItself();
  int moving = 0;
  plant.Answer = [&](double address, std::int16_t) {
    return Word(static_cast<std::uint16_t>(address == 1 ? 7 : moving));
  };
  plant.Advance(1400ms);
  moving = 5;
  plant.Advance(1000ms);
  EXPECT_EQ(plant.events, (Log{"DataChange [1,2] [I2:7,I2:0]", "DataChange [2] [I2:5]"}));
}

TEST(Round, NothingIsLeftWhenTheLastReferenceGoes) {
  const std::int64_t before = AutomationObject::LiveCount();
  {
    Plant plant;
    plant.Open();
    EXPECT_GT(AutomationObject::LiveCount(), before);
  }
  EXPECT_EQ(AutomationObject::LiveCount(), before);
}

}  // namespace
}  // namespace orvo::testing
