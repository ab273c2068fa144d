#include "com/DriverSink.h"

#include "com/Arguments.h"
#include "spooler/WeakSink.h"

#include <optional>

namespace orvo::com {

namespace {

std::optional<std::uint8_t> ByteOf(const Variant& value) {
  std::int64_t number = 0;
  if (value.Is(VariantKind::UI1))
    number = value.Get<std::uint8_t>();
  else if (value.Is(VariantKind::I2))
    number = value.Get<std::int16_t>();
  else if (value.Is(VariantKind::I4))
    number = value.Get<std::int32_t>();
  else
    return std::nullopt;
  if (number < 0 || number > 255) return std::nullopt;
  return static_cast<std::uint8_t>(number);
}

// The bytes that a script wrote as an array of numbers; every other value as it is.
Variant BytesOfScript(const Variant& value) {
  if (!value.IsArray() || value.Kind() != VariantKind::Variant) return value;
  const SafeArray<Variant> numbers = value.Array<Variant>();
  std::vector<std::uint8_t> bytes;
  bytes.reserve(numbers.Size());
  for (const Variant& number : numbers.View()) {
    const std::optional<std::uint8_t> byte = ByteOf(number);
    if (!byte) return value;
    bytes.push_back(*byte);
  }
  return SafeArray<std::uint8_t>(std::move(bytes), numbers.LowerBound());
}

}  // namespace

ComPtr<::IEventNotify> SinkBySlot(std::shared_ptr<orvo::IEventNotify> sink) {
  if (!sink) return nullptr;
  if (const auto weak = std::dynamic_pointer_cast<WeakSink>(sink))
    if (const std::shared_ptr<DataRequests> spooler = weak->Spooler())
      return FacadeOfAny(spooler).Query<::IEventNotify>();
  return ComPtr<::IEventNotify>(new DriverSink(std::move(sink)));
}

ComPtr<IDispatch> SinkByName(std::shared_ptr<orvo::IEventNotify> sink) {
  if (!sink) return nullptr;
  return ComPtr<IDispatch>(static_cast<::IEventNotifyDispatch*>(new DriverSink(std::move(sink))));
}

DriverSink::DriverSink(std::shared_ptr<orvo::IEventNotify> sink)
    : DispatchObject("ORVOBusiness.DriverSink"), sink_(std::move(sink)) {}

HRESULT DriverSink::AsyncReadComplete(SAFEARRAY** DATAValues, SAFEARRAY** ItemErrors) {
  return Call([&] {
    const SafeArray<Variant> given = ArrayArgumentOf<Variant>(DATAValues);
    std::vector<Variant> values;
    values.reserve(given.Size());
    for (const Variant& value : given.View())
      values.push_back(BytesOfScript(value));
    sink_->AsyncReadComplete(SafeArray<Variant>(std::move(values), given.LowerBound()),
                             ArrayArgumentOf<std::int32_t>(ItemErrors));
  });
}

HRESULT DriverSink::AsyncReadGroupComplete(SAFEARRAY** Buffer, LONG* Error) {
  return Call([&] { sink_->AsyncReadGroupComplete(ArrayArgumentOf<std::uint8_t>(Buffer), Referred(Error)); });
}

HRESULT DriverSink::AsyncWriteComplete(SAFEARRAY** ItemErrors) {
  return Call([&] { sink_->AsyncWriteComplete(ArrayArgumentOf<std::int32_t>(ItemErrors)); });
}

HRESULT DriverSink::AsyncWriteGroupComplete(LONG* Error) {
  return Call([&] { sink_->AsyncWriteGroupComplete(Referred(Error)); });
}

HRESULT DriverSink::DownloadFirmwareComplete() {
  return Call([&] { sink_->DownloadFirmwareComplete(); });
}

HRESULT DriverSink::DownloadFirmwareInProgress(short* Percent) {
  return Call([&] { sink_->DownloadFirmwareInProgress(Referred(Percent)); });
}

HRESULT DriverSink::DownloadProjectComplete() {
  return Call([&] { sink_->DownloadProjectComplete(); });
}

HRESULT DriverSink::DownloadProjectInProgress(short* Percent) {
  return Call([&] { sink_->DownloadProjectInProgress(Referred(Percent)); });
}

}  // namespace orvo::com
