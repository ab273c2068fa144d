// The table of faults: which operation of the driver each public operation reaches, and what a client sees when
// it fails there.
#pragma once

#include <string>
#include <vector>

namespace orvo::testing {

struct FaultPair {
  std::string operation;  // of the driver, its device object, or "factory"
  std::string call;       // name of a PublicCall
  int nth;                // only the n-th call of the operation fails; 0: each
  // What the call gives, with {n}, {plain}, {mapped} and {internal TRACE} for the failure.
  std::string outcome;
  // What is other than before the call; with "done: " in front, what is other than after one that does not
  // fail.
  std::string left;
};

const std::vector<FaultPair>& FaultPairs();

// The parts of it.
std::vector<FaultPair> ServerFaultPairs();
std::vector<FaultPair> ConfigurationFaultPairs();
std::vector<FaultPair> GroupFaultPairs();
std::vector<FaultPair> RequestFaultPairs();

}  // namespace orvo::testing
