// The group's reads and writes: client arrays to requests, and the results of synchronous requests back.

#include "errors/ErrorHandling.h"
#include "errors/modConstant.h"
#include "model/KELDataGroup.h"

#include <utility>

namespace orvo {

namespace {

// `array` counted from the lower bound that parallels `handles`: the caller's own when it has the same length.
std::int32_t CallersBound(const SafeArray<Variant>& array, const SafeArray<std::int32_t>& handles) {
  return array.Size() == handles.Size() ? array.LowerBound() : handles.LowerBound();
}

}  // namespace

std::shared_ptr<ModelServer> KELDataGroup::RunningServer() const {
  std::shared_ptr<ModelServer> server = RequireServer();
  if (server->ServerStatus() != StatusRunning) RaiseDataError(errInvalidState, "Server isn't running");
  return server;
}

void KELDataGroup::RequireRunning() const {
  WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("RequireRunning"); }, [&] { RunningServer(); });
}

void KELDataGroup::RequireHandles(const SafeArray<std::int32_t>& handles) {
  for (const std::int32_t handle : handles.View())
    if (items_.Peek(handle) == nullptr) items_.Item(handle);
}

// The item's client value; Empty, and its error when there is none yet, when the raw value cannot be converted.
// The caller holds the item, its group and the server (null when it is gone).
Variant KELDataGroup::Converted(KELDataItem& item, ModelServer* server, std::int32_t& error) {
  try {
    return item.HeldClientValue(server);
  } catch (...) {
    if (error == 0) error = CaughtError().Number();
    return {};
  }
}

SafeArray<Variant> KELDataGroup::RawValues(const SafeArray<std::int32_t>& handles,
                                           const SafeArray<Variant>& userValues) {
  std::vector<Variant> raw;
  raw.reserve(handles.Size());
  for (std::size_t k = 0; k < handles.Size(); ++k) {
    const std::shared_ptr<orvo::KELDataItem> item = items_.Find(handles.View()[k]);
    if (!item) items_.Item(handles.View()[k]);
    if (k >= userValues.Size()) RaiseRuntimeError(RuntimeError::SubscriptOutOfRange);
    if (!Suppressed([&] { raw.push_back(item->RawValue(item->CheckClientValue(userValues.View()[k]))); })) {
      const std::int64_t index = std::int64_t{handles.LowerBound()} + static_cast<std::int64_t>(k);
      RaiseDataError(errInvalidFormat, "Invalid format: index=" + std::to_string(index));
    }
  }
  return SafeArray<Variant>(std::move(raw));
}

void KELDataGroup::SyncRead(const SafeArray<std::int32_t>& Handles, SafeArray<Variant>& Values,
                            SafeArray<std::int32_t>& Errors) {
  const std::shared_ptr<KELDataGroup> self = Hold();
  const SafeArray<std::int32_t> handles = Handles;
  WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("SyncRead"); },
      [&] {
        const std::shared_ptr<ModelServer> server = RunningServer();
        RequireHandles(handles);
        const std::shared_ptr<DataRequest> request = server->RunRead(*this, handles);
        const ReadResults results(*request, handles.Size());
        const Date now = platform_.LocalNow();
        std::vector<Variant> values(handles.Size());
        std::vector<std::int32_t> errors(handles.Size());
        for (std::size_t k = 0; k < handles.Size(); ++k) {
          errors[k] = results.Error(k);
          if (errors[k] != 0) {
            values[k] = results.Value(k);
            continue;
          }
          const std::shared_ptr<KELDataItem> item = items_.FindAsOf(handles.View()[k], request->ItemsEpoch());
          if (!item) continue;  // removed by a handler that ran during the wait
          item->SetDATAValue(results.Value(k));
          item->SetTimeStamp(now);
          values[k] = Converted(*item, server.get(), errors[k]);
        }
        Values = SafeArray<Variant>(std::move(values), CallersBound(Values, handles));
        Errors = SafeArray<std::int32_t>(std::move(errors), handles.LowerBound());
      });
}

