// A line whose answers a test writes down, and that writes down what it is asked.
#pragma once

#include "modbus/Line.h"

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>

namespace orvo::modbus {

inline Answer RefusedAnswer(std::uint8_t exception) {
  return {Answer::Kind::Refused, exception, "refused"};
}
inline Answer SilentAnswer() {
  return {Answer::Kind::NoAnswer, 0, "silent"};
}
inline Answer RubbishAnswer() {
  return {Answer::Kind::Wrong, 0, "rubbish"};
}
inline Answer BrokenAnswer() {
  return {Answer::Kind::Broken, 0, "cut"};
}

class ScriptedLine final : public Line {
 public:
  // What the next calls of this name answer: "connect", "read", "write", "coil", "register", "mask",
  // "identify", "resync". Without an entry Done.
  std::map<std::string, std::deque<Answer>> answers;
  // The calls so far, with blanks between them: "connect read close"; "unquiet" is an IsQuiet that is not.
  std::string log;
  // Called for each answer, before the caller has it: time passes in it.
  std::function<void(const Answer&)> answering;
  bool mayConfuse = false;
  bool unquiet = false;  // once
  Identification identification{"Acme", "P7", "V1.5"};
  bool interrupted = false;

  // The calls since the last time.
  std::string Calls() { return std::exchange(log, {}); }

  Answer Connect() override {
    connected_ = false;
    Answer answer = Next("connect");
    connected_ = answer.IsDone();
    if (connected_) ++connections_;
    return answer;
  }
  void Disconnect() noexcept override {
    if (std::exchange(connected_, false)) Note("close");
  }
  bool IsConnected() const noexcept override { return connected_; }
  std::uint64_t Connections() const noexcept override { return connections_; }
  Answer ReadBits(Area /*area*/, std::int32_t /*start*/, std::span<std::uint8_t> /*bits*/) override {
    return Ask("read");
  }
  Answer ReadRegisters(Area /*area*/, std::int32_t /*start*/, std::span<std::uint16_t> /*registers*/) override {
    return Ask("read");
  }
  Answer WriteCoils(std::int32_t /*start*/, std::span<const std::uint8_t> /*bits*/) override {
    return Ask("write");
  }
  Answer WriteRegisters(std::int32_t /*start*/, std::span<const std::uint16_t> /*registers*/) override {
    return Ask("write");
  }
  Answer WriteCoil(std::int32_t /*address*/, bool /*on*/) override { return Ask("coil"); }
  Answer WriteRegister(std::int32_t /*address*/, std::uint16_t /*value*/) override { return Ask("register"); }
  Answer MaskRegister(std::int32_t /*address*/, std::uint16_t /*keep*/, std::uint16_t /*set*/) override {
    return Ask("mask");
  }
  Answer Identify(Identification& told) override {
    told = identification;
    return Ask("identify");
  }
  bool MayConfuseAnswers() const noexcept override { return mayConfuse; }
  Answer Resynchronise() override { return Ask("resync"); }
  bool IsQuiet() override {
    if (!std::exchange(unquiet, false)) return true;
    Note("unquiet");
    if (!mayConfuse) connected_ = false;
    return false;
  }
  int Descriptor() const noexcept override { return -1; }
  void Interrupt() noexcept override { interrupted = true; }

 private:
  void Note(const char* call) { log += (log.empty() ? "" : " ") + std::string(call); }
  Answer Next(const char* call) {
    Note(call);
    Answer answer;
    if (auto& given = answers[call]; !given.empty()) {
      answer = given.front();
      given.pop_front();
    }
    if (answering) answering(answer);
    return answer;
  }
  Answer Ask(const char* call) {
    Answer answer = Next(call);
    if (answer.kind == Answer::Kind::Broken) connected_ = false;
    return answer;
  }

  bool connected_ = false;
  std::uint64_t connections_ = 0;
};

}  // namespace orvo::modbus
