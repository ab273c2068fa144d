// Basic device identification (function 43/14), by the bytes of requests and answers: how it is asked for, as
// often as the device says that more follows, and what comes back.
#pragma once

#include "modbus/Line.h"

#include <array>
#include <cstdint>
#include <span>

namespace orvo::modbus {

class IdentityReader {
 public:
  enum class Step : std::uint8_t { Complete, More, Refused, Wrong };

  // The PDU of the next request.
  std::array<std::uint8_t, 4> Request() const noexcept;
  // The PDU of the answer to it, whatever it holds. After More the next request goes out; after anything else
  // this is over.
  Step Take(std::span<const std::uint8_t> pdu);

  // After Refused: the exception's code.
  std::uint8_t Exception() const noexcept { return exception_; }
  // After Complete. Characters that cannot be shown are left out, so that the texts are valid UTF-8.
  const Identification& Result() const noexcept { return result_; }

 private:
  std::uint8_t next_ = 0;  // the object that is asked for
  std::uint8_t exception_ = 0;
  Identification result_;
};

}  // namespace orvo::modbus
