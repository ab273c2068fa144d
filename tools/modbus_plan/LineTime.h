// What requests cost on the line: bytes and time.
#pragma once

#include "modbus/Area.h"
#include "modbus/Settings.h"

#include <cstdint>

namespace orvo::modbus_plan {

// One request with its answer.
struct Cost {
  std::int32_t requestBytes = 0;
  std::int32_t answerBytes = 0;
  double milliseconds = 0;
};

class LineTime {
 public:
  // `baud`: of RTU. `latency`: ms that each request waits for the device and the network.
  LineTime(const modbus::Settings& settings, std::int32_t baud, double latency);

  Cost OfRead(const modbus::Span& span) const noexcept;

  // RTU: ms of a character with its start, parity and stop bits, and of the silence that ends a frame (3.5
  // characters; above 19200 baud always 1.75 ms).
  double Character() const noexcept { return character_; }
  double Silence() const noexcept { return silence_; }

 private:
  bool isRtu_;
  double character_ = 0;
  double silence_ = 0;
  double latency_;
};

}  // namespace orvo::modbus_plan
