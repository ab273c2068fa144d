#include "com/DispatchDevice.h"

#include "com/VariantCodec.h"
#include "values/VariantConversion.h"

namespace orvo::com {

bool DispatchDevice::CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                                   std::int32_t& ItemType) {
  OwnedVariant address;
  OwnedVariant length;
  OwnedVariant type;
  PutFresh(CompiledAddress, address.Get());
  PutFresh(WordLength, length.Get());
  PutFresh(ItemType, type.Get());
  NamedObject::Arguments arguments;
  arguments.Add(Variant(ItemId))
      .AddReference(*address.Get())
      .AddReference(*length.Get())
      .AddReference(*type.Get());
  if (!device_.AskAs(ToBoolean, L"CompileItemId", arguments)) return false;
  const double compiledAddress = ToR8(ValueOf(address.Value()));
  const std::int32_t wordLength = ToI4(ValueOf(length.Value()));
  ItemType = ToI4(ValueOf(type.Value()));
  CompiledAddress = compiledAddress;
  WordLength = wordLength;
  return true;
}

void DispatchDevice::ExtractValue(double CompiledAddress, Variant& Value, std::int32_t Reserved) {
  OwnedVariant value;
  PutFresh(Value, value.Get());
  NamedObject::Arguments arguments;
  arguments.Add(CompiledAddress).AddReference(*value.Get()).Add(Reserved);
  device_.Do(L"ExtractValue", arguments);
  Value = ValueOf(value.Value());
}

void DispatchDevice::ItemLoaded(const std::string& ItemId, double CompiledAddress, std::int32_t WordLength,
                                std::int32_t ItemType) {
  if (!device_.Has(L"ItemLoaded")) return;
  NamedObject::Arguments arguments;
  arguments.Add(Variant(ItemId)).Add(CompiledAddress).Add(WordLength).Add(ItemType);
  device_.Do(L"ItemLoaded", arguments);
}

}  // namespace orvo::com
