#include "support/EventLog.h"

namespace orvo::testing {

namespace {

std::string BoundText(std::int32_t lowerBound) {
  return lowerBound == 0 ? std::string() : std::to_string(lowerBound) + ":";
}

template <class T, class Text>
std::string ArrayText(const SafeArray<T>& array, Text&& text) {
  std::string line = BoundText(array.LowerBound()) + "[";
  for (const T& element : array.View()) {
    if (line.back() != '[') line += ',';
    line += text(element);
  }
  return line + "]";
}

void RunHandler(const Handlers& handlers, const std::string& event) {
  const auto found = handlers.find(event);
  if (found == handlers.end()) return;
  const std::function<void()> handler = found->second;  // the sink may end inside
  handler();
}

}  // namespace

std::string LogText(const SafeArray<std::int32_t>& array) {
  return ArrayText(array, [](std::int32_t element) { return std::to_string(element); });
}

std::string LogText(const SafeArray<Variant>& array) {
  return ArrayText(array, [](const Variant& element) { return LogText(element); });
}

void GroupEventLog::Note(const std::string& event, const std::string& arguments) {
  log_.push_back(prefix_ + event + " " + arguments);
  RunHandler(handlers, event);
}

void GroupEventLog::DataChange(const SafeArray<std::int32_t>& DataHandles,
                               const SafeArray<Variant>& USERValues) {
  Note("DataChange", LogText(DataHandles) + " " + LogText(USERValues));
}

void GroupEventLog::AsyncReadComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                                      const SafeArray<Variant>& USERValues,
                                      const SafeArray<std::int32_t>& DataErrors) {
  Note("AsyncReadComplete", std::to_string(TransactionId) + " " + LogText(DataHandles) + " " +
                                LogText(USERValues) + " " + LogText(DataErrors));
}

void GroupEventLog::AsyncReadAllComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                                         const SafeArray<Variant>& USERValues,
                                         const SafeArray<std::int32_t>& DataErrors) {
  Note("AsyncReadAllComplete", std::to_string(TransactionId) + " " + LogText(DataHandles) + " " +
                                   LogText(USERValues) + " " + LogText(DataErrors));
}

void GroupEventLog::AsyncWriteAllComplete(std::int32_t TransactionId,
                                          const SafeArray<std::int32_t>& DataHandles,
                                          const SafeArray<std::int32_t>& DataErrors) {
  Note("AsyncWriteAllComplete",
       std::to_string(TransactionId) + " " + LogText(DataHandles) + " " + LogText(DataErrors));
}

void GroupEventLog::AsyncWriteComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                                       const SafeArray<std::int32_t>& DataErrors) {
  Note("AsyncWriteComplete",
       std::to_string(TransactionId) + " " + LogText(DataHandles) + " " + LogText(DataErrors));
}

void GroupEventLog::AsyncCancelComplete(std::int32_t TransactionId, bool Success) {
  Note("AsyncCancelComplete", std::to_string(TransactionId) + (Success ? " True" : " False"));
}

void ServerEventLog::Note(const std::string& event, const std::string& arguments) {
  log_.push_back(event + arguments);
  RunHandler(handlers, event);
}

void ServerEventLog::DownloadFirmwareInProgress(std::int16_t Percent) {
  Note("DownloadFirmwareInProgress", " " + std::to_string(Percent));
}
void ServerEventLog::DownloadProjectInProgress(std::int16_t Percent) {
  Note("DownloadProjectInProgress", " " + std::to_string(Percent));
}
void ServerEventLog::DownloadFirmwareComplete() {
  Note("DownloadFirmwareComplete");
}
void ServerEventLog::DownloadProjectComplete() {
  Note("DownloadProjectComplete");
}

void SpoolerEventLog::Note(const std::string& event, const std::string& arguments) {
  log_.push_back(event + arguments);
  RunHandler(handlers, event);
}

void SpoolerEventLog::NoteRequest(const std::string& event, const std::shared_ptr<DataRequest>& request) {
  delivered.push_back(request);
  Note(event, " " + std::to_string(request->TransactionId()));
}

void SpoolerEventLog::ReadRequestComplete(const std::shared_ptr<DataRequest>& RRequest) {
  NoteRequest("ReadRequestComplete", RRequest);
}
void SpoolerEventLog::ReadRatedRequestComplete(const std::shared_ptr<DataRequest>& RRequest) {
  NoteRequest("ReadRatedRequestComplete", RRequest);
}
void SpoolerEventLog::WriteRequestComplete(const std::shared_ptr<DataRequest>& WRequest) {
  NoteRequest("WriteRequestComplete", WRequest);
}
void SpoolerEventLog::CancelRequestComplete(const std::shared_ptr<DataRequest>& CRequest) {
  NoteRequest("CancelRequestComplete", CRequest);
}
void SpoolerEventLog::DownloadFirmwareComplete() {
  Note("DownloadFirmwareComplete");
}
void SpoolerEventLog::DownloadFirmwareInProgress(std::int16_t Percent) {
  Note("DownloadFirmwareInProgress", " " + std::to_string(Percent));
}
void SpoolerEventLog::DownloadProjectComplete() {
  Note("DownloadProjectComplete");
}
void SpoolerEventLog::DownloadProjectInProgress(std::int16_t Percent) {
  Note("DownloadProjectInProgress", " " + std::to_string(Percent));
}

}  // namespace orvo::testing
