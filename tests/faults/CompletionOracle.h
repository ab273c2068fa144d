// What must follow from a completion, whatever its arrays look like: computed from what it brought for each
// position, for each public operation that waits for one.
#pragma once

#include "faults/FaultScene.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::testing {

// One position of a request after its completion.
struct BroughtItem {
  bool reached = true;     // both a value and an error stand there
  std::string raw;         // "UI1[21,0]", or "Empty"
  std::string client;      // "I2:21", or "Empty"
  std::int32_t error = 0;  // 9 where nothing stands
};

struct Brought {
  std::vector<BroughtItem> items;
  std::int32_t requestError = 0;  // of the whole request
};

// What a public call gives, and what is other after it than before it (as Difference writes it).
struct Expectation {
  std::string outcome;
  std::string left;
};

// The calls that send the driver an item list (or a whole group) to read or to write; names of public calls.
struct CompletionPath {
  std::string call;
  std::string operation;  // ReadItems, WriteItems, ReadGroup, WriteGroup
  std::size_t items;      // how many positions the request has
  int serial;             // of the request
};
const std::vector<CompletionPath>& CompletionPaths();
std::vector<CompletionPath> CompletionPathsOf(const std::string& operation);

// The request as the driver takes it, for the values that a proper answer would bring.
TakenRequest RequestOf(const CompletionPath& path);
// Everything in its place: what a proper answer brings.
Brought ProperlyBrought(const CompletionPath& path);

Expectation AfterItemRead(const CompletionPath& path, const Brought& brought);
// The written values are 5, 6 and 7 unless the completion brought others.
Expectation AfterItemWrite(const CompletionPath& path, const Brought& brought,
                           const std::vector<std::string>& written = {"I4:5", "I4:6", "R4:7"});
// `buffer`: the bytes that the request holds after the completion.
Expectation AfterGroupRead(const CompletionPath& path, std::int32_t error, std::vector<std::uint8_t> buffer);
Expectation AfterGroupWrite(const CompletionPath& path, std::int32_t error, std::vector<std::uint8_t> buffer);

// Runs the call while its first request ends in `completion`; what is not as expected, or nothing.
std::string CompletionRow(const CompletionPath& path, const std::function<void(IEventNotify&)>& completion,
                          const Expectation& expected);

}  // namespace orvo::testing
