// A configured server and its configuration files.
#pragma once

#include "unit/server/ServerFixture.h"

#include <string>

namespace orvo::testing {

class ConfigurationTest : public ServerTest {
 protected:
  // Status 2 with the scripted driver.
  void SetUp() override { BringTo(StatusStopped); }

  void Put(const std::string& text) { plant->files.PutFile("set.ini", text); }
  std::string Saved() {
    Server().SaveConfigurationToFile("saved.ini");
    return plant->files.ReadWhole("saved.ini");
  }
  // With bIgnoreErrors absent, and false.
  void Load() { Server().LoadConfigurationFromFile("set.ini"); }
  std::string LoadStrictly() {
    return ErrorOf([&] { Server().LoadConfigurationFromFile("set.ini", Variant(false)); });
  }
  std::shared_ptr<KELDataGroup> Group(const std::string& name) {
    return Server().KELDataGroups()->ItemByName(name);
  }
  std::shared_ptr<KELDataItem> Item(const std::string& group, const std::string& item) {
    return Group(group)->KELDataItems()->ItemByName(item);
  }
};

inline constexpr const char* Parameters = "[Communication Parameters]\n";

}  // namespace orvo::testing
