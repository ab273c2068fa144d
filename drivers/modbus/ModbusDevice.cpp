#include "modbus/ModbusDevice.h"

#include "errors/AutomationError.h"
#include "modbus/Complaint.h"
#include "modbus/Identifier.h"
#include "modbus/ItemError.h"
#include "modbus/ItemValue.h"
#include "values/VariantConversion.h"

#include <cmath>
#include <optional>

namespace orvo::modbus {

namespace {

// The bit or byte whose own word in a group's image holds `number`; nothing when no word can.
std::optional<std::int16_t> LowestOfImage(ItemKind kind, double number) {
  if (!(std::abs(number) <= 4294967295.0) || number != std::trunc(number)) return std::nullopt;
  return static_cast<std::int16_t>(static_cast<std::int64_t>(number) & (kind == ItemKind::Bit ? 1 : 0xFF));
}

}  // namespace

bool ModbusDevice::CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                                 std::int32_t& ItemType) {
  const Identifier identifier = Identifier::Parse(ItemId, blocks_);
  CompiledAddress = identifier.address.Encode();
  WordLength = identifier.wordLength;
  ItemType = identifier.itemType;
  return true;
}

void ModbusDevice::ExtractValue(double CompiledAddress, Variant& Value, std::int32_t /*Reserved*/) {
  const std::optional<Address> item = Address::Decode(CompiledAddress);
  if (!item) throw AutomationError(BadValue, "The compiled address names no item of a Modbus device");
  if (item->kind != ItemKind::Bit && item->kind != ItemKind::Byte) return;
  if (Value.Is(VariantKind::I2)) {
    Value = BitOrByteOfWord(*item, static_cast<std::uint16_t>(Value.Get<std::int16_t>()));
  } else if (Value.Is(VariantKind::R8)) {
    if (const auto own = LowestOfImage(item->kind, Value.Get<double>())) Value = *own;
  }
}

void ModbusDevice::ItemLoaded(const std::string& ItemId, double CompiledAddress, std::int32_t WordLength,
                              std::int32_t ItemType) {
  const Identifier identifier = Identifier::Parse(ItemId, blocks_);
  const Complaint complaint("Item identifier", ItemId);
  if (!Address::Decode(CompiledAddress))
    complaint.Raise("the saved compiled address " + ToText(CompiledAddress) + " names no item");
  if (CompiledAddress != identifier.address.Encode())
    complaint.Raise("the saved compiled address " + ToText(CompiledAddress) +
                    " is another item's, here it is " + ToText(identifier.address.Encode()));
  if (ItemType != identifier.itemType)
    complaint.Raise("the saved type " + std::to_string(ItemType) + " is not its own, " +
                    std::to_string(identifier.itemType));
  if (!identifier.address.Place(WordLength))
    complaint.Raise("the saved length " + std::to_string(WordLength) + " (in words) has no place there");
}

}  // namespace orvo::modbus
