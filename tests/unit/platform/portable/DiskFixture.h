// A folder of the disk for one test, and a user for whom something can be forbidden.
#pragma once

#include "platform/portable/DiskFiles.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace orvo {

class Disk : public ::testing::Test {
 protected:
  Disk() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvo-files-XXXXXX").string();
    folder_ = ::mkdtemp(pattern.data());
    std::filesystem::permissions(folder_, static_cast<std::filesystem::perms>(0755));
  }
  ~Disk() override { std::filesystem::remove_all(folder_); }

  // The name of a file in the folder of the test.
  std::string Path(const std::string& name) const { return folder_ + "/" + name; }
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(std::filesystem::path(Path(name)), std::ios::binary) << content;
    return Path(name);
  }

  // What is in the folder, sorted.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
  // The permissions of a file as a number, for example 0640.
  unsigned Mode(const std::string& name) const {
    return static_cast<unsigned>(std::filesystem::status(Path(name)).permissions());
  }

  std::string folder_;
  DiskFiles files_;
};

// The rights of an ordinary user while it lives: for the superuser nothing is forbidden.
class OrdinaryUser {
 public:
  OrdinaryUser() : own_(::geteuid()) {
    if (own_ == 0) changed_ = ::seteuid(65534) == 0;
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;
  ~OrdinaryUser() {
    if (changed_ && ::seteuid(own_) != 0) std::abort();
  }

  // Whether something can be forbidden now.
  static bool Lives() { return ::geteuid() != 0; }

 private:
  uid_t own_;
  bool changed_ = false;
};

}  // namespace orvo
