// The files of the disk, and one that exists in the program only: the driver configuration file of the built-in
// panel.
#pragma once

#include "platform/portable/DiskFiles.h"

#include <memory>
#include <string>
#include <utility>

namespace orvo::client {

class BuiltInFiles final : public Files {
 public:
  static constexpr const char* DriverFile = "(the built-in simulated panel)";

  void SetDriverFile(std::string text) { driverFile_ = std::move(text); }

  std::string ReadWhole(const std::string& fileName) override {
    return fileName == DriverFile ? driverFile_ : disk_.ReadWhole(fileName);
  }
  std::string Resolve(const std::string& fileName) override { return disk_.Resolve(fileName); }
  std::unique_ptr<Output> Create(const std::string& fileName) override { return disk_.Create(fileName); }
  void Rename(const std::string& from, const std::string& to) override { disk_.Rename(from, to); }
  void Remove(const std::string& fileName) noexcept override { disk_.Remove(fileName); }

 private:
  DiskFiles disk_;
  std::string driverFile_;
};

}  // namespace orvo::client
