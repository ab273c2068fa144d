#include "model/KELDataItem.h"

#include "errors/ErrorHandling.h"
#include "errors/modConstant.h"
#include "model/KELDataGroup.h"
#include "model/RequestResults.h"

#include <limits>
#include <utility>

namespace orvo {

KELDataItem::~KELDataItem() = default;

void KELDataItem::PutSigned(bool NewValue) noexcept {
  signed_ = NewValue;
  if (signed_) bcd_ = false;
}

void KELDataItem::PutBCD(bool NewValue) noexcept {
  bcd_ = NewValue;
  if (bcd_) signed_ = false;
}

void KELDataItem::StoreWritten(Variant raw, Date time) noexcept {
  dataValue_ = std::move(raw);
  timeStamp_ = time;
  writeDone_ = true;
}

std::shared_ptr<ModelServer> KELDataItem::RunningServer() const {
  const std::shared_ptr<KELDataGroup> group = Parent();
  if (!group) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  std::shared_ptr<ModelServer> server = group->RequireServer();
  if (server->ServerStatus() != StatusRunning) RaiseDataError(errInvalidState, "Server isn't running");
  return server;
}

Variant KELDataItem::USERValue() {
  const std::shared_ptr<AutomationObject> self = weak_from_this().lock();
  // Only the device object can fail with a number of our own table here: that is wrapped like any other.
  return WithTrace(
      OwnErrors::Wrap, [&] { return ":DataItem.USERValue(ItemName=" + itemName_; },
      [&] { return ClientValue(); });
}

void KELDataItem::SyncRead(Variant& USERValue, std::int32_t& Error, Variant* TimeStamp) {
  const std::shared_ptr<AutomationObject> self = shared_from_this();
  const std::shared_ptr<KELDataGroup> group = Parent();
  const auto trace = [&] { return ":DataItem.SyncRead(ItemName=" + itemName_; };
  WithTrace(OwnErrors::PassThrough, trace, [&] {
    const std::shared_ptr<ModelServer> server = RunningServer();
    const std::shared_ptr<DataRequest> request = server->RunReadItem(*this);
    const ReadResults results(*request, 1);
    Error = results.Error(0);
    if (Error != 0) return;
    dataValue_ = results.Value(0);
    Variant client = WithTrace(OwnErrors::Wrap, trace, [&] { return ClientValue(); });
    timeStamp_ = platform_.LocalNow();
    USERValue = std::move(client);
    if (TimeStamp != nullptr) *TimeStamp = timeStamp_;
  });
}

void KELDataItem::SyncWrite(const Variant& USERValue, std::int32_t& Error) {
  const std::shared_ptr<AutomationObject> self = shared_from_this();
  const std::shared_ptr<KELDataGroup> group = Parent();
  WithTrace(
      OwnErrors::PassThrough, [&] { return ":DataItem.SyncWrite(ItemName=" + itemName_; },
      [&] {
        const std::shared_ptr<ModelServer> server = RunningServer();
        Variant checked;
        if (!Suppressed([&] { checked = CheckClientValue(USERValue); }))
          RaiseDataError(errInvalidFormat, "Format not correct");
        Variant raw = RawValue(checked);
        const std::shared_ptr<DataRequest> request = server->RunWriteItem(*this, raw);
        Error = WriteErrors(*request, 1).front();
        if (Error == 0) StoreWritten(std::move(raw), platform_.LocalNow());
      });
}

SafeArray<double> KELDataItem::CompiledAddressArray() const {
  return {compiledAddress_};
}

SafeArray<std::int16_t> KELDataItem::DimensionArray() const {
  return {Dimension()};
}

std::int16_t KELDataItem::Dimension() const {
  if (wordLength_ < std::numeric_limits<std::int16_t>::min() ||
      wordLength_ > std::numeric_limits<std::int16_t>::max())
    RaiseRuntimeError(RuntimeError::Overflow);
  return static_cast<std::int16_t>(wordLength_);
}

}  // namespace orvo
