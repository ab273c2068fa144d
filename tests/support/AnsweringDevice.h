// The device behind the scripted driver: holds values by compiled address and one byte image of a whole group,
// and answers each request of the driver by itself.
#pragma once

#include "support/Plant.h"

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

namespace orvo::testing {

struct AnsweringDevice {
  std::map<double, Variant> values;       // by address; a word with the address's number otherwise
  std::map<double, std::int32_t> errors;  // by address; 0 otherwise
  std::vector<std::uint8_t> image;        // what a read of a whole group brings
  std::int32_t groupError = 0;            // what every whole-group request ends with
  bool silent = false;                    // takes requests and never answers

  // Answers the driver's requests from now on, by a posted call each; writes change what reads bring. The
  // device outlives the plant.
  void Serve(Plant& plant);

 private:
  void AnswerLater(Plant& plant, std::function<void(IEventNotify&)> answer);
  void AnswerRead(IEventNotify& sink, const SafeArray<double>& addresses) const;
  void AnswerWrite(IEventNotify& sink, const SafeArray<double>& addresses, const SafeArray<Variant>& written);
};

}  // namespace orvo::testing
