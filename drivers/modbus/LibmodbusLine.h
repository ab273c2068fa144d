// The line over libmodbus: TCP, or RTU on a serial port.
//
// TCP: connects to the numeric address only, within the time-out. An answer under another transaction number,
// of another function or with another count than the latest request ends the connection, so that no byte of it
// can reach a later one. The system asks an idle device whether it is still there (keep-alive), and gives the
// connection up after some 11 s without an answer, or after the time-out if that is longer.
//
// RTU: the port is taken for this process alone where the system knows that (TIOCEXCL); one time-out bounds a
// whole answer. Each request waits until the line was silent as long as it takes to part two frames, so that it
// is one of its own for every device; what comes meanwhile is discarded, and the silence begins anew. A line
// that is not silent within a time-out gets no request: NoAnswer. IsQuiet listens as long, too.
//
// libmodbus waits with select(), which takes descriptors below FD_SETSIZE (1024) only: a higher one is closed
// again, and connecting fails with a reason that says so.
#pragma once

#include "modbus/Line.h"
#include "modbus/Settings.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::modbus {

class LibmodbusLine final : public Line {
 public:
  // `settings` with a time-out, for RTU also with device and baud rate. Connects nothing yet. Error 5 when
  // libmodbus makes no line of them.
  explicit LibmodbusLine(const Settings& settings);
  ~LibmodbusLine() override;

  Answer Connect() override;
  void Disconnect() noexcept override;
  bool IsConnected() const noexcept override;
  std::uint64_t Connections() const noexcept override { return connections_; }

  Answer ReadBits(Area area, std::int32_t start, std::span<std::uint8_t> bits) override;
  Answer ReadRegisters(Area area, std::int32_t start, std::span<std::uint16_t> registers) override;
  Answer WriteCoils(std::int32_t start, std::span<const std::uint8_t> bits) override;
  Answer WriteRegisters(std::int32_t start, std::span<const std::uint16_t> registers) override;
  Answer WriteCoil(std::int32_t address, bool on) override;
  Answer WriteRegister(std::int32_t address, std::uint16_t value) override;
  Answer MaskRegister(std::int32_t address, std::uint16_t keep, std::uint16_t set) override;
  Answer Identify(Identification& identification) override;

  bool MayConfuseAnswers() const noexcept override { return settings_.transport == Transport::Rtu; }
  Answer Resynchronise() override;
  bool IsQuiet() override;
  int Descriptor() const noexcept override;
  void Interrupt() noexcept override;

 private:
  using Time = std::chrono::steady_clock::time_point;
  struct Context;

  Answer ConnectTcp();
  Answer ConnectRtu();
  bool WaitToConnect(int descriptor) const;
  // Takes a descriptor over, unless the line was interrupted meanwhile (then it is closed).
  bool Adopt(int descriptor);

  // The end of one of libmodbus's functions: `result` is below 0 for a failure, errno tells which.
  Answer Conclude(int result);
  // A failure that ends the connection where it has to.
  Answer Fail(Answer::Kind kind, const std::string& what, bool mayHaveArrived = false);
  // Makes ready for a request; Done: it can go out.
  Answer Begin();

  // Sends the PDU and waits for the PDU of the answer to its function, until `deadline`.
  Answer Ask(std::span<const std::uint8_t> pdu, Time deadline, std::vector<std::uint8_t>& response);
  Answer ReceiveTcp(Time deadline, std::vector<std::uint8_t>& response);
  Answer ReceiveRtu(std::uint8_t function, Time deadline, std::vector<std::uint8_t>& response);
  // The next bytes, at least one and at most `bytes.size()`; `count` tells how many.
  Answer Receive(std::span<std::uint8_t> bytes, Time deadline, std::size_t& count);
  // RTU: whether bytes come before the silence behind the last frame is over.
  bool IsSilenceBroken(int descriptor) const;
  // RTU: discards what came; the silence begins anew.
  void DiscardInput();
  Time Deadline() const { return std::chrono::steady_clock::now() + timeout_; }

  const Settings settings_;
  const std::chrono::milliseconds timeout_;
  const std::string name_;  // for reasons
  const std::chrono::microseconds silence_;
  const std::unique_ptr<Context> context_;

  std::uint64_t connections_ = 0;
  Time silentUntil_{};
  std::atomic<bool> interrupted_{false};
  mutable std::mutex descriptorMutex_;  // held while the descriptor is closed, and while it is shut down
  int descriptor_ = -1;
};

}  // namespace orvo::modbus
