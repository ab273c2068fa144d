// An open plant with one group "G" (handle 1) over a device that answers by itself, and a count of live objects
// that must come back to where it was.
#pragma once

#include "errors/modIDataErrors.h"
#include "support/AnsweringDevice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>

namespace orvo::testing {

// A value of 16 bits, as clients hand it over.
inline Variant Short(std::int16_t value) {
  return {value};
}

using Handles = SafeArray<std::int32_t>;
using Values = SafeArray<Variant>;

inline Handles Based(std::int32_t lowerBound, Handles handles) {
  handles.Rebase(lowerBound);
  return handles;
}
inline Values Based(std::int32_t lowerBound, Values values) {
  values.Rebase(lowerBound);
  return values;
}

class DataFixture : public ::testing::Test {
 protected:
  DataFixture() {
    plant->Configure();
    device.Serve(*plant);
  }
  // Lets go of everything; nothing may be left then.
  void TearDown() override {
    sink.reset();
    group.reset();
    plant.reset();
    EXPECT_EQ(AutomationObject::LiveCount(), liveBefore_);
  }

  // The group with these items, handles and compiled addresses 1, 2, 3..., subscribed; then communication
  // opens.
  void Start(std::initializer_list<const char*> itemIds = {"WO1", "WO2", "WO3"}) {
    AddGroup(itemIds);
    Open();
  }
  void AddGroup(std::initializer_list<const char*> itemIds) {
    group = plant->server->KELDataGroups()->Add("G");
    for (const char* itemId : itemIds)
      group->KELDataItems()->Add(itemId);
    group->PutSubscribed(true);
    sink = plant->Watch(*group);
  }
  void Open() {
    plant->server->OpenCommunication();
    Driver().log.clear();
    start_ = plant->platform.Now();
    startDate_ = plant->platform.LocalNow();
  }
  // The driver refuses the operation from now on, or takes it again.
  void Refuse(const std::string& operation) {
    Driver().during[operation] = [] { throw AutomationError(3, "line down"); };
  }
  void TakeAgain() { device.Serve(*plant); }
  // Words 11, 22, 33... at the addresses 1, 2, 3...
  void HoldElevens() {
    for (std::uint16_t address = 1; address < 10; ++address)
      device.values[address] = Word(static_cast<std::uint16_t>(address * 11));
  }

  ScriptedDriver& Driver() const { return *plant->driver; }
  ScriptedDevice& Compiler() const { return *plant->driver->LastDevice(); }
  std::shared_ptr<KELDataItem> Item(std::int32_t handle) const { return group->KELDataItems()->Item(handle); }
  // Milliseconds since communication was opened.
  std::int64_t Elapsed() const { return (plant->platform.Now() - start_).count(); }
  Log TakeEvents() { return std::exchange(plant->events, {}); }
  std::vector<std::string> TakeSent() { return std::exchange(Driver().log, {}); }

  // "I2:11 at 100 written": the device value, milliseconds from opening to the time stamp ("never" for the zero
  // date), whether a write was noted.
  std::string StateOf(std::int32_t handle) const {
    const std::shared_ptr<KELDataItem> item = Item(handle);
    const double days = item->TimeStamp().days;
    const std::string time =
        days == 0 ? "never" : "at " + std::to_string(std::llround((days - startDate_.days) * 86400000));
    return LogText(item->DATAValue()) + " " + time + (item->WriteDone() ? " written" : "");
  }
  std::vector<std::string> States() const {
    std::vector<std::string> states;
    for (const auto& item : group->KELDataItems()->NewEnum())
      states.push_back(StateOf(item->Handle()));
    return states;
  }

  // "[I2:11] [0]": values and errors of the call, or "number: description" of what it raised.
  std::string SyncRead(const Handles& handles) {
    Values values;
    Handles errors;
    const std::string raised = ErrorOf([&] { group->SyncRead(handles, values, errors); });
    return raised == "none" ? LogText(values) + " " + LogText(errors) : raised;
  }
  // "[1] [I2:11] [0]".
  std::string SyncReadAll() {
    Handles handles{77};
    Values values{Variant("old")};
    Handles errors{88};
    const std::string raised = ErrorOf([&] { group->SyncReadAll(handles, values, errors); });
    return raised == "none" ? LogText(handles) + " " + LogText(values) + " " + LogText(errors) : raised;
  }
  // "[0]".
  std::string SyncWrite(const Handles& handles, const Values& values) {
    Handles errors;
    const std::string raised = ErrorOf([&] { group->SyncWrite(handles, values, errors); });
    return raised == "none" ? LogText(errors) : raised;
  }
  std::string SyncWriteAll(const Handles& handles, const Values& values) {
    Handles errors;
    const std::string raised = ErrorOf([&] { group->SyncWriteAll(handles, values, errors); });
    return raised == "none" ? LogText(errors) : raised;
  }
  std::int32_t AsyncRead(const Handles& handles) {
    std::int32_t transactionId = -1;
    group->AsyncRead(handles, transactionId);
    return transactionId;
  }
  std::int32_t AsyncWrite(const Handles& handles, const Values& values) {
    std::int32_t transactionId = -1;
    group->AsyncWrite(handles, values, transactionId);
    return transactionId;
  }

 private:
  const std::int64_t liveBefore_ = AutomationObject::LiveCount();
  std::chrono::milliseconds start_{0};
  Date startDate_;

 protected:
  AnsweringDevice device;
  std::unique_ptr<Plant> plant = std::make_unique<Plant>();
  std::shared_ptr<KELDataGroup> group;
  std::shared_ptr<GroupEventLog> sink;
};

}  // namespace orvo::testing
