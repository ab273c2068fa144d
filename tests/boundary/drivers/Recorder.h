// What a COM driver written for these tests does, whichever way it is called: it writes one line per call,
// answers what the test has put into it, and fails where the test says so.
//
// A line is the operation's name and its arguments as they arrived, for example
// "ReadItems R8[0: 1, 2], I2[0: 1, 1]"; a property that is put is written "BaudRate= I4:9600".
#pragma once

#include "boundary/Value.h"

#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orvo::testing {

// How an operation fails: by slot with this result and error information of the text, by name with this result
// (or, when it is not 0, this code) and the text.
struct Raised {
  HRESULT result = S_OK;
  std::string text;
  WORD code = 0;
};

class Recorder {
 public:
  std::vector<std::string> log;
  std::map<std::string, Raised> failures;
  std::map<std::string, Value> answers;
  // Run inside the operation of that name.
  std::map<std::string, std::function<void()>> during;
  ComPtr<IUnknown> sink;  // what SetEventSink got last

  // Notes a call and runs its hook. The scripted failure, or null.
  const Raised* Called(const std::string& operation, std::initializer_list<std::string> arguments);
  // The answer to `operation` in this type; a zero when the test has given none.
  Value Answer(const std::string& operation, VARTYPE type) const;
  // The lines since the last call of this function.
  std::string Lines();
};

// Leaves the error information of a failed slot.
HRESULT RaiseBySlot(const Raised& failure);

}  // namespace orvo::testing
