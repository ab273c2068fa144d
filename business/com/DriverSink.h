// The core's event sink as a COM object, for drivers: by slot and by name.
#pragma once

#include "IORVOBusiness_h.h"
#include "com/DispatchObject.h"
#include "spooler/IEventNotify.h"

#include <memory>

namespace orvo::com {

// What a driver that is called by slot gets as its sink: the spooler's own face where the sink leads to one,
// else an object around the sink. Null for null.
ComPtr<::IEventNotify> SinkBySlot(std::shared_ptr<orvo::IEventNotify> sink);
// What a driver that offers dispatch only gets. Null for null.
ComPtr<IDispatch> SinkByName(std::shared_ptr<orvo::IEventNotify> sink);

// An object around a sink; it keeps the sink. Both interfaces have the same operations.
class DriverSink final : public DispatchObject<::IEventNotifyDispatch, ::IEventNotify> {
 public:
  explicit DriverSink(std::shared_ptr<orvo::IEventNotify> sink);

  // Bytes may come as an array of numbers (ScriptBytes.h).
  STDMETHODIMP AsyncReadComplete(SAFEARRAY** DATAValues, SAFEARRAY** ItemErrors) override;
  STDMETHODIMP AsyncReadGroupComplete(SAFEARRAY** Buffer, LONG* Error) override;
  STDMETHODIMP AsyncWriteComplete(SAFEARRAY** ItemErrors) override;
  STDMETHODIMP AsyncWriteGroupComplete(LONG* Error) override;
  STDMETHODIMP DownloadFirmwareComplete() override;
  STDMETHODIMP DownloadFirmwareInProgress(short* Percent) override;
  STDMETHODIMP DownloadProjectComplete() override;
  STDMETHODIMP DownloadProjectInProgress(short* Percent) override;

 private:
  const std::shared_ptr<orvo::IEventNotify> sink_;
};

}  // namespace orvo::com
