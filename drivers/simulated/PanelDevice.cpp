#include "simulated/PanelDevice.h"

#include "errors/AutomationError.h"
#include "simulated/PanelAddress.h"
#include "simulated/PanelErrors.h"
#include "simulated/PanelItem.h"

#include <cmath>
#include <optional>

namespace orvo {

namespace {

// The bit or byte whose own word in a group's image holds `number`; nothing when no word can.
std::optional<std::int16_t> FromGroupImage(PanelItemKind kind, double number) {
  if (!(std::abs(number) <= 4294967295.0) || number != std::trunc(number)) return std::nullopt;
  return static_cast<std::int16_t>(static_cast<std::int64_t>(number) & (kind == PanelItemKind::Bit ? 1 : 0xFF));
}

}  // namespace

bool PanelDevice::CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                                std::int32_t& ItemType) {
  const PanelIdentifier identifier = PanelIdentifier::Parse(ItemId);
  if (faults_ && faults_->RefusesItem(identifier.address.Encode())) return false;
  CompiledAddress = identifier.address.Encode();
  WordLength = identifier.wordLength;
  ItemType = identifier.itemType;
  return true;
}

void PanelDevice::ExtractValue(double CompiledAddress, Variant& Value, std::int32_t /*Reserved*/) {
  const std::optional<PanelAddress> item = PanelAddress::Decode(CompiledAddress);
  if (!item) throw AutomationError(PanelBadValue, "The compiled address names no item of the panel");
  if (item->kind != PanelItemKind::Bit && item->kind != PanelItemKind::Byte) return;
  if (Value.Is(VariantKind::I2)) {
    Value = BitOrByteOfWord(*item, static_cast<std::uint16_t>(Value.Get<std::int16_t>()));
  } else if (Value.Is(VariantKind::R8)) {
    if (const auto own = FromGroupImage(item->kind, Value.Get<double>())) Value = *own;
  }
}

}  // namespace orvo
