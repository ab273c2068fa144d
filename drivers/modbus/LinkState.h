// What a link tells of itself to other threads.
#pragma once

#include "modbus/Line.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace orvo::modbus {

struct LinkFacts {
  bool connected = false;
  std::string reason;    // why not, while not connected; for people
  bool answered = true;  // the last request was answered properly, or there was none
  std::int32_t exception =
      0;  // of the last answer to a read or write; -1: one that the protocol does not define
  Identification identification;  // as the device told it last
  // RTU: when the last request went out that was not answered properly and whose answer may still come.
  std::optional<std::chrono::steady_clock::time_point> unanswered;

  friend bool operator==(const LinkFacts&, const LinkFacts&) = default;
};

// The latest facts. Any thread.
class LinkState {
 public:
  LinkFacts Get() const {
    const std::lock_guard lock(mutex_);
    return facts_;
  }
  void Put(LinkFacts facts) {
    const std::lock_guard lock(mutex_);
    facts_ = std::move(facts);
  }
  void PutDisconnected() noexcept {
    const std::lock_guard lock(mutex_);
    facts_.connected = false;
  }

 private:
  mutable std::mutex mutex_;
  LinkFacts facts_;
};

}  // namespace orvo::modbus
