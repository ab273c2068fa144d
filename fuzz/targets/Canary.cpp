// A fault behind compares that chance alone does not pass: a fuzzer whose guidance works finds it in seconds,
// and one that does not find it finds nothing else either.
#include "Property.h"
#include "Targets.h"

namespace orvo::fuzz {

void Canary(InputReader& input) {
  // Four bytes at once: only what the compare shows of itself leads here.
  if (input.Number<std::uint32_t>() != 0x50414E45) return;
  // Byte by byte: each step further is a branch that was not taken before.
  constexpr std::uint8_t veil = 0x2A;
  for (const char letter : {'t', 'r', 'a', 'p'})
    if ((input.Byte() ^ veil) != letter) return;
  const auto length = input.Number<std::uint16_t>();
  Demand(length < 300 || length > 310, "the canary sings");
}

}  // namespace orvo::fuzz
