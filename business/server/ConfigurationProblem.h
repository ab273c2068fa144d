// What is wrong with one line of a saved configuration.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace orvo {

struct ConfigurationProblem {
  std::size_t line = 0;     // counted from 1; 0: the file as a whole
  std::int32_t number = 0;  // as a load that raises the first failure would raise it
  std::string text;
};

}  // namespace orvo
