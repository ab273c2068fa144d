// The device object of a COM driver that offers IDeviceObject, called by its slots.
#pragma once

#include "IORVOBusiness_h.h"
#include "com/ComPtr.h"
#include "spooler/CommunicationDriver.h"

#include <string>

namespace orvo::com {

class SlotDevice final : public DeviceObject {
 public:
  explicit SlotDevice(ComPtr<::IDeviceObject> device) : device_(std::move(device)) {}

  bool CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                     std::int32_t& ItemType) override;
  void ExtractValue(double CompiledAddress, Variant& Value, std::int32_t Reserved) override;
  // A device that answers E_NOTIMPL has no opinion, and so accepts.
  void ItemLoaded(const std::string& ItemId, double CompiledAddress, std::int32_t WordLength,
                  std::int32_t ItemType) override;

 private:
  using Device = ::IDeviceObject;

  const ComPtr<Device> device_;
};

}  // namespace orvo::com
