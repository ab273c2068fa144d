// The device object of a COM driver that offers dispatch only, called by name.
#pragma once

#include "com/NamedObject.h"
#include "spooler/CommunicationDriver.h"

#include <string>

namespace orvo::com {

class DispatchDevice final : public DeviceObject {
 public:
  explicit DispatchDevice(ComPtr<IDispatch> device) : device_(std::move(device)) {}

  // The three results are passed by reference as variants that hold the number as it was, and taken from there
  // in any numeric kind.
  bool CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                     std::int32_t& ItemType) override;
  void ExtractValue(double CompiledAddress, Variant& Value, std::int32_t Reserved) override;
  // A device without this operation accepts.
  void ItemLoaded(const std::string& ItemId, double CompiledAddress, std::int32_t WordLength,
                  std::int32_t ItemType) override;

 private:
  NamedObject device_;
};

}  // namespace orvo::com
