#include "LineTime.h"

namespace orvo::modbus_plan {

namespace {

constexpr std::int32_t HeaderOfTcp = 7;  // transaction, protocol, length, unit
constexpr std::int32_t FrameOfRtu = 3;   // unit, check sum
constexpr std::int32_t ReadRequest = 5;  // function, start, count
constexpr std::int32_t ReadAnswer = 2;   // function, number of bytes; the bytes follow
constexpr double TcpBytesPerMillisecond = 100e6 / 8 / 1000;
constexpr std::int32_t FixedSilenceAbove = 19200;
constexpr double FixedSilence = 1.75;

}  // namespace

LineTime::LineTime(const modbus::Settings& settings, std::int32_t baud, double latency)
    : isRtu_(settings.transport == modbus::Transport::Rtu), latency_(latency) {
  if (!isRtu_) return;
  const std::int32_t parityBits = settings.parity == modbus::Parity::None ? 0 : 1;
  character_ = 1000.0 * (1 + settings.dataBits + parityBits + settings.stopBits) / baud;
  silence_ = baud > FixedSilenceAbove ? FixedSilence : 3.5 * character_;
}

Cost LineTime::OfRead(const modbus::Span& span) const noexcept {
  const std::int32_t data = modbus::HoldsBits(span.area) ? (span.count + 7) / 8 : 2 * span.count;
  const std::int32_t frame = isRtu_ ? FrameOfRtu : HeaderOfTcp;
  Cost cost{frame + ReadRequest, frame + ReadAnswer + data, latency_};
  const std::int32_t bytes = cost.requestBytes + cost.answerBytes;
  // Silence ends the request and then the answer, before the next request may begin.
  cost.milliseconds += isRtu_ ? bytes * character_ + 2 * silence_ : bytes / TcpBytesPerMillisecond;
  return cost;
}

}  // namespace orvo::modbus_plan
