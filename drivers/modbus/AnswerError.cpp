#include "modbus/AnswerError.h"

namespace orvo::modbus {

namespace {

ItemError ErrorOfException(std::uint8_t code) noexcept {
  switch (code) {
    case 1:
    case 2:
    case 3:
      return BadValue;
    case 5:
    case 6:
      return DeviceBusy;
    case 10:
      return LinkDown;
    case 11:
      return NoAnswer;
    default:
      return WrongAnswer;
  }
}

}  // namespace

ItemError ErrorOf(const Answer& answer) noexcept {
  switch (answer.kind) {
    case Answer::Kind::Done:
      return NoError;
    case Answer::Kind::Refused:
      return ErrorOfException(answer.exception);
    case Answer::Kind::NoAnswer:
      return NoAnswer;
    case Answer::Kind::Wrong:
      return WrongAnswer;
    default:
      return LinkDown;
  }
}

bool IsWorthDividing(const Answer& answer) noexcept {
  return answer.kind == Answer::Kind::Refused && answer.exception >= 2 && answer.exception <= 4;
}

bool EndsTheList(const Answer& answer) noexcept {
  if (answer.kind == Answer::Kind::Refused) return answer.exception == 10 || answer.exception == 11;
  return !answer.IsDone();
}

}  // namespace orvo::modbus
