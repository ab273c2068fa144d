#include "values/EventSource.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace orvo {
namespace {

class Sink {
 public:
  virtual ~Sink() = default;
  virtual void OnEvent(int argument) = 0;
};

using Source = EventSource<Sink>;
using Log = std::vector<std::string>;

// Writes every event and its own end into a log, then does what the test asked for.
class LoggingSink : public Sink {
 public:
  LoggingSink(std::string name, Log& log, std::function<void()> then = {}, std::function<void()> onEnd = {})
      : name_(std::move(name)), log_(log), then_(std::move(then)), onEnd_(std::move(onEnd)) {}
  ~LoggingSink() override {
    log_.push_back(name_ + " ends");
    if (onEnd_) onEnd_();
  }
  void OnEvent(int argument) override {
    log_.push_back(name_ + " " + std::to_string(argument));
    if (then_) then_();
  }

 private:
  std::string name_;
  Log& log_;
  std::function<void()> then_;
  std::function<void()> onEnd_;
};

void Raise(Source& source, int argument) {
  source.Raise([argument](Sink& sink) { sink.OnEvent(argument); });
}

class EventSourceTest : public testing::Test {
 protected:
  std::shared_ptr<Sink> Make(std::string name, std::function<void()> then = {},
                             std::function<void()> onEnd = {}) {
    return std::make_shared<LoggingSink>(std::move(name), log_, std::move(then), std::move(onEnd));
  }
  Log log_;
};

TEST_F(EventSourceTest, RaisesAnEventToEverySinkInOrderOfConnection) {
  Source source;
  EXPECT_TRUE(source.IsEmpty());
  Raise(source, 1);
  source.Advise(Make("a"));
  source.Advise(Make("b"));
  EXPECT_FALSE(source.IsEmpty());
  Raise(source, 2);
  EXPECT_EQ(log_, (Log{"a 2", "b 2"}));
}

TEST_F(EventSourceTest, CallsASinkOncePerConnection) {
  Source source;
  const auto sink = Make("a");
  const auto first = source.Advise(sink);
  source.Advise(sink);
  Raise(source, 1);
  source.Unadvise(first);
  Raise(source, 2);
  EXPECT_EQ(log_, (Log{"a 1", "a 1", "a 2"}));
}

TEST_F(EventSourceTest, NeverUsesACookieAgain) {
  Source source;
  std::set<std::int32_t> cookies;
  for (int i = 0; i < 100; ++i) {
    const std::int32_t cookie = source.Advise(Make("s"));
    EXPECT_GT(cookie, 0);
    EXPECT_TRUE(cookies.insert(cookie).second) << cookie;
    if (i % 3 == 0)
      source.UnadviseAll();
    else
      EXPECT_TRUE(source.Unadvise(cookie));
  }
  EXPECT_EQ(cookies.size(), 100U);
}

TEST_F(EventSourceTest, ListsItsSinksWithTheirCookiesInOrderOfConnection) {
  Source source;
  const auto first = Make("a");
  const auto third = Make("c");
  const auto one = source.Advise(first);
  const auto two = source.Advise(Make("b"));
  const auto three = source.Advise(third);
  source.Unadvise(two);
  std::vector<std::pair<std::int32_t, std::shared_ptr<Sink>>> listed;
  source.Visit(
      [&](std::int32_t cookie, const std::shared_ptr<Sink>& sink) { listed.emplace_back(cookie, sink); });
  EXPECT_EQ(listed,
            (std::vector<std::pair<std::int32_t, std::shared_ptr<Sink>>>{{one, first}, {three, third}}));
}

TEST_F(EventSourceTest, RefusesACookieThatIsNotConnected) {
  Source source;
  const auto cookie = source.Advise(Make("a"));
  EXPECT_FALSE(source.Unadvise(0));
  EXPECT_FALSE(source.Unadvise(-1));
  EXPECT_FALSE(source.Unadvise(cookie + 1));
  EXPECT_TRUE(source.Unadvise(cookie));
  EXPECT_FALSE(source.Unadvise(cookie));
  EXPECT_EQ(log_, Log{"a ends"});
}

TEST_F(EventSourceTest, HoldsASinkUntilItIsWithdrawn) {
  auto source = std::make_unique<Source>();
  const auto a = source->Advise(Make("a"));
  source->Advise(Make("b"));
  source->Advise(Make("c"));
  EXPECT_EQ(log_, Log{});
  source->Unadvise(a);
  EXPECT_EQ(log_, Log{"a ends"});
  source.reset();
  EXPECT_EQ(log_, (Log{"a ends", "b ends", "c ends"}));
}

TEST_F(EventSourceTest, LeavesOutASinkThatWasWithdrawnBeforeItsTurn) {
  Source source;
  std::int32_t b = 0;
  source.Advise(Make("a", [&] { source.Unadvise(b); }));
  b = source.Advise(Make("b"));
  source.Advise(Make("c"));
  Raise(source, 1);
  // b is let go when the raising is over: nothing ends below a caller that walks over it.
  EXPECT_EQ(log_, (Log{"a 1", "c 1", "b ends"}));
}

TEST_F(EventSourceTest, LetsASinkWithdrawItself) {
  Source source;
  std::int32_t a = 0;
  a = source.Advise(Make("a", [&] { source.Unadvise(a); }));
  source.Advise(Make("b"));
  Raise(source, 1);
  Raise(source, 2);
  EXPECT_EQ(log_, (Log{"a 1", "b 1", "a ends", "b 2"}));
}

TEST_F(EventSourceTest, LetsASinkWithdrawAll) {
  Source source;
  source.Advise(Make("a", [&] { source.UnadviseAll(); }));
  source.Advise(Make("b"));
  Raise(source, 1);
  EXPECT_TRUE(source.IsEmpty());
  EXPECT_EQ(log_, (Log{"a 1", "a ends", "b ends"}));
}

TEST_F(EventSourceTest, TellsASinkThatConnectsDuringAnEventTheNextOneOnly) {
  Source source;
  bool isConnected = false;
  source.Advise(Make("a", [&] {
    if (!std::exchange(isConnected, true)) source.Advise(Make("b"));
  }));
  Raise(source, 1);
  Raise(source, 2);
  EXPECT_EQ(log_, (Log{"a 1", "a 2", "b 2"}));
}

TEST_F(EventSourceTest, GoesOnAfterASinkThatThrows) {
  Source source;
  source.Advise(Make("a", [] { throw std::runtime_error("in the handler"); }));
  source.Advise(Make("b", [] { throw 42; }));
  source.Advise(Make("c"));
  EXPECT_NO_THROW(Raise(source, 1));
  Raise(source, 2);
  EXPECT_EQ(log_, (Log{"a 1", "b 1", "c 1", "a 2", "b 2", "c 2"}));
}

TEST_F(EventSourceTest, CanBeRaisedFromWithinAnEvent) {
  Source source;
  int depth = 0;
  source.Advise(Make("a", [&] {
    if (depth++ == 0) Raise(source, 2);
  }));
  source.Advise(Make("b"));
  Raise(source, 1);
  EXPECT_EQ(log_, (Log{"a 1", "a 2", "b 2", "b 1"}));
}

TEST_F(EventSourceTest, AllowsASinkToReleaseTheObjectThatRaises) {
  struct Owner {
    Source source;
  };
  auto client = std::make_shared<Owner>();
  const std::weak_ptr<Owner> watch = client;
  client->source.Advise(Make("a", [&] { client.reset(); }));
  client->source.Advise(Make("b"));
  {
    const auto held = client;  // as the contract asks of whoever raises
    Raise(held->source, 1);
    EXPECT_EQ(log_, (Log{"a 1", "b 1"}));
  }
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(log_, (Log{"a 1", "b 1", "a ends", "b ends"}));
}

TEST_F(EventSourceTest, IsWholeWhenTheEndOfASinkCallsBackIn) {
  auto source = std::make_unique<Source>();
  const auto callBack = [&] {
    EXPECT_TRUE(source->IsEmpty());
    EXPECT_FALSE(source->Unadvise(1));
    source->UnadviseAll();
  };
  const auto a = source->Advise(Make("a", {}, callBack));
  source->Unadvise(a);
  source->Advise(Make("b", {}, callBack));
  source->UnadviseAll();
  Source* const dying = source.get();
  source->Advise(Make("c", {}, [dying] {
    EXPECT_TRUE(dying->IsEmpty());
    dying->UnadviseAll();
  }));
  source->Advise(Make("d", {}, [dying] { EXPECT_TRUE(dying->IsEmpty()); }));
  source.reset();
  EXPECT_EQ(log_, (Log{"a ends", "b ends", "c ends", "d ends"}));
}

}  // namespace
}  // namespace orvo
