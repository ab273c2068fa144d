// What the tests of the server have in common: a plant that is gone, with every object of it, at the end.
#pragma once

#include "errors/modConstant.h"
#include "errors/modIDataErrors.h"
#include "support/Plant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

namespace orvo::testing {

class ServerTest : public ::testing::Test {
 protected:
  void TearDown() override {
    plant.reset();
    EXPECT_EQ(AutomationObject::LiveCount(), before_);
  }

 private:
  const std::int64_t before_ = AutomationObject::LiveCount();

 protected:
  KELDataServer& Server() { return *plant->server; }
  ScriptedDriver& Driver() { return *plant->driver; }
  modMonoSpooler& TimerModule() { return plant->platform.ModuleState<modMonoSpooler>(); }
  // Starts over at another time of day.
  void StartAt(const CivilTime& localTime) {
    plant.reset();
    plant = std::make_unique<Plant>(localTime);
  }
  // Brings the server to the status with a driver: 1 (driver file only), 2 or 3. The driver's log is empty
  // then.
  void BringTo(std::int32_t status) {
    Server().SetDriverConfigurationFile("drivers.ini");
    if (status >= StatusStopped) Server().PutDeviceType(2);
    if (status >= StatusRunning) Server().OpenCommunication();
    Driver().log.clear();
    ASSERT_EQ(Server().ServerStatus(), status);
  }

  std::unique_ptr<Plant> plant = std::make_unique<Plant>();
};

inline std::string Own(DataError code, const std::string& detail) {
  return std::to_string(static_cast<std::int32_t>(code)) + ": " + std::string(FindDataError(code)->prefix) +
         detail;
}

}  // namespace orvo::testing
