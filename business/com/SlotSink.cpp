#include "com/SlotSink.h"

#include "com/SlotCall.h"
#include "com/VariantCodec.h"

namespace orvo::com {

void SlotSink::AsyncReadComplete(const SafeArray<Variant>& DATAValues,
                                 const SafeArray<std::int32_t>& ItemErrors) {
  OwnedSafeArray values = NewArray(DATAValues);
  OwnedSafeArray errors = NewArray(ItemErrors);
  CallSlot(sink_, &Sink::AsyncReadComplete, values.Address(), errors.Address());
}

void SlotSink::AsyncReadGroupComplete(const SafeArray<std::uint8_t>& Buffer, std::int32_t Error) {
  OwnedSafeArray buffer = NewArray(Buffer);
  LONG error = Error;
  CallSlot(sink_, &Sink::AsyncReadGroupComplete, buffer.Address(), &error);
}

void SlotSink::AsyncWriteComplete(const SafeArray<std::int32_t>& ItemErrors) {
  OwnedSafeArray errors = NewArray(ItemErrors);
  CallSlot(sink_, &Sink::AsyncWriteComplete, errors.Address());
}

void SlotSink::AsyncWriteGroupComplete(std::int32_t Error) {
  LONG error = Error;
  CallSlot(sink_, &Sink::AsyncWriteGroupComplete, &error);
}

void SlotSink::DownloadFirmwareComplete() {
  CallSlot(sink_, &Sink::DownloadFirmwareComplete);
}

void SlotSink::DownloadFirmwareInProgress(std::int16_t Percent) {
  short percent = Percent;
  CallSlot(sink_, &Sink::DownloadFirmwareInProgress, &percent);
}

void SlotSink::DownloadProjectComplete() {
  CallSlot(sink_, &Sink::DownloadProjectComplete);
}

void SlotSink::DownloadProjectInProgress(std::int16_t Percent) {
  short percent = Percent;
  CallSlot(sink_, &Sink::DownloadProjectInProgress, &percent);
}

}  // namespace orvo::com
