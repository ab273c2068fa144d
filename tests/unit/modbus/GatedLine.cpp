#include "unit/modbus/GatedLine.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace orvo::modbus {

void LineGate::Hold() {
  const std::lock_guard lock(mutex_);
  held_ = true;
}

void LineGate::LetGo() {
  const std::lock_guard lock(mutex_);
  held_ = false;
  changed_.notify_all();
}

void LineGate::AwaitCalls(int calls) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return calls_ >= calls; });
}

void LineGate::AwaitEnd() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return lines_ == 0; });
}

int LineGate::MostLines() {
  const std::lock_guard lock(mutex_);
  return mostLines_;
}

GatedLine::GatedLine(std::shared_ptr<LineGate> gate) : gate_(std::move(gate)) {
  const std::lock_guard lock(gate_->mutex_);
  gate_->interrupted_ = false;
  gate_->mostLines_ = std::max(++gate_->lines_, gate_->mostLines_);
}

GatedLine::~GatedLine() {
  const std::lock_guard lock(gate_->mutex_);
  --gate_->lines_;
  gate_->changed_.notify_all();
}

Answer GatedLine::Connect() {
  connected_ = gate_->reachable;
  if (connected_) {
    ++connections_;
    return {};
  }
  return {Answer::Kind::Broken, 0, "nobody there"};
}

Answer GatedLine::Pass(std::unique_lock<std::mutex>& lock) {
  ++gate_->calls_;
  gate_->changed_.notify_all();
  gate_->changed_.wait(lock, [this] { return !gate_->held_ || (gate_->interrupted_ && !gate_->deaf); });
  if (gate_->throws) throw std::runtime_error("a mistake of the line's");
  if (!gate_->interrupted_ || gate_->deaf) return {};
  connected_ = false;
  return {Answer::Kind::Broken, 0, "interrupted"};
}

Answer GatedLine::ReadBits(Area /*area*/, std::int32_t /*start*/, std::span<std::uint8_t> /*bits*/) {
  return {Answer::Kind::Refused, 1, "no bits"};
}

Answer GatedLine::WriteCoils(std::int32_t /*start*/, std::span<const std::uint8_t> /*bits*/) {
  return {Answer::Kind::Refused, 1, "no bits"};
}

Answer GatedLine::ReadRegisters(Area /*area*/, std::int32_t start, std::span<std::uint16_t> registers) {
  std::unique_lock lock(gate_->mutex_);
  Answer answer = Pass(lock);
  for (std::size_t k = 0; k < registers.size(); ++k) {
    const std::int32_t address = start + static_cast<std::int32_t>(k);
    const auto found = gate_->registers.find(address);
    registers[k] = found != gate_->registers.end() ? found->second : static_cast<std::uint16_t>(address);
  }
  return answer;
}

Answer GatedLine::WriteRegisters(std::int32_t start, std::span<const std::uint16_t> registers) {
  std::unique_lock lock(gate_->mutex_);
  Answer answer = Pass(lock);
  if (!answer.IsDone()) return answer;
  for (std::size_t k = 0; k < registers.size(); ++k)
    gate_->registers[start + static_cast<std::int32_t>(k)] = registers[k];
  return answer;
}

Answer GatedLine::WriteCoil(std::int32_t /*address*/, bool /*on*/) {
  return {Answer::Kind::Refused, 1, "no bits"};
}

Answer GatedLine::WriteRegister(std::int32_t address, std::uint16_t value) {
  return WriteRegisters(address, std::span(&value, 1));
}

Answer GatedLine::MaskRegister(std::int32_t /*address*/, std::uint16_t /*keep*/, std::uint16_t /*set*/) {
  return {Answer::Kind::Refused, 1, "no masks"};
}

Answer GatedLine::Identify(Identification& identification) {
  identification = gate_->identification;
  return {};
}

void GatedLine::Interrupt() noexcept {
  const std::lock_guard lock(gate_->mutex_);
  gate_->interrupted_ = true;
  gate_->changed_.notify_all();
}

}  // namespace orvo::modbus
