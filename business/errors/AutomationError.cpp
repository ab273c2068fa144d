#include "errors/AutomationError.h"

#include <new>

namespace orvo {

const std::array<RuntimeErrorRow, 15> RuntimeErrorTable{{
    {RuntimeError::InvalidProcedureCall, "Invalid procedure call or argument",
     "An argument or a key that the operation needs is missing or makes no sense."},
    {RuntimeError::Overflow, "Overflow", "A number does not fit where it is to go."},
    {RuntimeError::OutOfMemory, "Out of memory", "Memory ran out, or a file is too large."},
    {RuntimeError::SubscriptOutOfRange, "Subscript out of range",
     "An array is too short. As an item error: the driver's answer did not reach this item."},
    {RuntimeError::TypeMismatch, "Type mismatch", "A value is of a kind that cannot be converted."},
    {RuntimeError::FileNotFound, "File not found", "The folder holds no file of this name."},
    {RuntimeError::DiskFull, "Disk full", "The file could not be written."},
    {RuntimeError::PermissionDenied, "Permission denied", "The file may not be read or written."},
    {RuntimeError::PathFileAccess, "Path/File access error",
     "The file cannot be opened, read or written; it may be a folder."},
    {RuntimeError::PathNotFound, "Path not found", "The folder does not exist."},
    {RuntimeError::ObjectNotSet, "Object variable or With block variable not set",
     "There is no driver, no device object, or the server is gone."},
    {RuntimeError::InvalidUseOfNull, "Invalid use of Null", "Null cannot be converted."},
    {RuntimeError::CannotCreateObject, "ActiveX component can't create object",
     "No driver is registered under the programmatic identifier."},
    {RuntimeError::AutomationFailure, "Automation error", "A driver failed in a way of its own."},
    {RuntimeError::DuplicateKey, "This key is already associated with an element of this collection",
     "A name differs from a used one only in case."},
}};

std::string_view RuntimeErrorText(RuntimeError error) noexcept {
  for (const RuntimeErrorRow& row : RuntimeErrorTable)
    if (row.error == error) return row.text;
  return "Application-defined or object-defined error";
}

void RaiseRuntimeError(RuntimeError error) {
  throw AutomationError(static_cast<std::int32_t>(error), std::string(RuntimeErrorText(error)));
}

void RaiseRuntimeError(RuntimeError error, std::string_view detail) {
  std::string description(RuntimeErrorText(error));
  description.append(": ").append(detail);
  throw AutomationError(static_cast<std::int32_t>(error), std::move(description));
}

AutomationError CaughtError() {
  const auto foreign = [](RuntimeError error, const char* text) {
    std::string description(RuntimeErrorText(error));
    if (text != nullptr) description.append(": ").append(text);
    return AutomationError(static_cast<std::int32_t>(error), std::move(description));
  };
  try {
    throw;
  } catch (const AutomationError& error) {
    return error;
  } catch (const std::bad_alloc&) {
    return foreign(RuntimeError::OutOfMemory, nullptr);
  } catch (const std::exception& error) {
    return foreign(RuntimeError::AutomationFailure, error.what());
  } catch (...) {
    return foreign(RuntimeError::AutomationFailure, nullptr);
  }
}

}  // namespace orvo
