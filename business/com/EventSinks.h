// A client's event sink behind the core's event interfaces.
//
// A sink that offers the event interface itself gets the arguments as they are declared there, arrays by
// reference; one that offers dispatch only gets arrays of variants by value, which every script can index.
#pragma once

#include "com/Automation.h"
#include "com/ComPtr.h"
#include "com/SafeArrayAccess.h"
#include "model/KELDataGroupEvents.h"
#include "server/KELDataServerEvents.h"
#include "spooler/SpoolerEvents.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace orvo::com {

// A client's sink: what it connected, and how it is called.
class DispatchSink {
 public:
  // CONNECT_E_CANNOTCONNECT for a sink that offers neither `events` nor dispatch.
  DispatchSink(IUnknown& sink, REFIID events);
  DispatchSink(const DispatchSink&) = delete;
  DispatchSink& operator=(const DispatchSink&) = delete;
  virtual ~DispatchSink() = default;

  // The sink as the client knows it.
  const ComPtr<IUnknown>& Identity() const noexcept { return identity_; }

 protected:
  // The arguments of one event for this sink, in declared order.
  class Arguments {
   public:
    explicit Arguments(bool typed) : typed_(typed) {}
    Arguments& Add(std::int32_t value);
    Arguments& Add(std::int16_t value);
    Arguments& Add(bool value);
    Arguments& Add(const SafeArray<std::int32_t>& values);
    Arguments& Add(const SafeArray<Variant>& values);
    Arguments& AddReference(std::int16_t value);
    Arguments& AddReference(const std::shared_ptr<DataRequest>& request);

   private:
    friend class DispatchSink;
    VARIANT& Append();
    void AppendArray(OwnedSafeArray array, VARTYPE type);

    const bool typed_;
    std::deque<OwnedVariant> values_;  // what is passed by value, or referred to
    std::deque<VARIANT> passed_;
  };
  Arguments NewArguments() const { return Arguments(typed_); }
  void Fire(DISPID event, Arguments& arguments);

 private:
  const ComPtr<IUnknown> identity_;
  ComPtr<IDispatch> target_;
  bool typed_ = false;
};

class ServerSink final : public KELDataServerEvents, public DispatchSink {
 public:
  using DispatchSink::DispatchSink;
  void DownloadFirmwareInProgress(std::int16_t Percent) override;
  void DownloadProjectInProgress(std::int16_t Percent) override;
  void DownloadFirmwareComplete() override;
  void DownloadProjectComplete() override;
};

class GroupSink final : public KELDataGroupEvents, public DispatchSink {
 public:
  using DispatchSink::DispatchSink;
  void DataChange(const SafeArray<std::int32_t>& DataHandles, const SafeArray<Variant>& USERValues) override;
  void AsyncReadComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                         const SafeArray<Variant>& USERValues,
                         const SafeArray<std::int32_t>& DataErrors) override;
  void AsyncReadAllComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                            const SafeArray<Variant>& USERValues,
                            const SafeArray<std::int32_t>& DataErrors) override;
  void AsyncWriteAllComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                             const SafeArray<std::int32_t>& DataErrors) override;
  void AsyncWriteComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                          const SafeArray<std::int32_t>& DataErrors) override;
  void AsyncCancelComplete(std::int32_t TransactionId, bool Success) override;
};

class SpoolerSink final : public SpoolerEvents, public DispatchSink {
 public:
  using DispatchSink::DispatchSink;
  void ReadRequestComplete(const std::shared_ptr<DataRequest>& RRequest) override;
  void ReadRatedRequestComplete(const std::shared_ptr<DataRequest>& RRequest) override;
  void WriteRequestComplete(const std::shared_ptr<DataRequest>& WRequest) override;
  void CancelRequestComplete(const std::shared_ptr<DataRequest>& CRequest) override;
  void DownloadFirmwareComplete() override;
  void DownloadFirmwareInProgress(std::int16_t Percent) override;
  void DownloadProjectComplete() override;
  void DownloadProjectInProgress(std::int16_t Percent) override;

 private:
  void FireRequest(DISPID event, const std::shared_ptr<DataRequest>& request);
};

}  // namespace orvo::com
