// A device object of the core as a COM object.
#pragma once

#include "IORVOBusiness_h.h"
#include "com/DispatchObject.h"
#include "spooler/CommunicationDriver.h"

#include <memory>

namespace orvo::com {

class DeviceExport final : public DispatchObject<::IDeviceObject> {
 public:
  // `source` names the device's driver in error information.
  DeviceExport(std::shared_ptr<DeviceObject> device, const char* source);

  // By-reference arguments keep what they had after a failure.
  STDMETHODIMP CompileItemId(BSTR ItemId, double* CompiledAddress, LONG* WordLength, LONG* ItemType,
                             VARIANT_BOOL* Result) override;
  STDMETHODIMP ExtractValue(double CompiledAddress, VARIANT* Value, LONG Reserved) override;
  STDMETHODIMP ItemLoaded(BSTR ItemId, double CompiledAddress, LONG WordLength, LONG ItemType) override;

 private:
  const std::shared_ptr<DeviceObject> device_;
};

}  // namespace orvo::com
