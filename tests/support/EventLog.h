// Sinks that write every event of a server, a group or a spooler as one line into a shared log.
#pragma once

#include "model/KELDataGroupEvents.h"
#include "server/KELDataServerEvents.h"
#include "spooler/SpoolerEvents.h"
#include "support/ScriptedDriver.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orvo::testing {

using Log = std::vector<std::string>;

// "[1,2]" and "[I4:5,Empty]", elements by position; a lower bound other than 0 stands before: "1:[4,5]".
std::string LogText(const SafeArray<std::int32_t>& array);
std::string LogText(const SafeArray<Variant>& array);

// Handlers to be run inside an event, by its name ("DataChange"), after the line was written.
using Handlers = std::map<std::string, std::function<void()>>;

// "DataChange [1] [I2:5]", "AsyncReadComplete 7 [1] [I2:5] [0]", "AsyncWriteComplete 7 [1] [0]",
// "AsyncCancelComplete 7 True", each with `prefix` before it.
class GroupEventLog final : public KELDataGroupEvents {
 public:
  explicit GroupEventLog(Log& log, std::string prefix = "") : log_(log), prefix_(std::move(prefix)) {}
  Handlers handlers;

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

 private:
  void Note(const std::string& event, const std::string& arguments);
  Log& log_;
  std::string prefix_;
};

// "DownloadFirmwareInProgress 40", "DownloadFirmwareComplete", ...
class ServerEventLog final : public KELDataServerEvents {
 public:
  explicit ServerEventLog(Log& log) : log_(log) {}
  Handlers handlers;

  void DownloadFirmwareInProgress(std::int16_t Percent) override;
  void DownloadProjectInProgress(std::int16_t Percent) override;
  void DownloadFirmwareComplete() override;
  void DownloadProjectComplete() override;

 private:
  void Note(const std::string& event, const std::string& arguments = "");
  Log& log_;
};

// "ReadRequestComplete 7" with the transaction id, "DownloadFirmwareInProgress 40", ...
class SpoolerEventLog final : public SpoolerEvents {
 public:
  explicit SpoolerEventLog(Log& log) : log_(log) {}
  Handlers handlers;
  std::vector<std::shared_ptr<DataRequest>> delivered;

  void ReadRequestComplete(const std::shared_ptr<DataRequest>& RRequest) override;
  void ReadRatedRequestComplete(const std::shared_ptr<DataRequest>& RRequest) override;
  void WriteRequestComplete(const std::shared_ptr<DataRequest>& WRequest) override;
  void CancelRequestComplete(const std::shared_ptr<DataRequest>& CRequest) override;
  void DownloadFirmwareComplete() override;
  void DownloadFirmwareInProgress(std::int16_t Percent) override;
  void DownloadProjectComplete() override;
  void DownloadProjectInProgress(std::int16_t Percent) override;

 private:
  void Note(const std::string& event, const std::string& arguments = "");
  void NoteRequest(const std::string& event, const std::shared_ptr<DataRequest>& request);
  Log& log_;
};

}  // namespace orvo::testing
