// A line that a test holds up and lets go from outside, whatever thread it runs on.
#pragma once

#include "modbus/Line.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orvo::modbus {

// What the test has of the line; it outlives it. Any thread.
class LineGate {
 public:
  // Reads and writes wait from now on, or go on.
  void Hold();
  void LetGo();
  // Waits until `calls` reads and writes have begun since the gate was made.
  void AwaitCalls(int calls);
  // Waits until nothing has the line any more.
  void AwaitEnd();

  // Of one driver there is never more than one line: a serial port cannot be opened twice.
  int MostLines();

  bool deaf = false;      // an interruption ends no call, as on a serial line
  bool reachable = true;  // to be set before communication opens
  bool throws = false;    // reads and writes fail with an exception
  Identification identification{"Acme", "P7", "V2.11-3"};
  // By address; what was never written reads as the address.
  std::map<std::int32_t, std::uint16_t> registers;

 private:
  friend class GatedLine;

  std::mutex mutex_;
  std::condition_variable changed_;
  bool held_ = false;
  bool interrupted_ = false;
  int calls_ = 0;
  int lines_ = 0;
  int mostLines_ = 0;
};

class GatedLine final : public Line {
 public:
  explicit GatedLine(std::shared_ptr<LineGate> gate);
  ~GatedLine() override;

  Answer Connect() override;
  void Disconnect() noexcept override { connected_ = false; }
  bool IsConnected() const noexcept override { return connected_; }
  std::uint64_t Connections() const noexcept override { return connections_; }
  Answer ReadBits(Area area, std::int32_t start, std::span<std::uint8_t> bits) override;
  Answer ReadRegisters(Area area, std::int32_t start, std::span<std::uint16_t> registers) override;
  Answer WriteCoils(std::int32_t start, std::span<const std::uint8_t> bits) override;
  Answer WriteRegisters(std::int32_t start, std::span<const std::uint16_t> registers) override;
  Answer WriteCoil(std::int32_t address, bool on) override;
  Answer WriteRegister(std::int32_t address, std::uint16_t value) override;
  Answer MaskRegister(std::int32_t address, std::uint16_t keep, std::uint16_t set) override;
  Answer Identify(Identification& identification) override;
  bool MayConfuseAnswers() const noexcept override { return false; }
  Answer Resynchronise() override { return {}; }
  bool IsQuiet() override { return connected_; }
  int Descriptor() const noexcept override { return -1; }
  void Interrupt() noexcept override;

 private:
  // Waits at the gate; Done: the request may be carried out.
  Answer Pass(std::unique_lock<std::mutex>& lock);

  const std::shared_ptr<LineGate> gate_;
  bool connected_ = false;
  std::uint64_t connections_ = 0;
};

}  // namespace orvo::modbus