void KELDataGroup::SyncReadAll(SafeArray<std::int32_t>& Handles, SafeArray<Variant>& USERValues,
                               SafeArray<std::int32_t>& Errors) {
  const std::shared_ptr<KELDataGroup> self = Hold();
  WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("SyncReadAll"); },
      [&] {
        const std::shared_ptr<ModelServer> server = RunningServer();
        if (server->TransfersWholeGroups()) {
          const std::shared_ptr<DataRequest> request = server->RunReadAll(*this);
          ReadOut out = UnpackAll(*request, false);
          // kept: a transfer that failed comes back with handles of 0.
          if (request->Error() != 0) out.handles = SafeArray<std::int32_t>(out.handles.Size());
          Handles = std::move(out.handles);
          USERValues = std::move(out.values);
          Errors = std::move(out.errors);
          return;
        }
        const SafeArray<std::int32_t> handles = items_.AllHandles();
        const std::shared_ptr<DataRequest> request = server->RunRead(*this, handles);
        const ReadResults results(*request, handles.Size());
        std::vector<Variant> values(handles.Size());
        std::vector<std::int32_t> errors(handles.Size());
        for (std::size_t k = 0; k < handles.Size(); ++k) {
          errors[k] = results.Error(k);
          const std::shared_ptr<KELDataItem> item = items_.FindAsOf(handles.View()[k], request->ItemsEpoch());
          if (!item || !results.HasValue(k)) continue;  // an item that nothing was read for keeps its value
          // kept: unlike SyncRead, neither looks at the item's error nor sets its time stamp.
          item->SetDATAValue(results.Value(k));
          values[k] = Converted(*item, server.get(), errors[k]);
        }
        Handles = handles;
        USERValues = SafeArray<Variant>(std::move(values));
        Errors = SafeArray<std::int32_t>(std::move(errors));
      });
}

void KELDataGroup::SyncWrite(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                             SafeArray<std::int32_t>& Errors) {
  const std::shared_ptr<KELDataGroup> self = Hold();
  const SafeArray<std::int32_t> handles = Handles;
  WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("SyncWrite"); },
      [&] { WriteItems(handles, USERValues, Errors); });
}

void KELDataGroup::SyncWriteAll(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                                SafeArray<std::int32_t>& Errors) {
  const std::shared_ptr<KELDataGroup> self = Hold();
  const SafeArray<std::int32_t> handles = Handles;
  WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("SyncWriteAll"); },
      [&] {
        const std::shared_ptr<ModelServer> server = RunningServer();
        if (!server->TransfersWholeGroups()) {
          WriteItems(handles, USERValues, Errors);
          return;
        }
        const SafeArray<std::uint8_t> buffer = PackedBuffer(handles, RawValues(handles, USERValues));
        const std::shared_ptr<DataRequest> request = server->RunWriteAll(*this, buffer);
        Errors = StoreWrittenAll(*request, handles);
      });
}

void KELDataGroup::WriteItems(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                              SafeArray<std::int32_t>& Errors) {
  const std::shared_ptr<ModelServer> server = RunningServer();
  const SafeArray<Variant> raw = RawValues(Handles, USERValues);
  const std::shared_ptr<DataRequest> request = server->RunWrite(*this, Handles, raw);
  Errors = StoreWritten(*request, Handles);
}

void KELDataGroup::AsyncRead(const SafeArray<std::int32_t>& Handles, std::int32_t& TransactionId) {
  const std::shared_ptr<KELDataGroup> self = Hold();
  WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("AsyncRead"); },
      [&] {
        const std::shared_ptr<ModelServer> server = RunningServer();
        RequireHandles(Handles);
        TransactionId = server->QueueRead(*this, Handles);
      });
}

void KELDataGroup::AsyncReadAll(std::int32_t& TransactionId) {
  const std::shared_ptr<KELDataGroup> self = Hold();
  WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("AsyncReadAll"); },
      [&] {
        const std::shared_ptr<ModelServer> server = RunningServer();
        if (items_.Count() == 0) return;
        TransactionId = server->TransfersWholeGroups() ? server->QueueReadAll(*this)
                                                       : server->QueueRead(*this, items_.AllHandles());
      });
}

void KELDataGroup::AsyncWrite(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                              std::int32_t& TransactionId) {
  const std::shared_ptr<KELDataGroup> self = Hold();
  WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("AsyncWrite"); },
      [&] { QueueWriteItems(Handles, USERValues, TransactionId); });
}

void KELDataGroup::AsyncWriteAll(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                                 std::int32_t& TransactionId) {
  const std::shared_ptr<KELDataGroup> self = Hold();
  WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("AsyncWriteAll"); },
      [&] {
        const std::shared_ptr<ModelServer> server = RunningServer();
        if (server->TransfersWholeGroups())
          TransactionId =
              server->QueueWriteAll(*this, Handles, PackedBuffer(Handles, RawValues(Handles, USERValues)));
        else
          QueueWriteItems(Handles, USERValues, TransactionId);
      });
}

void KELDataGroup::QueueWriteItems(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                                   std::int32_t& TransactionId) {
  const std::shared_ptr<ModelServer> server = RunningServer();
  TransactionId = server->QueueWrite(*this, Handles, RawValues(Handles, USERValues));
}

void KELDataGroup::AsyncCancel(std::int32_t TransactionId) {
  const std::shared_ptr<KELDataGroup> self = Hold();
  WithTrace(
      OwnErrors::PassThrough,
      [&] { return Trace("AsyncCancel") + ",TransactionId=" + std::to_string(TransactionId); },
      [&] { RunningServer()->Cancel(TransactionId); });
}

}  // namespace orvo
