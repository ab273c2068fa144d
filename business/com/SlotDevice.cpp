#include "com/SlotDevice.h"

#include "com/SlotCall.h"
#include "com/VariantCodec.h"

namespace orvo::com {

bool SlotDevice::CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                               std::int32_t& ItemType) {
  const Bstr identifier(ItemId);
  double address = CompiledAddress;
  LONG length = WordLength;
  LONG type = ItemType;
  VARIANT_BOOL valid = VARIANT_FALSE;
  CallSlot(device_, &Device::CompileItemId, identifier.Get(), &address, &length, &type, &valid);
  CompiledAddress = address;
  WordLength = length;
  ItemType = type;
  return valid != VARIANT_FALSE;
}

void SlotDevice::ExtractValue(double CompiledAddress, Variant& Value, std::int32_t Reserved) {
  OwnedVariant value;
  PutFresh(Value, value.Get());
  CallSlot(device_, &Device::ExtractValue, CompiledAddress, value.Get(), Reserved);
  Value = ValueOf(value.Value());
}

void SlotDevice::ItemLoaded(const std::string& ItemId, double CompiledAddress, std::int32_t WordLength,
                            std::int32_t ItemType) {
  const Bstr identifier(ItemId);
  const HRESULT result =
      TrySlot(device_, &Device::ItemLoaded, identifier.Get(), CompiledAddress, WordLength, ItemType);
  if (result != E_NOTIMPL) Require(result);
}

}  // namespace orvo::com
