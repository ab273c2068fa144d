// The sink of a driver under test: keeps every event with the circumstances in which it came.
//
// Events of other threads are counted and not kept: their arrays are not to be touched here.
#pragma once

#include "spooler/IEventNotify.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace orvo::kit {

enum class SinkEventKind {
  ReadComplete,
  ReadGroupComplete,
  WriteComplete,
  WriteGroupComplete,
  FirmwareComplete,
  FirmwareInProgress,
  ProjectComplete,
  ProjectInProgress,
};

// The operation of IEventNotify.
std::string SinkEventName(SinkEventKind kind);

struct SinkEvent {
  SinkEventKind kind;
  bool insideCall = false;  // it came before the call into the driver had returned
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  SafeArray<std::uint8_t> buffer;
  std::int32_t error = 0;  // of a group
  std::int16_t percent = 0;

  bool IsAnswer() const noexcept { return kind <= SinkEventKind::WriteGroupComplete; }
};

class RecordingSink final : public IEventNotify {
 public:
  std::vector<SinkEvent> answers;    // completions of reads and writes
  std::vector<SinkEvent> downloads;  // what downloads report
  // Called after each event was kept; may throw.
  std::function<void(const SinkEvent& event)> onEvent;

  // While one of these lives, the program is inside a call into the driver.
  class InsideCall {
   public:
    explicit InsideCall(RecordingSink& sink) : sink_(sink) { ++sink_.depth_; }
    InsideCall(const InsideCall&) = delete;
    InsideCall& operator=(const InsideCall&) = delete;
    ~InsideCall() { --sink_.depth_; }

   private:
    RecordingSink& sink_;
  };

  std::size_t EventsOfOtherThreads() const noexcept { return foreign_; }

  void AsyncReadComplete(const SafeArray<Variant>& DATAValues,
                         const SafeArray<std::int32_t>& ItemErrors) override;
  void AsyncReadGroupComplete(const SafeArray<std::uint8_t>& Buffer, std::int32_t Error) override;
  void AsyncWriteComplete(const SafeArray<std::int32_t>& ItemErrors) override;
  void AsyncWriteGroupComplete(std::int32_t Error) override;
  void DownloadFirmwareComplete() override;
  void DownloadFirmwareInProgress(std::int16_t Percent) override;
  void DownloadProjectComplete() override;
  void DownloadProjectInProgress(std::int16_t Percent) override;

 private:
  bool IsForeign();
  void Keep(SinkEvent event);

  const std::thread::id owner_ = std::this_thread::get_id();
  std::atomic<std::size_t> foreign_ = 0;
  int depth_ = 0;
};

}  // namespace orvo::kit
