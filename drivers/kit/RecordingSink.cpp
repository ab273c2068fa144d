#include "kit/RecordingSink.h"

#include <utility>

namespace orvo::kit {

std::string SinkEventName(SinkEventKind kind) {
  switch (kind) {
    case SinkEventKind::ReadComplete:
      return "AsyncReadComplete";
    case SinkEventKind::ReadGroupComplete:
      return "AsyncReadGroupComplete";
    case SinkEventKind::WriteComplete:
      return "AsyncWriteComplete";
    case SinkEventKind::WriteGroupComplete:
      return "AsyncWriteGroupComplete";
    case SinkEventKind::FirmwareComplete:
      return "DownloadFirmwareComplete";
    case SinkEventKind::FirmwareInProgress:
      return "DownloadFirmwareInProgress";
    case SinkEventKind::ProjectComplete:
      return "DownloadProjectComplete";
    case SinkEventKind::ProjectInProgress:
      return "DownloadProjectInProgress";
  }
  return "";
}

bool RecordingSink::IsForeign() {
  if (std::this_thread::get_id() == owner_) return false;
  ++foreign_;
  return true;
}

void RecordingSink::Keep(SinkEvent event) {
  event.insideCall = depth_ > 0;
  (event.IsAnswer() ? answers : downloads).push_back(event);
  if (onEvent) onEvent(event);
}

void RecordingSink::AsyncReadComplete(const SafeArray<Variant>& DATAValues,
                                      const SafeArray<std::int32_t>& ItemErrors) {
  if (!IsForeign()) Keep({SinkEventKind::ReadComplete, false, DATAValues, ItemErrors, {}, 0, 0});
}

void RecordingSink::AsyncReadGroupComplete(const SafeArray<std::uint8_t>& Buffer, std::int32_t Error) {
  if (!IsForeign()) Keep({SinkEventKind::ReadGroupComplete, false, {}, {}, Buffer, Error, 0});
}

void RecordingSink::AsyncWriteComplete(const SafeArray<std::int32_t>& ItemErrors) {
  if (!IsForeign()) Keep({SinkEventKind::WriteComplete, false, {}, ItemErrors, {}, 0, 0});
}

void RecordingSink::AsyncWriteGroupComplete(std::int32_t Error) {
  if (!IsForeign()) Keep({SinkEventKind::WriteGroupComplete, false, {}, {}, {}, Error, 0});
}

void RecordingSink::DownloadFirmwareComplete() {
  if (!IsForeign()) Keep({SinkEventKind::FirmwareComplete, false, {}, {}, {}, 0, 0});
}

void RecordingSink::DownloadFirmwareInProgress(std::int16_t Percent) {
  if (!IsForeign()) Keep({SinkEventKind::FirmwareInProgress, false, {}, {}, {}, 0, Percent});
}

void RecordingSink::DownloadProjectComplete() {
  if (!IsForeign()) Keep({SinkEventKind::ProjectComplete, false, {}, {}, {}, 0, 0});
}

void RecordingSink::DownloadProjectInProgress(std::int16_t Percent) {
  if (!IsForeign()) Keep({SinkEventKind::ProjectInProgress, false, {}, {}, {}, 0, Percent});
}

}  // namespace orvo::kit
