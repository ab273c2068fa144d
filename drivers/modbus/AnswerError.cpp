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

ItemError ErrorOfWrite(const Answer& answer) noexcept {
  return answer.kind == Answer::Kind::Broken && answer.mayHaveArrived ? NoAnswer : ErrorOf(answer);
}

bool IsWorthDividing(const Answer& answer) noexcept {
  if (answer.kind != Answer::Kind::Refused) return false;
  switch (answer.exception) {
    case 1:
    case 5:
    case 6:
    case 10:
    case 11:
      return false;
    default:
      return true;
  }
}

bool TookNothing(const Answer& answer) noexcept {
  return answer.kind == Answer::Kind::Refused && (answer.exception == 2 || answer.exception == 3);
}

bool IsUnknown(const Answer& answer) noexcept {
  return answer.kind == Answer::Kind::Refused && answer.exception == 1;
}

bool EndsTheList(const Answer& answer) noexcept {
  if (answer.kind == Answer::Kind::Refused) return answer.exception == 10 || answer.exception == 11;
  return !answer.IsDone();
}

bool IsSilence(const Answer& answer) noexcept {
  return EndsTheList(answer) && (answer.kind != Answer::Kind::Broken || answer.mayHaveArrived);
}

}  // namespace orvo::modbus
