// A Modbus device without a line: four tables, places that it refuses, faults by script, and a log of
// everything that it was asked.
//
// The log: "read 4:0+125" (area by its digit, first address, count), "write 4:10+2 = 0001 0002", "write 0:3+1 =
// 1", "one 4:10 = 0001" (the request for one), "mask 4:5 keep FFFE set 0001". A register that nobody wrote
// holds RegisterAtFirst, a bit the lowest bit of that.
#pragma once

#include "modbus/Line.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orvo::modbus {

class FakeDevice : public Line {
 public:
  std::vector<std::string> log;
  std::map<std::size_t, Answer>
      script;  // what becomes of the request of this number (from 0), in place of all below
  std::set<std::pair<Area, std::int32_t>> holes;        // touched: exception `holeException`
  std::set<std::pair<Area, std::int32_t>> protectedAt;  // written: exception 2
  std::uint8_t holeException = 2;
  std::int32_t mostRegisters = 125;  // of one request; else exception 3
  bool knowsMask = true;
  bool knowsSeveral = true;  // the requests that write several coils or registers; also for one
  bool knowsOne = true;      // those that write one
  std::uint64_t connections = 1;
  // The requests (by number, from 0) that find their connection ended and go out on a new one, or not at all.
  std::set<std::size_t> reconnects;
  // Addresses to which the device keeps silent.
  std::set<std::pair<Area, std::int32_t>> silentAt;

  static std::uint16_t RegisterAtFirst(Area area, std::int32_t address) noexcept {
    return static_cast<std::uint16_t>(static_cast<std::uint32_t>(address) * 40503U +
                                      7919U * (static_cast<std::uint32_t>(area) + 1U));
  }
  std::uint16_t Register(Area area, std::int32_t address) const {
    const auto written = memory_.find({area, address});
    return written == memory_.end() ? RegisterAtFirst(area, address) : written->second;
  }
  bool Bit(Area area, std::int32_t address) const { return (Register(area, address) & 1U) != 0; }
  void Put(Area area, std::int32_t address, std::uint16_t value) { memory_[{area, address}] = value; }
  std::vector<std::string> TakeLog() { return std::exchange(log, {}); }

  static Answer Refusal(std::uint8_t exception) { return {Answer::Kind::Refused, exception, "refused"}; }

