#include "com/DeviceExport.h"

#include "com/Arguments.h"

namespace orvo::com {

DeviceExport::DeviceExport(std::shared_ptr<DeviceObject> device, const char* source)
    : DispatchObject(source), device_(std::move(device)) {}

HRESULT DeviceExport::CompileItemId(BSTR ItemId, double* CompiledAddress, LONG* WordLength, LONG* ItemType,
                                    VARIANT_BOOL* Result) {
  return Answer(Result, [&] {
    double address = Referred(CompiledAddress);
    std::int32_t length = Referred(WordLength);
    std::int32_t type = Referred(ItemType);
    const bool valid = device_->CompileItemId(TextOf(ItemId), address, length, type);
    *CompiledAddress = address;
    *WordLength = length;
    *ItemType = type;
    return valid;
  });
}

HRESULT DeviceExport::ExtractValue(double CompiledAddress, VARIANT* Value, LONG Reserved) {
  return Call([&] {
    Variant value = ValueOf(Referred(Value));
    device_->ExtractValue(CompiledAddress, value, Reserved);
    PutVariable(value, Value);
  });
}

HRESULT DeviceExport::ItemLoaded(BSTR ItemId, double CompiledAddress, LONG WordLength, LONG ItemType) {
  return Call([&] { device_->ItemLoaded(TextOf(ItemId), CompiledAddress, WordLength, ItemType); });
}

}  // namespace orvo::com
