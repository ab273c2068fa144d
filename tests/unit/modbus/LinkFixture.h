// A link over a scripted line, in virtual time.
#pragma once

#include "modbus/Link.h"
#include "unit/modbus/AnswerText.h"
#include "unit/modbus/ScriptedLine.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace orvo::modbus {

using namespace std::chrono_literals;

class LinkFixture : public ::testing::Test {
 protected:
  LinkFixture() {
    // What keeps silent takes the whole time-out.
    line.answering = [this](const Answer& answer) {
      if (answer.kind == Answer::Kind::NoAnswer) now += timeout;
    };
    Begin();
  }

  // A link of its own, which knows what `state` tells.
  void Begin() {
    link.emplace(
        line, Link::Terms{timeout, identify, hold}, [this] { return now; }, state);
  }
  // What is due in the background, up to and at the present time.
  void WorkAll() {
    for (int k = 0; k < 20 && link->NextWork().value_or(now + 1h) <= now; ++k)
      link->Work();
  }

  static std::string Text(const Answer& answer) { return AnswerText(answer); }
  std::string Read() { return Text(ReadAnswer()); }
  Answer ReadAnswer() {
    std::uint16_t word = 0;
    return link->ReadRegisters(Area::HoldingRegisters, 0, {&word, 1});
  }
  std::string Write() {
    const std::uint16_t word = 0;
    return Text(link->WriteRegisters(0, {&word, 1}));
  }
  // As CommunicationStatus tells it.
  std::string Status() const {
    const LinkFacts facts = state.Get();
    if (!facts.connected) return "not connected";
    return facts.answered ? "answering" : "unanswered";
  }

  std::chrono::milliseconds timeout{1000};
  bool identify = true;
  std::optional<std::chrono::milliseconds> hold;
  Link::Time now{1h};
  ScriptedLine line;
  LinkState state;
  std::optional<Link> link;
};

}  // namespace orvo::modbus
