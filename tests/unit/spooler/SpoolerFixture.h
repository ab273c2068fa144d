// A spooler by itself in virtual time: a scripted driver, fakes of the group and the item, and one journal of
// everything that happens, in its order.
#pragma once

#include "errors/AutomationError.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "spooler/DataRequests.h"
#include "support/EventLog.h"
#include "support/Plant.h"
#include "support/ScriptedDriver.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace orvo::testing {

inline const std::string NotSet = "91: Object variable or With block variable not set";

// Addresses are ten times the handle, every item is one word long; questions with an order are in the journal.
class FakeGroup final : public RequestGroup {
 public:
  explicit FakeGroup(Log& journal) : journal_(journal) { ++alive; }
  ~FakeGroup() override {
    --alive;
    if (atEnd) atEnd();
  }

  static inline int alive = 0;
  std::function<void()> atEnd;
  std::int32_t groupId = 7;
  SafeArray<std::uint8_t> buffer{1, 2, 3};
  std::int32_t itemCount = 3;
  bool defined = true;
  // Run inside the operation of that name; may throw.
  Handlers during;

  SafeArray<double> CompileVariable(const SafeArray<std::int32_t>& Handles) override {
    Called("CompileVariable", "(" + LogText(Handles) + ")");
    SafeArray<double> addresses;
    for (const std::int32_t handle : Handles.View())
      addresses.Append(handle * 10.0);
    return addresses;
  }
  SafeArray<std::int16_t> GetDimension(const SafeArray<std::int32_t>& Handles) override {
    Called("GetDimension", "(" + LogText(Handles) + ")");
    return SafeArray<std::int16_t>(Handles.Size(), 0, std::int16_t{1});
  }
  std::int32_t GroupId() const override { return groupId; }
  SafeArray<std::uint8_t> CompiledBuffer() const override { return buffer; }
  bool EnsureDefined() override {
    Called("EnsureDefined");
    return defined;
  }
  std::int32_t ItemCount() const override {
    Run("ItemCount");
    return itemCount;
  }
  void PutLastUseTick(std::uint32_t tick) override {
    Called("PutLastUseTick", "(" + std::to_string(tick) + ")");
  }
  void RefreshDropped() override { Called("RefreshDropped"); }

 private:
  void Called(const std::string& operation, const std::string& arguments = "") {
    journal_.push_back(operation + arguments);
    Run(operation);
  }
  void Run(const std::string& operation) const {
    const auto found = during.find(operation);
    if (found != during.end()) found->second();
  }
  Log& journal_;
};

class FakeItem final : public RequestItem {
 public:
  FakeItem() { ++alive; }
  ~FakeItem() override { --alive; }
  static inline int alive = 0;
  bool tooLong = false;

  SafeArray<double> CompiledAddressArray() const override { return {55}; }
  SafeArray<std::int16_t> DimensionArray() const override {
    if (tooLong) RaiseRuntimeError(RuntimeError::Overflow);
    return {2};
  }
};

class SpoolerFixture : public ::testing::Test {
 protected:
  using ms = std::chrono::milliseconds;

  explicit SpoolerFixture(const CivilTime& localTime = SimulatedPlatform::DefaultStart) : platform(localTime) {
    spooler->PutDataComm(driver);
    spooler->Events().Advise(events);
    timer.RegisterSpooler(spooler);
    journal.clear();
  }
  ~SpoolerFixture() override = default;

  void TearDown() override {
    driver->during.clear();
    events->handlers.clear();
    events->delivered.clear();
    spooler.reset();
    group.reset();
    item.reset();
    EXPECT_EQ(AutomationObject::LiveCount(), liveBefore_);
    EXPECT_EQ(FakeGroup::alive, 0);
    EXPECT_EQ(FakeItem::alive, 0);
    EXPECT_EQ(platform.TimersAlive(), 0U);
  }

  // A request as a builder fills it: the handles 1 and 2, for writes the values 5 and 6 or the buffer 8, 9.
  std::shared_ptr<DataRequest> Make(std::int32_t kind) const {
    auto request = DataRequest::Create();
    request->PutRequestType(kind);
    request->PutReqGroup(group);
    if (kind == RT_ReadItemSync || kind == RT_WriteItemSync) request->PutReqItem(item);
    request->SetHandles({1, 2});
    request->SetErrors({0, 0});
    if (kind == RT_WriteGroupItemsAsync || kind == RT_WriteGroupItemsSync || kind == RT_WriteItemSync)
      request->SetDATAValues({std::int32_t{5}, std::int32_t{6}});
    if (kind == RT_WriteGroupAsync || kind == RT_WriteGroupSync) request->SetBuffer({8, 9});
    return request;
  }
  std::shared_ptr<DataRequest> Queue(std::int32_t kind) const {
    auto request = Make(kind);
    spooler->AddRequest(request);
    return request;
  }
  // A request that is sent and waits for the driver.
  std::shared_ptr<DataRequest> Send(std::int32_t kind) const {
    auto request = Queue(kind);
    spooler->ProcessNext();
    return request;
  }
  // Completes what is in flight.
  void Complete() const { driver->Sink().AsyncWriteGroupComplete(0); }
  // A request that waits for its delivery.
  std::shared_ptr<DataRequest> Finish(std::int32_t kind) const {
    auto request = Send(kind);
    Complete();
    return request;
  }
  // Delivers what is left, at most `most` times.
  void DeliverAll(int most = 20) const {
    for (int k = 0; k < most; ++k)
      spooler->DeliverNext();
  }
  Log TakeJournal() { return std::exchange(journal, {}); }
  ms TimeOf(const std::function<void()>& call) const {
    const ms start = platform.Now();
    call();
    return platform.Now() - start;
  }
  // What a call takes that found a lock held and broke it.
  static bool IsBrokenLock(ms duration) { return duration > ms(2000) && duration < ms(2200); }

 private:
  std::int64_t liveBefore_ = AutomationObject::LiveCount();

 protected:
  SimulatedPlatform platform;
  std::shared_ptr<ScriptedDriver> driver = std::make_shared<ScriptedDriver>();
  Log& journal = driver->log;
  std::shared_ptr<FakeGroup> group = std::make_shared<FakeGroup>(journal);
  std::shared_ptr<FakeItem> item = std::make_shared<FakeItem>();
  std::shared_ptr<SpoolerEventLog> events = std::make_shared<SpoolerEventLog>(journal);
  std::shared_ptr<DataRequests> spooler = DataRequests::Create(platform);
  modMonoSpooler& timer = platform.ModuleState<modMonoSpooler>();
};

}  // namespace orvo::testing
