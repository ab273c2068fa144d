// Items as they stand on the command line.
#pragma once

#include "values/Variant.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace orvo {
class KELDataItem;
}

namespace orvo::client {

// ID, ID:signed or ID:bcd; each may be given a name: NAME=ID.
struct ItemArgument {
  std::string name;  // empty: the server gives one
  std::string id;
  bool isSigned = false;
  bool isBCD = false;

  // UsageError for any other form.
  static ItemArgument Parse(std::string_view text);
};

// ITEM=VALUE.
struct Assignment {
  ItemArgument item;
  std::string value;

  // UsageError for any other form.
  static Assignment Parse(std::string_view text);
  // The value as the item takes it: a number where it is one, the bytes of a raw item. UsageError for bytes
  // that are not hexadecimal; whether the item takes the value is the server's to say.
  Variant ValueFor(const KELDataItem& item) const;
};

// The identifier of an item with its option, as tables show it: "WO104 signed".
std::string IdentifierText(const KELDataItem& item);
// "integer", "string", "floating point", "raw".
const char* ItemTypeText(std::int32_t itemType);

}  // namespace orvo::client
