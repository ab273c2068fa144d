#include "PanelFixture.h"
#include "simulated/PanelSignal.h"

#include <limits>

namespace orvo {
namespace {

using testing::FailureOf;
using testing::PanelTest;
using namespace std::chrono_literals;

TEST(PanelSignal, ARampRisesOverThePeriodAndFallsBack) {
  const PanelSignal ramp{PanelSignalKind::Ramp, "WO100", 10, 20, 1000};
  EXPECT_EQ(ramp.At(0), 10);
  EXPECT_EQ(ramp.At(250), 12.5);
  EXPECT_NEAR(ramp.At(999), 19.99, 1e-9);
  EXPECT_EQ(ramp.At(1000), 10);
  EXPECT_EQ(ramp.At(1'000'000'000'500), 15);
}

TEST(PanelSignal, ASineSwingsAroundTheMiddle) {
  const PanelSignal sine{PanelSignalKind::Sine, "WO100", -10, 30, 400};
  EXPECT_NEAR(sine.At(0), 10, 1e-9);
  EXPECT_NEAR(sine.At(100), 30, 1e-9);
  EXPECT_NEAR(sine.At(200), 10, 1e-9);
  EXPECT_NEAR(sine.At(300), -10, 1e-9);
}

TEST(PanelSignal, ASquareIsLowFirstThenHigh) {
  const PanelSignal square{PanelSignalKind::Square, "WO100", 1, 2, 100};
  EXPECT_EQ(square.At(0), 1);
  EXPECT_EQ(square.At(49), 1);
  EXPECT_EQ(square.At(50), 2);
  EXPECT_EQ(square.At(99), 2);
  EXPECT_EQ(square.At(100), 1);
}

TEST(PanelSignal, ACounterStepsOncePerPeriodAndStartsAgainAfterTheHighValue) {
  const PanelSignal counter{PanelSignalKind::Counter, "WO100", 5, 7, 100};
  EXPECT_EQ(counter.At(0), 5);
  EXPECT_EQ(counter.At(99), 5);
  EXPECT_EQ(counter.At(100), 6);
  EXPECT_EQ(counter.At(200), 7);
  EXPECT_EQ(counter.At(300), 5);
}

TEST(PanelSignal, AConstantStaysAndNeedsNoPeriod) {
  const PanelSignal constant{PanelSignalKind::Constant, "WO100", 5, 5, 0};
  EXPECT_EQ(FailureOf([&] { PanelSignals({constant}); }), "0:");
  EXPECT_EQ(constant.At(0), 5);
  EXPECT_EQ(constant.At(123456), 5);
}

TEST(PanelSignal, AClockShowsTheTimeOfItsLastStep) {
  const auto text = [](const CivilTime& time, std::int64_t elapsedMs, std::int64_t periodMs) {
    return PanelClockText(DateFromCivil(time), elapsedMs, periodMs);
  };
  EXPECT_EQ(text({2024, 1, 15, 12, 0, 0, 0}, 0, 1000), "2024-01-15 12:00:00");
  EXPECT_EQ(text({2024, 1, 15, 0, 0, 0, 0}, 5000, 1000), "2024-01-15 00:00:00") << "midnight has its time too";
  EXPECT_EQ(text({2024, 2, 29, 23, 59, 59, 999}, 999, 1000), "2024-02-29 23:59:59");
  EXPECT_EQ(text({2024, 3, 1, 0, 0, 5, 0}, 19'000, 10'000), "2024-02-29 23:59:56");
  EXPECT_EQ(text({800, 1, 1, 1, 2, 3, 0}, 0, 1), "0800-01-01 01:02:03");
}

TEST(PanelSignal, AClockNeedsAStringWithRoomForIt) {
  const auto failure = [](const char* identifier) {
    return FailureOf([&] { PanelSignals({{PanelSignalKind::Clock, identifier, 0, 0, 1000}}); });
  };
  EXPECT_EQ(failure("ST0030019"), "0:");
  EXPECT_EQ(failure("ST0030018"),
            "10:Signal on 'ST0030018': a clock needs a string item of at least 19 characters");
  EXPECT_EQ(failure("DW100"), "10:Signal on 'DW100': a clock needs a string item of at least 19 characters");
}

TEST(PanelSignal, AWrongSignalIsRefusedWithItsIdentifier) {
  const auto failure = [](PanelSignal signal) { return FailureOf([&] { PanelSignals({signal}); }); };
  EXPECT_EQ(failure({PanelSignalKind::Ramp, "ST0020010", 0, 1, 10}),
            "10:Signal on 'ST0020010': only numbers can move by themselves");
  EXPECT_EQ(failure({PanelSignalKind::Ramp, "RA0316", 0, 1, 10}),
            "10:Signal on 'RA0316': only numbers can move by themselves");
  EXPECT_EQ(failure({PanelSignalKind::Ramp, "WO100", 2, 1, 10}),
            "10:Signal on 'WO100': the range needs two numbers, the high one not below the low one");
  EXPECT_EQ(failure({PanelSignalKind::Ramp, "WO100", 0, std::numeric_limits<double>::quiet_NaN(), 10}),
            "10:Signal on 'WO100': the range needs two numbers, the high one not below the low one");
  EXPECT_EQ(failure({PanelSignalKind::Ramp, "WO100", 0, 1, 0}),
            "10:Signal on 'WO100': the period must be at least 1 ms");
  EXPECT_EQ(failure({PanelSignalKind::Ramp, "WO1", 0, 1, 10}),
            "10:Item identifier 'WO1': the address 1 is odd, it must be even; write it like WO100");
  EXPECT_EQ(failure({PanelSignalKind::Ramp, "WO100", 1, 1, 10}), "0:");
}

TEST(PanelSignal, RegisteringAWrongSignalFailsAtOnce) {
  DriverRegistry registry;
  PanelOptions options;
  options.signals = {{PanelSignalKind::Ramp, "WO100", 0, 1, 0}};
  EXPECT_EQ(FailureOf([&] { RegisterSimulatedPanel(registry, options); }),
            "10:Signal on 'WO100': the period must be at least 1 ms");
}

class MovingPanelTest : public PanelTest {
 protected:
  void Move(std::vector<PanelSignal> signals) {
    PanelOptions options;
    options.signals = std::move(signals);
    Remake(options);
    panel->OpenCommunication(true);
  }
};

TEST_F(MovingPanelTest, AReadSeesTheValueOfTheMomentOfItsAnswer) {
  Move({{PanelSignalKind::Ramp, "WO100", 0, 1000, 1000}});
  EXPECT_EQ(AnswerOfRead({"WO100"}), (testing::Log{"ReadComplete UI1[20,0]=0"}));
  platform.Advance(480ms);
  EXPECT_EQ(AnswerOfRead({"WO100"}), (testing::Log{"ReadComplete UI1[8,2]=0"}));  // 520
}

TEST_F(MovingPanelTest, EveryNumberCanMove) {
  Move({{PanelSignalKind::Square, "BI0.1", 0, 1, 40},
        {PanelSignalKind::Counter, "BY3", 7, 9, 10},
        {PanelSignalKind::Ramp, "DW4", 0, 100000, 40},
        {PanelSignalKind::Ramp, "FL8", -1, 0, 40}});
  EXPECT_EQ(AnswerOfRead({"BI0.1", "BY3", "DW4", "FL8"}),
            (testing::Log{"ReadComplete UI1[2,0]=0 UI1[9,0]=0 UI1[80,195,0,0]=0 UI1[0,0,0,191]=0"}));
}

TEST_F(MovingPanelTest, TheTimeStartsWithThePanelAndCrossesTheWrapOfTheTickCounter) {
  platform.PutTickCount(0xFFFFFFF0U);
  Move({{PanelSignalKind::Counter, "WO100", 0, 1000, 1}});
  EXPECT_EQ(AnswerOfRead({"WO100"}), (testing::Log{"ReadComplete UI1[20,0]=0"}));
  EXPECT_EQ(AnswerOfRead({"WO100"}), (testing::Log{"ReadComplete UI1[40,0]=0"}));
}

TEST_F(MovingPanelTest, AWriteUnderASignalLastsUntilTheNextAnswer) {
  Move({{PanelSignalKind::Counter, "WO100", 1, 1, 10}});
  Write({{"WO100", std::int32_t{77}}});
  platform.Advance(20ms);
  EXPECT_EQ(panel->Memory().Word(100), 77);
  EXPECT_EQ(AnswerOfRead({"WO100"}), (testing::Log{"WriteComplete 0", "ReadComplete UI1[1,0]=0"}));
}

TEST_F(MovingPanelTest, AClockGoesWithThePlatformsTime) {
  Move({{PanelSignalKind::Clock, "ST0030020", 0, 0, 1000}});
  const auto shown = [&] {
    AnswerOfRead({"ST0030020"});
    const auto bytes = panel->Memory().Bytes(300, 20);
    return std::string(bytes.begin(), bytes.end());
  };
  EXPECT_EQ(shown(), std::string("2024-01-15 12:00:00") + '\0');
  platform.Advance(61s);
  EXPECT_EQ(shown(), std::string("2024-01-15 12:01:01") + '\0');
}

TEST_F(MovingPanelTest, AGroupImageMovesToo) {
  Move({{PanelSignalKind::Counter, "WO256", 1, 1, 10}});
  panel->SetGroupDefinition(1, -1);
  panel->ReadGroup(1, SafeArray<std::uint8_t>(4));
  platform.Advance(20ms);
  EXPECT_EQ(TakeLog(), (testing::Log{"ReadGroupComplete UI1[0,1,0,0]=0"}));
}

TEST_F(MovingPanelTest, AValueThatDoesNotFitLeavesTheMemoryAlone) {
  Move({{PanelSignalKind::Square, "FL100", 1e300, 1e300, 10}, {PanelSignalKind::Square, "WO104", 3, 3, 10}});
  panel->Memory().PutSingle(100, 1.5F);
  EXPECT_EQ(AnswerOfRead({"FL100", "WO104"}), (testing::Log{"ReadComplete UI1[0,0,192,63]=0 UI1[3,0]=0"}));
}

}  // namespace
}  // namespace orvo
