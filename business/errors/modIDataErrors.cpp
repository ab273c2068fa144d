#include "errors/modIDataErrors.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace orvo {

const std::array<DataErrorRow, 15> DataErrorTable{{
    {errInvalidState, "errInvalidState",
     "Invalid State: ", "The operation is not allowed in the present state of the server."},
    {errFileNotFound, "errFileNotFound", "File not found: ", "Reserved: no operation raises it."},
    {errInvalidFileFormat, "errInvalidFileFormat",
     "Invalid file format: ", "A configuration file lacks its section or holds a malformed value."},
    {errCannotWriteFile, "errCannotWriteFile", "Cannot write to file: ", "Reserved: no operation raises it."},
    {errInvalidDeviceType, "errInvalidDeviceType",
     "Invalid device type: ", "The driver knows no device of this type."},
    {errInvalidHandle, "errInvalidHandle", "Invalid Handle: ", "No group or item has this handle."},
    {errInvalidName, "errInvalidName",
     "Invalid Name: ", "No group or item bears this name, or the name is already used."},
    {errInvalidParameters, "errInvalidParameters",
     "Invalid Parameter(s): ", "Reserved: no operation raises it."},
    {errInvalidItemId, "errInvalidItemId",
     "Invalid ItemID: ", "The driver refuses the item identifier, or the item does not fit its group."},
    {errCommunication, "errCommunication", "Communication error: ", "The driver reports a failed exchange."},
    {errInvalidValue, "errInvalidValue", "Invalid Value: ", "A property cannot take this value."},
    {errQueueFull, "errQueueFull",
     "Queue full: ", "The next transaction id is still in use by the oldest outstanding request."},
    {errInvalidGroupSize, "errInvalidGroupSize",
     "Invalid group size: ", "The group's items do not fit the device."},
    {errInternal, "errInternal", "INTERNAL ERROR, please contact support. code",
     "An unexpected failure; the description carries its number, text and a trace of the operation."},
    {errInvalidFormat, "errInvalidFormat", "INVALID FORMAT ", "A value cannot be converted for its item."},
}};

namespace {

// The automation language's error object between "description stored" and "raised".
class PendingError {
 public:
  void StoreDescription(std::string description) { stored_ = std::move(description); }

  // An empty text keeps the description that was stored before.
  [[noreturn]] void Raise(std::int32_t number, std::string description) {
    if (description.empty() && stored_.has_value()) description = *std::move(stored_);
    throw AutomationError(number, std::move(description));
  }

 private:
  std::optional<std::string> stored_;
};

}  // namespace

const DataErrorRow* FindDataError(std::int32_t code) noexcept {
  const std::int64_t index = std::int64_t{code} - errInvalidState;
  if (index < 0 || index >= static_cast<std::int64_t>(DataErrorTable.size())) return nullptr;
  return &DataErrorTable[static_cast<std::size_t>(index)];
}

void RaiseDataError(std::int32_t Code, std::string_view Detail) {
  PendingError pending;
  std::string description;
  if (const DataErrorRow* row = FindDataError(Code)) description.append(row->prefix).append(Detail);
  if (Code == errInvalidItemId) {
    // kept: this code alone stores its description first and is raised with an empty one; the client sees the
    // same composed text as for the others.
    pending.StoreDescription(std::move(description));
    description.clear();
  }
  pending.Raise(Code, std::move(description));
}

void RaiseDriverError(std::int32_t DriverCode, std::string_view Detail) {
  switch (DriverCode) {
    case 2:
      RaiseDataError(errInvalidState, Detail);
    case 1:
    case 3:
    case 4:
    case 5:
    case 99:
      RaiseDataError(errCommunication, Detail);
    case 10:
      RaiseDataError(errInvalidValue, Detail);
    default:
      RaiseDataError(errInternal, Detail);
  }
}

}  // namespace orvo
