#include "support/ScriptedDevice.h"

#include <charconv>
#include <string_view>

namespace orvo::testing {

namespace {

std::int32_t WordsOfBytes(std::string_view itemId, std::size_t position) {
  if (itemId.size() <= position) return 0;
  std::int32_t bytes = 0;
  std::from_chars(itemId.data() + position, itemId.data() + itemId.size(), bytes);
  return (bytes + 1) / 2;
}

}  // namespace

bool ScriptedDevice::CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                                   std::int32_t& ItemType) {
  log.push_back("CompileItemId(" + ItemId + ")");
  if (compile) return compile(ItemId, CompiledAddress, WordLength, ItemType);
  if (ItemId.size() < 3) return false;
  const std::string_view code = std::string_view(ItemId).substr(0, 2);
  if (code == "WO" || code == "BY" || code == "BI") {
    ItemType = 0;
    WordLength = 1;
  } else if (code == "DW" || code == "FL") {
    ItemType = code == "FL" ? 2 : 0;
    WordLength = 2;
  } else if (code == "ST") {
    ItemType = 1;
    WordLength = WordsOfBytes(ItemId, 7);
  } else if (code == "RA") {
    ItemType = 3;
    WordLength = WordsOfBytes(ItemId, 4);
  } else {
    return false;
  }
  const double next = static_cast<double>(addresses_.size()) + 1;
  CompiledAddress = addresses_.try_emplace(ItemId, next).first->second;
  return true;
}

void ScriptedDevice::ExtractValue(double CompiledAddress, Variant& Value, std::int32_t Reserved) {
  log.push_back("ExtractValue(" + std::to_string(static_cast<std::int64_t>(CompiledAddress)) +
                (Reserved == 0 ? ")" : "," + std::to_string(Reserved) + ")"));
  if (extract) extract(CompiledAddress, Value);
}

void ScriptedDevice::ItemLoaded(const std::string& ItemId, double CompiledAddress, std::int32_t WordLength,
                                std::int32_t ItemType) {
  if (loaded) loaded(ItemId, CompiledAddress, WordLength, ItemType);
}

}  // namespace orvo::testing
