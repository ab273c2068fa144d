// What this process holds of the system.
#pragma once

#include "com/Automation.h"

#include <cstddef>

namespace orvo::testing {

struct Usage {
  DWORD handles = 0;
  DWORD threads = 0;
  std::size_t blocks = 0;  // of memory, in all heaps
  std::size_t bytes = 0;   // in them

  static Usage Now();
};

}  // namespace orvo::testing
