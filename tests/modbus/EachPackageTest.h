// A test that runs with the server of each package.
#pragma once

#include "modbus/DriverScene.h"
#include "modbus/ForeignServer.h"

#include <gtest/gtest.h>

namespace orvo::modbus_test {

using modbus::Area;

class EachPackageTest : public ::testing::TestWithParam<Package> {
 protected:
  void SetUp() override {
    const std::string reason = MissingReason(GetParam());
    if (!reason.empty()) GTEST_SKIP() << reason;
  }
};

inline std::string PackageName(const ::testing::TestParamInfo<Package>& package) {
  return package.param == Package::Pymodbus ? "Pymodbus" : "ModbusSerial";
}

}  // namespace orvo::modbus_test
