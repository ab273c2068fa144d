// What the client notes of its driver: how many requests it was sent, and what it said when it failed. Several
// calls of the server never raise a driver's failure; a person wants to read it all the same.
#pragma once

#include "errors/AutomationError.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace orvo::client {

class DriverLog {
 public:
  void NoteSent() noexcept { ++sent_; }
  // Reads and writes that the driver took.
  std::uint64_t Sent() const noexcept { return sent_; }

  void NoteFailure(const std::string& operation, const AutomationError& error) {
    latest_ = error;
    failures_.insert_or_assign(operation, error);
  }
  // What the latest call of SetConfigurationMode answered; a download on opening needs it.
  void NoteConfigurationMode(bool accepted) noexcept { configurationModeRefused_ = !accepted; }
  bool ConfigurationModeRefused() const noexcept { return configurationModeRefused_; }

  void NoteRefusal(const std::string& itemId, const AutomationError& error) {
    refusals_.insert_or_assign(itemId, error);
  }
  // Identifiers that the device refused to compile, with its words.
  const std::map<std::string, AutomationError>& Refusals() const noexcept { return refusals_; }
  // The latest failure of the operation, by its name in the driver contract; nothing when it never failed.
  std::optional<AutomationError> Failure(const std::string& operation) const {
    const auto found = failures_.find(operation);
    return found == failures_.end() ? std::nullopt : std::optional(found->second);
  }
  // The latest failure of any operation since ForgetLatest.
  const std::optional<AutomationError>& Latest() const noexcept { return latest_; }
  // A step that begins or is over: what failed in it so far is not why a later one fails.
  void ForgetLatest() { latest_.reset(); }
  void Forget() {
    latest_.reset();
    failures_.clear();
  }

 private:
  std::uint64_t sent_ = 0;
  bool configurationModeRefused_ = false;
  std::optional<AutomationError> latest_;
  std::map<std::string, AutomationError> failures_;
  std::map<std::string, AutomationError> refusals_;  // by identifier
};

}  // namespace orvo::client
