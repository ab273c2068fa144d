// Where lists ended: places to which a device keeps silent, so that they can be asked for last.
#pragma once

#include "modbus/Area.h"

#include <cstddef>
#include <vector>

namespace orvo::modbus {

class Silences {
 public:
  static constexpr std::size_t Most = 64;  // the oldest goes first

  // A list ended at this request. It is the newest now.
  void Put(const Span& place);
  // The device answered this request with what was asked for: nothing in it keeps it silent.
  void Forget(const Span& answered);
  // It answered this request, but parts of it may still keep it silent.
  void ForgetOnly(const Span& place);

  bool IsEmpty() const noexcept { return places_.empty(); }
  // 0: nothing of it is known to keep the device silent; else the greater, the later it was so last.
  std::size_t RankOf(const Span& place) const noexcept;

 private:
  std::vector<Span> places_;  // the newest last
};

}  // namespace orvo::modbus
