// What a driver is tested with: names that it knows, names that it must not know, and how long to wait.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvo::kit {

struct DriverTestPlan {
  // A value that may be written to the item. Integer and floating-point items: a decimal number; strings: the
  // text; raw items: bytes as pairs of hexadecimal digits, blanks between them do not count.
  struct Write {
    std::string item;
    std::string value;
  };

  std::string deviceKind;               // for CreateDevice
  std::vector<std::string> items;       // identifiers that can be read without error; at least one
  std::vector<std::string> wrongItems;  // texts that are no identifiers
  std::vector<Write> writes;            // without any nothing is ever written
  std::optional<std::int32_t> networkType;
  std::int32_t groupId = 1;  // of the group that is transferred as a whole
  std::string firmwareFile;  // empty: no firmware is downloaded
  std::string projectFile;   // empty: no project is downloaded

  std::chrono::milliseconds timeout{5000};  // a request is answered within this
  std::chrono::milliseconds quiet{500};     // how long to look out for what must not come
};

}  // namespace orvo::kit
