// What becomes of finished requests: the items take their values, the client gets its event.

#include "errors/ErrorHandling.h"
#include "model/KELDataGroup.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <utility>

namespace orvo {

namespace {

// Whether two values differ. Two Nulls do not; what does not compare, an array or an error value, does.
bool ScalarsDiffer(const Variant& earlier, const Variant& now) {
  if (earlier.IsNull() || now.IsNull()) return earlier.IsNull() != now.IsNull();
  return AnswerOr(Comparison::Null, [&] { return Compare(earlier, now); }) != Comparison::Equal;
}

// Whether two raw values of the same item differ, the earlier one being the measure.
bool Differ(const Variant& earlier, const Variant& now) {
  if (earlier.IsByteArray() && now.IsByteArray())  // what drivers bring
    return earlier.LowerBound() != now.LowerBound() || !std::ranges::equal(earlier.Bytes(), now.Bytes());
  if (earlier.IsEmpty()) return true;
  if (!earlier.IsArray()) return ScalarsDiffer(earlier, now);
  if (!now.IsArray() || earlier.UpperBound() != now.UpperBound() || earlier.LowerBound() != now.LowerBound())
    return true;
  for (std::size_t k = 0; k < earlier.ElementCount(); ++k)
    if (ScalarsDiffer(earlier.ElementAt(k), now.ElementAt(k))) return true;
  return false;
}

}  // namespace

void KELDataGroup::Raise(const std::function<void(KELDataGroupEvents&)>& event) {
  if (subscribed_) events_.Raise(event);
}

void KELDataGroup::DeliverAsyncRead(const DataRequest& request) {
  const SafeArray<std::int32_t> handles = request.Handles();
  const ReadResults results(request, handles.Size());
  const Date now = platform_.LocalNow();
  const std::shared_ptr<ModelServer> server = Server();
  std::vector<Variant> values(handles.Size());
  std::vector<std::int32_t> errors(handles.Size());
  for (std::size_t k = 0; k < handles.Size(); ++k) {
    errors[k] = results.Error(k);
    if (const std::shared_ptr<KELDataItem> item = items_.FindAsOf(handles.View()[k], request.ItemsEpoch())) {
      item->SetDATAValue(results.Value(k));
      item->SetTimeStamp(now);
      values[k] = Converted(*item, server.get(), errors[k]);
    }
  }
  lastUseTick_ = platform_.TickCount();
  const SafeArray<Variant> userValues(std::move(values), handles.LowerBound());
  const SafeArray<std::int32_t> itemErrors(std::move(errors), handles.LowerBound());
  Raise([&](KELDataGroupEvents& sink) {
    sink.AsyncReadComplete(request.TransactionId(), handles, userValues, itemErrors);
  });
}

KELDataGroup::ReadOut KELDataGroup::UnpackAll(const DataRequest& request, bool stampTime) {
  const SafeArray<std::uint8_t> buffer = request.Buffer();
  const Date now = platform_.LocalNow();
  const std::shared_ptr<ModelServer> server = Server();
  ReadOut out;
  // Handle, value and error of an item go in together: a conversion can come back in and change the items.
  items_.Walk([&](KELDataItem& item) {
    std::int32_t error = request.Error();
    Variant value;
    const std::int32_t handle = item.Handle();
    if (error == 0) {
      item.SetDATAValue(item.ExtractFromBuffer(buffer.View()));
      if (stampTime) item.SetTimeStamp(now);
      value = Converted(item, server.get(), error);
    }
    out.handles.Append(handle);
    out.values.Append(std::move(value));
    out.errors.Append(error);
    return false;
  });
  return out;
}

void KELDataGroup::DeliverAsyncReadAll(const DataRequest& request) {
  const ReadOut out = UnpackAll(request, true);
  lastUseTick_ = platform_.TickCount();
  Raise([&](KELDataGroupEvents& sink) {
    sink.AsyncReadAllComplete(request.TransactionId(), out.handles, out.values, out.errors);
  });
}

// The items whose write succeeded take the values that were written.
SafeArray<std::int32_t> KELDataGroup::StoreWritten(const DataRequest& request,
                                                   const SafeArray<std::int32_t>& handles) {
  std::vector<std::int32_t> errors = WriteErrors(request, handles.Size());
  const SafeArray<Variant> written = request.DATAValues();
  const Date now = platform_.LocalNow();
  for (std::size_t k = 0; k < handles.Size() && k < written.Size(); ++k) {
    if (errors[k] != 0) continue;
    if (const std::shared_ptr<KELDataItem> item = items_.FindAsOf(handles.View()[k], request.ItemsEpoch()))
      item->StoreWritten(written.View()[k], now);
  }
  return SafeArray<std::int32_t>(std::move(errors), handles.LowerBound());
}

void KELDataGroup::DeliverAsyncWrite(const DataRequest& request) {
  const SafeArray<std::int32_t> handles = request.Handles();
  const SafeArray<std::int32_t> errors = StoreWritten(request, handles);
  lastUseTick_ = platform_.TickCount();
  Raise([&](KELDataGroupEvents& sink) { sink.AsyncWriteComplete(request.TransactionId(), handles, errors); });
}

SafeArray<std::uint8_t> KELDataGroup::PackedBuffer(const SafeArray<std::int32_t>& handles,
                                                   const SafeArray<Variant>& rawValues) {
  SafeArray<std::uint8_t> buffer = compiledBuffer_;
  for (std::size_t k = 0; k < handles.Size(); ++k)
    if (const std::shared_ptr<KELDataItem> item = items_.Find(handles.View()[k]))
      item->StoreIntoBuffer(rawValues.View()[k], buffer.Edit());
  return buffer;
}

SafeArray<std::int32_t> KELDataGroup::StoreWrittenAll(const DataRequest& request,
                                                      const SafeArray<std::int32_t>& handles) {
  const SafeArray<std::uint8_t> buffer = request.Buffer();
  const Date now = platform_.LocalNow();
  SafeArray<std::int32_t> errors(handles.Size(), handles.LowerBound(), request.Error());
  if (request.Error() != 0) return errors;
  for (const std::int32_t handle : handles.View())
    if (const std::shared_ptr<KELDataItem> item = items_.FindAsOf(handle, request.ItemsEpoch()))
      item->StoreWritten(item->ExtractFromBuffer(buffer.View()), now);
  return errors;
}

void KELDataGroup::DeliverAsyncWriteAll(const DataRequest& request) {
  const SafeArray<std::int32_t> handles = request.Handles();
  const SafeArray<std::int32_t> errors = StoreWrittenAll(request, handles);
  lastUseTick_ = platform_.TickCount();
  Raise(
      [&](KELDataGroupEvents& sink) { sink.AsyncWriteAllComplete(request.TransactionId(), handles, errors); });
}

void KELDataGroup::DeliverCancel(const DataRequest& request) {
  Raise([&](KELDataGroupEvents& sink) { sink.AsyncCancelComplete(request.TransactionId(), true); });
}

bool KELDataGroup::RefreshValueChanged(std::size_t position, const Variant& value,
                                       const KELDataItem* item) const {
  if (position >= refreshValues_.size()) return true;
  if (item != nullptr && !item->IsRefreshed()) return true;
  return Differ(refreshValues_[position], value);
}

void KELDataGroup::DeliverDataChange(const DataRequest& request) {
  const SafeArray<std::int32_t> handles = request.Handles();
  const ReadResults results(request, handles.Size());
  const Date now = platform_.LocalNow();
  const std::shared_ptr<ModelServer> server = Server();
  Changes changes;
  if (!results.RequestFailed()) {
    for (std::size_t k = 0; k < handles.Size(); ++k) {
      const std::int32_t handle = handles.View()[k];
      const Variant& value = results.Value(k);
      if (!RefreshValueChanged(k, value, items_.PeekAsOf(handle, request.ItemsEpoch()))) continue;
      const std::shared_ptr<KELDataItem> item = items_.FindAsOf(handle, request.ItemsEpoch());
      // The group can have been made inactive and active again meanwhile, which forgets the values, even by a
      // conversion in this loop.
      if (refreshValues_.size() <= k) refreshValues_.resize(handles.Size());
      refreshValues_[k] = value;
      Variant client;
      if (item) {
        item->SetRefreshed();
        item->SetDATAValue(value);
        item->SetTimeStamp(now);
        std::int32_t error = 0;
        client = Converted(*item, server.get(), error);
      }
      changes.handles.push_back(handle);
      changes.values.push_back(std::move(client));
    }
  }
  FinishDataChange(std::move(changes));
}

void KELDataGroup::DeliverDataChangeAll(const DataRequest& request) {
  const SafeArray<std::uint8_t> buffer = request.Buffer();
  const Date now = platform_.LocalNow();
  const std::shared_ptr<ModelServer> server = Server();
  Changes changes;
  if (request.Error() == 0) {
    const auto mayHaveChanged = [&](const KELDataItem& item) { return !item.IsSurelySameIn(buffer.View()); };
    items_.Walk(mayHaveChanged, [&](KELDataItem& item) {
      Variant raw = item.ExtractFromBuffer(buffer.View());
      if (!item.TakeChange(raw)) return false;
      item.SetDATAValue(std::move(raw));
      item.SetTimeStamp(now);
      std::int32_t error = 0;
      changes.handles.push_back(item.Handle());
      changes.values.push_back(Converted(item, server.get(), error));
      return false;
    });
  }
  FinishDataChange(std::move(changes));
}

void KELDataGroup::FinishDataChange(Changes changes) {
  if (!changes.handles.empty()) {
    const SafeArray<std::int32_t> handles(std::move(changes.handles));
    const SafeArray<Variant> values(std::move(changes.values));
    Raise([&](KELDataGroupEvents& sink) { sink.DataChange(handles, values); });
  }
  // After the event: a tick that comes while a handler runs finds the refresh still pending.
  lastUseTick_ = platform_.TickCount();
  refreshPending_ = false;
}

}  // namespace orvo
