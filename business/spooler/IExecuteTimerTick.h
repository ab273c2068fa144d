// Takes a timer's tick; the small interface through which a timer callback reaches an object.
#pragma once

#include <cstdint>

namespace orvo {

class IExecuteTimerTick {
 public:
  IExecuteTimerTick() = default;
  IExecuteTimerTick(const IExecuteTimerTick&) = delete;
  IExecuteTimerTick& operator=(const IExecuteTimerTick&) = delete;
  virtual ~IExecuteTimerTick() = default;

  // `lTimerId` names the timer that fired. The class itself does nothing.
  virtual void Execute(std::int32_t& lTimerId) { static_cast<void>(lTimerId); }
};

}  // namespace orvo
