// The pump as every platform has it: the same cases on each of them.
#include "platform/portable/PortablePlatform.h"
#include "platform/simulated/SimulatedPlatform.h"

#ifdef _WIN32
#include "platform/win32/Win32Platform.h"
#endif

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace orvo {
namespace {

using namespace std::chrono_literals;

template <class Platform>
class Pump : public testing::Test {
 protected:
  using Log = std::vector<std::string>;

  // Posts a call that logs `text`.
  void PostNote(const std::string& text) {
    platform_->Post([this, text] { log_.push_back(text); });
  }
  // Starts a timer that logs `text`.
  std::int32_t StartNote(std::chrono::milliseconds period, const std::string& text) {
    return platform_->SetTimer(period, [this, text](std::int32_t) { log_.push_back(text); });
  }
  // Waits until a timer of ten milliseconds started now is due; runs nothing.
  void WaitOneTick() {
    const std::int32_t id = platform_->SetTimer(MinimumTimerPeriod, [](std::int32_t) {});
    platform_->WaitForWork(10s);
    platform_->KillTimer(id);
  }

  Log log_;
  std::unique_ptr<Platform> platform_ = std::make_unique<Platform>();
};

#ifdef _WIN32
using Platforms = testing::Types<PortablePlatform, SimulatedPlatform, Win32Platform>;
#else
using Platforms = testing::Types<PortablePlatform, SimulatedPlatform>;
#endif
class PlatformNames {
 public:
  template <class Platform>
  static std::string GetName(int) {
    if (std::is_same_v<Platform, PortablePlatform>) return "Portable";
    return std::is_same_v<Platform, SimulatedPlatform> ? "Simulated" : "System";
  }
};
TYPED_TEST_SUITE(Pump, Platforms, PlatformNames);

TYPED_TEST(Pump, PostedCallsRunInTheirOrderAndOnce) {
  this->PostNote("a");
  this->PostNote("b");
  this->PostNote("c");
  EXPECT_TRUE(this->log_.empty()) << "Post itself runs nothing";
  this->platform_->PumpOnce();
  this->platform_->PumpOnce();
  EXPECT_EQ(this->log_, (std::vector<std::string>{"a", "b", "c"}));
}

TYPED_TEST(Pump, CallsPostedDuringAPassRunInTheNext) {
  this->platform_->Post([this] {
    this->log_.push_back("first");
    this->PostNote("second");
  });
  this->platform_->PumpOnce();
  EXPECT_EQ(this->log_, std::vector<std::string>{"first"});
  this->platform_->PumpOnce();
  EXPECT_EQ(this->log_, (std::vector<std::string>{"first", "second"}));
}

TYPED_TEST(Pump, NestedPassRunsTheWaitingCallsAndTheOuterOneRunsNoneTwice) {
  this->platform_->Post([this] {
    this->log_.push_back("outer begins");
    this->PostNote("posted inside");
    this->platform_->PumpOnce();
    this->log_.push_back("outer ends");
    this->PostNote("posted after");
  });
  this->PostNote("b");
  this->PostNote("c");
  this->platform_->PumpOnce();
  EXPECT_EQ(this->log_, (std::vector<std::string>{"outer begins", "b", "c", "posted inside", "outer ends"}));
  this->platform_->PumpOnce();
  EXPECT_EQ(this->log_.back(), "posted after");
  EXPECT_EQ(this->log_.size(), 6U);
}

TYPED_TEST(Pump, PostedCallsRunBeforeDueTimers) {
  this->StartNote(10ms, "timer");
  this->WaitOneTick();
  this->PostNote("posted");
  this->platform_->PumpOnce();
  EXPECT_EQ(this->log_, (std::vector<std::string>{"posted", "timer"}));
}

TYPED_TEST(Pump, TimersRunInThePumpOnlyAndOncePerPass) {
  this->StartNote(10ms, "timer");
  this->platform_->PumpOnce();
  this->WaitOneTick();
  EXPECT_TRUE(this->log_.empty());
  this->platform_->PumpOnce();
  EXPECT_EQ(this->log_, std::vector<std::string>{"timer"});
}

TYPED_TEST(Pump, TimerIdentifiersArePositiveAndNotUsedAgainSoon) {
  const std::int32_t first = this->StartNote(10ms, "a");
  EXPECT_GT(first, 0);
  this->platform_->KillTimer(first);
  EXPECT_GT(this->StartNote(10ms, "b"), first);
}

TYPED_TEST(Pump, TimerIsToldItsIdentifier) {
  std::int32_t told = 0;
  const std::int32_t id = this->platform_->SetTimer(10ms, [&](std::int32_t timerId) { told = timerId; });
  this->WaitOneTick();
  this->platform_->PumpOnce();
  EXPECT_EQ(told, id);
}

TYPED_TEST(Pump, KillingIgnoresIdentifiersOfNoTimer) {
  const std::int32_t id = this->StartNote(10ms, "alive");
  this->platform_->KillTimer(id + 1);
  this->platform_->KillTimer(0);
  this->platform_->KillTimer(-1);
  this->WaitOneTick();
  this->platform_->PumpOnce();
  EXPECT_EQ(this->log_, std::vector<std::string>{"alive"});
}

TYPED_TEST(Pump, DueTimerThatIsKilledDoesNotRun) {
  const std::int32_t id = this->StartNote(10ms, "killed");
  this->StartNote(10ms, "alive");
  this->WaitOneTick();
  this->platform_->KillTimer(id);
  this->platform_->PumpOnce();
  EXPECT_EQ(this->log_, std::vector<std::string>{"alive"});
}

TYPED_TEST(Pump, WaitingRunsNothingAndReturnsAtOnceWhenACallIsPosted) {
  this->PostNote("posted");
  const std::uint32_t before = this->platform_->TickCount();
  this->platform_->WaitForWork(1h);
  EXPECT_LT(this->platform_->TickCount() - before, 60000U);
  EXPECT_TRUE(this->log_.empty());
}

TYPED_TEST(Pump, WaitingEndsWithTheNextDeadline) {
  this->StartNote(10ms, "timer");
  const std::uint32_t before = this->platform_->TickCount();
  this->platform_->WaitForWork(1h);
  const std::uint32_t waited = this->platform_->TickCount() - before;
  EXPECT_GE(waited, 9U);
  EXPECT_LT(waited, 60000U);
  EXPECT_TRUE(this->log_.empty());
  this->platform_->PumpOnce();
  EXPECT_EQ(this->log_, std::vector<std::string>{"timer"});
}

TYPED_TEST(Pump, WaitingEndsWithItsLimit) {
  this->StartNote(1h, "timer");
  const std::uint32_t before = this->platform_->TickCount();
  this->platform_->WaitForWork(3ms);
  EXPECT_GE(this->platform_->TickCount() - before, 2U);
  EXPECT_LT(this->platform_->TickCount() - before, 60000U);
  this->platform_->WaitForWork(0ms);
  this->platform_->WaitForWork(-5ms);
  EXPECT_LT(this->platform_->TickCount() - before, 60000U);
}

TYPED_TEST(Pump, CallsOfFourThreadsAllRunEachThreadsInItsOrderOnTheOwningThread) {
  constexpr int Threads = 4;
  constexpr int Calls = 500;
  std::vector<int> next(Threads, 0);
  int inOrder = 0;
  int onOwner = 0;
  const std::thread::id owner = std::this_thread::get_id();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < Threads; ++thread)
    threads.emplace_back([&, thread] {
      for (int call = 0; call < Calls; ++call)
        this->platform_->Post([&, thread, call] {
          if (std::exchange(next[static_cast<std::size_t>(thread)], call + 1) == call) ++inOrder;
          if (std::this_thread::get_id() == owner) ++onOwner;
        });
    });
  for (int pass = 0; pass < 50; ++pass)
    this->platform_->PumpOnce();
  for (std::thread& thread : threads)
    thread.join();
  this->platform_->PumpOnce();
  EXPECT_EQ(inOrder, Threads * Calls);
  EXPECT_EQ(onOwner, Threads * Calls);
}

TYPED_TEST(Pump, EndOfThePlatformDropsWaitingCallsAndTimers) {
  const auto held = std::make_shared<int>(0);
  this->platform_->Post([held] { ++*held; });
  this->platform_->SetTimer(10ms, [held](std::int32_t) { ++*held; });
  EXPECT_EQ(held.use_count(), 3);
  this->platform_.reset();
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(*held, 0);
}

TYPED_TEST(Pump, DroppedCallsMayUseThePlatformWhileTheyEnd) {
  // Stands for a server held by its last waiting call: its end stops its timers and posts a farewell.
  struct Owner {
    TypeParam& platform;
    std::int32_t timer;
    int& ended;
    ~Owner() {
      platform.KillTimer(timer);
      platform.Post([&count = ended] { count += 100; });
      ++ended;
    }
  };
  int ended = 0;
  const auto other = this->StartNote(10ms, "never");
  std::shared_ptr<Owner> byCall(new Owner{*this->platform_, other, ended});
  std::shared_ptr<Owner> byTimer(new Owner{*this->platform_, other, ended});
  this->platform_->Post([held = std::move(byCall)] {});
  this->platform_->SetTimer(10ms, [held = std::move(byTimer)](std::int32_t) {});
  this->platform_.reset();
  EXPECT_EQ(ended, 2);
}

TYPED_TEST(Pump, CallPostedWhileThePlatformEndsIsDroppedAtOnce) {
  struct Owner {
    TypeParam& platform;
    long& holders;
    ~Owner() {
      const auto farewell = std::make_shared<int>(0);
      platform.Post([farewell] {});
      holders = farewell.use_count();
    }
  };
  long holders = 0;
  std::shared_ptr<Owner> owner(new Owner{*this->platform_, holders});
  this->platform_->Post([held = std::move(owner)] {});
  this->platform_.reset();
  EXPECT_EQ(holders, 1);
}

TYPED_TEST(Pump, RunCallIsReleasedBeforeTheNextOneRuns) {
  const auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> watch = held;
  long holders = -1;
  this->platform_->Post([held] {});
  this->platform_->Post([&] { holders = watch.use_count(); });
  this->platform_->PumpOnce();
  EXPECT_EQ(holders, 1);
}

TYPED_TEST(Pump, EmptyFunctionIsNotACall) {
  this->platform_->Post({});
  this->PostNote("call");
  this->platform_->PumpOnce();
  EXPECT_EQ(this->log_, std::vector<std::string>{"call"});
}

// A module that counts itself and remembers its platform.
struct Counter {
  explicit Counter(ThreadPlatform& platform) : made(&platform) { ++Alive(); }
  ~Counter() { --Alive(); }
  Counter(const Counter&) = delete;
  Counter& operator=(const Counter&) = delete;
  static int& Alive() {
    static int alive = 0;
    return alive;
  }
  ThreadPlatform* made;
  int value = 0;
};
struct OtherCounter : Counter {
  using Counter::Counter;
};

TYPED_TEST(Pump, ModuleStateIsMadeAtTheFirstCallOncePerPlatformAndTypeAndEndsWithThePlatform) {
  ASSERT_EQ(Counter::Alive(), 0);
  this->platform_->template ModuleState<Counter>().value = 5;
  EXPECT_EQ(Counter::Alive(), 1);
  EXPECT_EQ(this->platform_->template ModuleState<Counter>().value, 5);
  EXPECT_EQ(this->platform_->template ModuleState<Counter>().made, this->platform_.get());
  EXPECT_EQ(this->platform_->template ModuleState<OtherCounter>().value, 0);
  TypeParam second;
  EXPECT_EQ(second.template ModuleState<Counter>().value, 0);
  EXPECT_EQ(Counter::Alive(), 3);
  this->platform_.reset();
  EXPECT_EQ(Counter::Alive(), 1);
}

}  // namespace
}  // namespace orvo
