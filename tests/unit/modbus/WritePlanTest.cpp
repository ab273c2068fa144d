// How a list of writes becomes requests.

#include "modbus/WritePlan.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvo::modbus {

namespace {

// "4:0+3 of 2" for each run: its span, and how many writes it takes.
std::string RunsOf(const std::vector<PlannedWrite>& writes) {
  std::string text;
  std::size_t next = 0;
  for (const WriteRun& run : PlanWrites(writes)) {
    EXPECT_EQ(run.first, next) << "the order of the list is kept";
    next += run.count;
    if (!text.empty()) text += ", ";
    text += std::string(1, DigitOf(run.span.area)) + ':' + std::to_string(run.span.start) + '+' +
            std::to_string(run.span.count) + " of " + std::to_string(run.count);
  }
  EXPECT_EQ(next, writes.size());
  return text;
}

PlannedWrite RegistersFrom(std::int32_t start, std::int32_t count = 1) {
  return {{Area::HoldingRegisters, start, count}, false};
}
PlannedWrite WriteOfPart(std::int32_t address) {
  return {{Area::HoldingRegisters, address, 1}, true};
}
PlannedWrite WriteOfCoil(std::int32_t address) {
  return {{Area::Coils, address, 1}, false};
}

std::vector<PlannedWrite> WritesInARow(PlannedWrite write, std::int32_t count) {
  std::vector<PlannedWrite> writes;
  for (; count > 0; --count) {
    writes.push_back(write);
    write.place.start += write.place.count;
  }
  return writes;
}

}  // namespace

TEST(WritePlan, NeighboursInListAndDeviceShareARequest) {
  EXPECT_EQ(RunsOf({}), "");
  EXPECT_EQ(RunsOf({RegistersFrom(10), RegistersFrom(11, 2), RegistersFrom(13)}), "4:10+4 of 3");
  EXPECT_EQ(RunsOf({WriteOfCoil(0), WriteOfCoil(1)}), "0:0+2 of 2");
}

TEST(WritePlan, AGapAnOverlapAStepBackAndAnotherAreaBeginARequest) {
  EXPECT_EQ(RunsOf({RegistersFrom(10), RegistersFrom(12)}), "4:10+1 of 1, 4:12+1 of 1");
  EXPECT_EQ(RunsOf({RegistersFrom(10, 2), RegistersFrom(11)}), "4:10+2 of 1, 4:11+1 of 1");
  EXPECT_EQ(RunsOf({RegistersFrom(10), RegistersFrom(10)}), "4:10+1 of 1, 4:10+1 of 1");
  EXPECT_EQ(RunsOf({RegistersFrom(11), RegistersFrom(10)}), "4:11+1 of 1, 4:10+1 of 1");
  EXPECT_EQ(RunsOf({WriteOfCoil(10), RegistersFrom(11)}), "0:10+1 of 1, 4:11+1 of 1");
}

TEST(WritePlan, TheListIsNotSorted) {
  EXPECT_EQ(
      RunsOf({RegistersFrom(20), RegistersFrom(21), RegistersFrom(10), RegistersFrom(11), RegistersFrom(22)}),
      "4:20+2 of 2, 4:10+2 of 2, 4:22+1 of 1");
}

TEST(WritePlan, ARequestTakes123Registers) {
  EXPECT_EQ(RunsOf(WritesInARow(RegistersFrom(0), 124)), "4:0+123 of 123, 4:123+1 of 1");
  EXPECT_EQ(RunsOf(WritesInARow(RegistersFrom(0, 2), 62)), "4:0+122 of 61, 4:122+2 of 1");
  EXPECT_EQ(RunsOf({RegistersFrom(0, 123), RegistersFrom(123, 123)}), "4:0+123 of 1, 4:123+123 of 1");
}

TEST(WritePlan, ARequestTakes1968Coils) {
  EXPECT_EQ(RunsOf(WritesInARow(WriteOfCoil(0), 1969)), "0:0+1968 of 1968, 0:1968+1 of 1");
}

TEST(WritePlan, APartOfARegisterHasARequestOfItsOwn) {
  EXPECT_EQ(RunsOf({RegistersFrom(10), WriteOfPart(11), RegistersFrom(12), RegistersFrom(13), WriteOfPart(14),
                    WriteOfPart(15)}),
            "4:10+1 of 1, 4:11+1 of 1, 4:12+2 of 2, 4:14+1 of 1, 4:15+1 of 1");
}

}  // namespace orvo::modbus