  Answer Connect() override { return {}; }
  void Disconnect() noexcept override {}
  bool IsConnected() const noexcept override { return true; }
  std::uint64_t Connections() const noexcept override { return connections; }
  Answer ReadBits(Area area, std::int32_t start, std::span<std::uint8_t> bits) override {
    Answer answer = Asked("read " + Place(area, start, bits.size()), area, start, bits.size());
    for (std::size_t k = 0; k < bits.size(); ++k)
      bits[k] = answer.IsDone() && Bit(area, start + static_cast<std::int32_t>(k)) ? 1 : 0;
    return answer;
  }
  Answer ReadRegisters(Area area, std::int32_t start, std::span<std::uint16_t> registers) override {
    Answer answer = Asked("read " + Place(area, start, registers.size()), area, start, registers.size());
    for (std::size_t k = 0; k < registers.size(); ++k)
      registers[k] = answer.IsDone() ? Register(area, start + static_cast<std::int32_t>(k)) : 0xDEAD;
    return answer;
  }
  Answer WriteCoils(std::int32_t start, std::span<const std::uint8_t> bits) override {
    std::string text = "write " + Place(Area::Coils, start, bits.size()) + " =";
    for (const std::uint8_t bit : bits)
      text += bit != 0 ? " 1" : " 0";
    Answer answer = Asked(text, Area::Coils, start, bits.size(), true);
    if (answer.IsDone() && !knowsSeveral) answer = Refusal(1);
    for (std::size_t k = 0; answer.IsDone() && k < bits.size(); ++k)
      Put(Area::Coils, start + static_cast<std::int32_t>(k), bits[k]);
    return answer;
  }
  Answer WriteRegisters(std::int32_t start, std::span<const std::uint16_t> registers) override {
    std::string text = "write " + Place(Area::HoldingRegisters, start, registers.size()) + " =";
    for (const std::uint16_t word : registers)
      text += " " + Hex(word);
    Answer answer = Asked(text, Area::HoldingRegisters, start, registers.size(), true);
    if (answer.IsDone() && !knowsSeveral) answer = Refusal(1);
    for (std::size_t k = 0; answer.IsDone() && k < registers.size(); ++k)
      Put(Area::HoldingRegisters, start + static_cast<std::int32_t>(k), registers[k]);
    return answer;
  }
  Answer WriteCoil(std::int32_t address, bool on) override {
    return WriteOne(Area::Coils, address, on ? 1 : 0, on ? "1" : "0");
  }
  Answer WriteRegister(std::int32_t address, std::uint16_t value) override {
    return WriteOne(Area::HoldingRegisters, address, value, Hex(value));
  }
  Answer MaskRegister(std::int32_t address, std::uint16_t keep, std::uint16_t set) override {
    const std::string text = "mask 4:" + std::to_string(address) + " keep " + Hex(keep) + " set " + Hex(set);
    Answer answer = Asked(text, Area::HoldingRegisters, address, 1, true);
    if (!knowsMask) return Refusal(1);
    if (answer.IsDone())
      Put(Area::HoldingRegisters, address,
          static_cast<std::uint16_t>((Register(Area::HoldingRegisters, address) & keep) | set));
    return answer;
  }
  Answer Identify(Identification& /*identification*/) override { return Refusal(1); }
  bool MayConfuseAnswers() const noexcept override { return false; }
  Answer Resynchronise() override { return {}; }
  bool IsQuiet() override { return true; }
  int Descriptor() const noexcept override { return -1; }
  void Interrupt() noexcept override {}
  void PutReconnecting(bool may) noexcept override { mayReconnect_ = may; }

 private:
  static std::string Hex(std::uint16_t word) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "%04X", static_cast<unsigned>(word));
    return text.data();
  }
  static std::string Place(Area area, std::int32_t start, std::size_t count) {
    return std::string(1, DigitOf(area)) + ':' + std::to_string(start) + '+' + std::to_string(count);
  }
  Answer WriteOne(Area area, std::int32_t address, std::uint16_t value, const std::string& text) {
    const std::string request =
        "one " + std::string(1, DigitOf(area)) + ':' + std::to_string(address) + " = " + text;
    Answer answer = Asked(request, area, address, 1, true);
    if (answer.IsDone() && !knowsOne) answer = Refusal(1);
    if (answer.IsDone()) Put(area, address, value);
    return answer;
  }
  Answer Asked(const std::string& text, Area area, std::int32_t start, std::size_t count, bool writes = false) {
    const auto scripted = script.find(log.size());
    if (reconnects.contains(log.size())) {
      if (!mayReconnect_) {
        log.push_back("(ended) " + text);
        return {Answer::Kind::Broken, 0, "ended"};
      }
      ++connections;
    }
    log.push_back(text);
    if (scripted != script.end()) return scripted->second;
    const std::int32_t end = start + static_cast<std::int32_t>(count);
    const auto touches = [&](const std::set<std::pair<Area, std::int32_t>>& places) {
      const auto first = places.lower_bound({area, start});
      return first != places.end() && first->first == area && first->second < end;
    };
    if (!HoldsBits(area) && end - start > mostRegisters) return Refusal(3);
    if (touches(silentAt)) return {Answer::Kind::NoAnswer, 0, "silent"};
    if (touches(holes)) return Refusal(holeException);
    if (writes && touches(protectedAt)) return Refusal(2);
    return {};
  }

  std::map<std::pair<Area, std::int32_t>, std::uint16_t> memory_;
  bool mayReconnect_ = true;
};

}  // namespace orvo::modbus
