// The device object of the scripted driver.
#pragma once

#include "spooler/CommunicationDriver.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace orvo::testing {

class ScriptedDevice : public DeviceObject {
 public:
  // One line per call: "CompileItemId(WO100)", "ExtractValue(1)".
  std::vector<std::string> log;
  // Called instead of the default when set; may throw.
  std::function<bool(const std::string& itemId, double& address, std::int32_t& wordLength,
                     std::int32_t& itemType)>
      compile;
  std::function<void(double address, Variant& value)> extract;
  std::function<void(const std::string& itemId, double address, std::int32_t wordLength, std::int32_t itemType)>
      loaded;

  // By default accepts every identifier of at least three characters that begins with WO, BY, BI (type 0, one
  // word), DW (type 0, two words), FL (type 2, two words), ST (type 1) or RA (type 3); the last two hold the
  // bytes that the digits from the 8th and the 5th character on count, and one word for each two bytes begun.
  // The address is a running number from 1, the same for the same identifier.
  bool CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                     std::int32_t& ItemType) override;
  // By default leaves the value alone.
  void ExtractValue(double CompiledAddress, Variant& Value, std::int32_t Reserved) override;
  // By default accepts. Not logged.
  void ItemLoaded(const std::string& ItemId, double CompiledAddress, std::int32_t WordLength,
                  std::int32_t ItemType) override;

 private:
  std::map<std::string, double> addresses_;
};

}  // namespace orvo::testing
