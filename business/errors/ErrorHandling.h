// The two ways in which an operation deals with a failure inside it: with a trace, or by going on.
#pragma once

#include "errors/modIDataErrors.h"

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace orvo {

// What becomes of an error of the system's own table that reaches an operation's general handler.
enum class OwnErrors { PassThrough, Wrap };

// The detail of errInternal: number, ":", description, CR LF and the trace, for example
// "13:Type mismatch\r\n:DataItem.Add(ItemId=WO00010,ItemName=Speed".
std::string InternalErrorDetail(const AutomationError& caught, std::string_view trace);

// Raises `caught` again as errInternal, with the trace; an own error is raised as it is when `own` says so.
[[noreturn]] void RaiseTraced(const AutomationError& caught, std::string_view trace, OwnErrors own);

// Runs `body` under an operation's general handler. `trace` makes the trace text; it is called on failure only.
template <class Body, class Trace>
decltype(auto) WithTrace(OwnErrors own, Trace&& trace, Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    RaiseTraced(CaughtError(), std::forward<Trace>(trace)(), own);
  }
}

// Runs one step with errors suppressed. Returns whether it went through.
template <class Step>
bool Suppressed(Step&& step) noexcept {
  try {
    std::forward<Step>(step)();
    return true;
  } catch (...) {
    return false;
  }
}

// The answer of a question asked with errors suppressed; a question that fails counts as answered `otherwise`.
template <class Question, class Answer = std::invoke_result_t<Question>>
Answer AnswerOr(Answer otherwise, Question&& question) noexcept {
  try {
    return std::forward<Question>(question)();
  } catch (...) {
    return otherwise;
  }
}

}  // namespace orvo
