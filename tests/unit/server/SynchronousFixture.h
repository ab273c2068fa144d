// An open server with one group of two items, and the outcome of a synchronous read as one line.
#pragma once

#include "unit/server/ServerFixture.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace orvo::testing {

class SynchronousTest : public ServerTest {
 protected:
  // The spooler's first tick after this sends, the second delivers, and so on in turn.
  void Open() {
    BringTo(2);
    group = plant->AddGroup({"WO100", "WO102"});
    Server().OpenCommunication();
    Driver().log.clear();
  }
  void TearDown() override {
    group.reset();
    ServerTest::TearDown();
  }
  // "values errors duration in ms" of a read of both items.
  std::string Read() {
    const auto begin = plant->platform.Now();
    SafeArray<Variant> values;
    SafeArray<std::int32_t> errors;
    group->SyncRead({1, 2}, values, errors);
    return LogText(values) + " " + LogText(errors) + " " +
           std::to_string((plant->platform.Now() - begin).count());
  }
  // What the server makes of a read, before the group does anything with it.
  std::shared_ptr<DataRequest> RunRead() { return Server().RunRead(*group, {1, 2}); }
  void At(std::chrono::milliseconds delay, const std::function<void()>& action) {
    plant->platform.SetTimer(delay, [this, action](std::int32_t timerId) {
      plant->platform.KillTimer(timerId);
      action();
    });
  }
  void Answer(std::uint16_t first, std::uint16_t second) {
    Driver().Sink().AsyncReadComplete({Word(first), Word(second)}, {0, 0});
  }
  bool Pending() { return TimerModule().SyncRequestPending; }

  std::shared_ptr<KELDataGroup> group;
};

inline const std::string ReadOfBoth = "ReadItems(addresses=[1,2],dimensions=[1,1])";

}  // namespace orvo::testing
