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

PlannedWrite Registers(std::int32_t start, std::int32_t count = 1) {
  return {{Area::HoldingRegisters, start, count}, false};
}
PlannedWrite PartOf(std::int32_t address) {
  return {{Area::HoldingRegisters, address, 1}, true};
}
PlannedWrite Coil(std::int32_t address) {
  return {{Area::Coils, address, 1}, false};
}

std::vector<PlannedWrite> InARow(PlannedWrite write, std::int32_t count) {
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
  EXPECT_EQ(RunsOf({Registers(10), Registers(11, 2), Registers(13)}), "4:10+4 of 3");
  EXPECT_EQ(RunsOf({Coil(0), Coil(1)}), "0:0+2 of 2");
}

TEST(WritePlan, AGapAnOverlapAStepBackAndAnotherAreaBeginARequest) {
  EXPECT_EQ(RunsOf({Registers(10), Registers(12)}), "4:10+1 of 1, 4:12+1 of 1");
  EXPECT_EQ(RunsOf({Registers(10, 2), Registers(11)}), "4:10+2 of 1, 4:11+1 of 1");
  EXPECT_EQ(RunsOf({Registers(10), Registers(10)}), "4:10+1 of 1, 4:10+1 of 1");
  EXPECT_EQ(RunsOf({Registers(11), Registers(10)}), "4:11+1 of 1, 4:10+1 of 1");
  EXPECT_EQ(RunsOf({Coil(10), Registers(11)}), "0:10+1 of 1, 4:11+1 of 1");
}

TEST(WritePlan, TheListIsNotSorted) {
  EXPECT_EQ(RunsOf({Registers(20), Registers(21), Registers(10), Registers(11), Registers(22)}),
            "4:20+2 of 2, 4:10+2 of 2, 4:22+1 of 1");
}

TEST(WritePlan, ARequestTakes123Registers) {
  EXPECT_EQ(RunsOf(InARow(Registers(0), 124)), "4:0+123 of 123, 4:123+1 of 1");
  EXPECT_EQ(RunsOf(InARow(Registers(0, 2), 62)), "4:0+122 of 61, 4:122+2 of 1");
  EXPECT_EQ(RunsOf({Registers(0, 123), Registers(123, 123)}), "4:0+123 of 1, 4:123+123 of 1");
}

TEST(WritePlan, ARequestTakes1968Coils) {
  EXPECT_EQ(RunsOf(InARow(Coil(0), 1969)), "0:0+1968 of 1968, 0:1968+1 of 1");
}

TEST(WritePlan, APartOfARegisterHasARequestOfItsOwn) {
  EXPECT_EQ(RunsOf({Registers(10), PartOf(11), Registers(12), Registers(13), PartOf(14), PartOf(15)}),
            "4:10+1 of 1, 4:11+1 of 1, 4:12+2 of 2, 4:14+1 of 1, 4:15+1 of 1");
}

}  // namespace orvo::modbus
