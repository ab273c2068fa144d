// How a request ended, as a word.
#pragma once

#include "modbus/Line.h"

#include <string>

namespace orvo::modbus {

// "done", "refused N", "no answer", "wrong" or "broken".
inline std::string AnswerText(const Answer& answer) {
  switch (answer.kind) {
    case Answer::Kind::Done:
      return "done";
    case Answer::Kind::Refused:
      return "refused " + std::to_string(answer.exception);
    case Answer::Kind::NoAnswer:
      return "no answer";
    case Answer::Kind::Wrong:
      return "wrong";
    case Answer::Kind::Broken:
      break;
  }
  return "broken";
}

}  // namespace orvo::modbus
