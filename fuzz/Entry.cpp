// Entry point of a fuzzer; ORVO_FUZZ_TARGET is the function of its target.
#include "Property.h"
#include "Targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return orvo::fuzz::RunTarget(orvo::fuzz::ORVO_FUZZ_TARGET, data, size);
}
