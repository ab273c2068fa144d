// What the examples of docs/clients.md stand on: real time, real files in a folder of their own, the simulated
// panel.
#pragma once

#include "platform/portable/DiskFiles.h"
#include "platform/portable/PortablePlatform.h"
#include "server/KELDataServer.h"
#include "simulated/SimulatedPanel.h"
#include "values/VariantConversion.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

namespace orvo::testing {

using namespace std::chrono_literals;

class Guide : public ::testing::Test {
 protected:
  void SetUp() override {
    before_ = std::filesystem::current_path();
    folder_ = std::filesystem::temp_directory_path() /
              ("orvo-guide-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) +
               "-" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
    std::filesystem::create_directories(folder_);
    std::filesystem::current_path(folder_);
    std::ofstream("drivers.ini") << "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n2=PanelB\n";
    std::ofstream("panel.fw") << std::string(5000, 'f');
    RegisterSimulatedPanel(drivers);
  }
  void TearDown() override {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(folder_);
  }

  PortablePlatform platform;
  DiskFiles files;
  DriverRegistry drivers;

 private:
  std::filesystem::path before_;
  std::filesystem::path folder_;
};

}  // namespace orvo::testing
