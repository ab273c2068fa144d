// The one exception type of the system: what a client receives as number + description.
//
// A number is either one of the table in modIDataErrors.h (an HRESULT, 0x80040001..0x8004000F), a classic
// run-time number of the automation languages (RuntimeError below), or the number with which a driver failed.
// Descriptions are UTF-8.
#pragma once

#include <array>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace orvo {

class AutomationError : public std::exception {
 public:
  AutomationError(std::int32_t number, std::string description)
      : number_(number), description_(std::move(description)) {}

  std::int32_t Number() const noexcept { return number_; }
  const std::string& Description() const noexcept { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  std::int32_t number_;
  std::string description_;
};

// The classic run-time failures. The values are the numbers that every automation language shows.
enum class RuntimeError : std::int32_t {
  InvalidProcedureCall = 5,
  Overflow = 6,
  OutOfMemory = 7,
  SubscriptOutOfRange = 9,
  TypeMismatch = 13,
  FileNotFound = 53,
  DiskFull = 61,
  PermissionDenied = 70,
  PathFileAccess = 75,
  PathNotFound = 76,
  ObjectNotSet = 91,
  InvalidUseOfNull = 94,
  CannotCreateObject = 429,
  AutomationFailure = 440,
  DuplicateKey = 457,
};

struct RuntimeErrorRow {
  RuntimeError error;
  std::string_view text;
  std::string_view meaning;  // one sentence for the generated list of errors
};

// All of them, in order of their numbers.
extern const std::array<RuntimeErrorRow, 15> RuntimeErrorTable;

// The usual text of a run-time failure, for example "Type mismatch" for 13.
std::string_view RuntimeErrorText(RuntimeError error) noexcept;

// Raises `error` with its usual text; with a detail the description is the text, ": " and the detail.
[[noreturn]] void RaiseRuntimeError(RuntimeError error);
[[noreturn]] void RaiseRuntimeError(RuntimeError error, std::string_view detail);

// Number and description of the exception being handled; call it inside a catch block only.
// A C++ exception that is not an AutomationError becomes 7 (bad_alloc) or 440 with its own text.
AutomationError CaughtError();

}  // namespace orvo
