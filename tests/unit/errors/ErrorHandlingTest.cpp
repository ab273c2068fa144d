// Run-time errors, caught exceptions, and the two ways of dealing with a failure.
#include "errors/ErrorHandling.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orvo {
namespace {

AutomationError RaisedRuntimeError(const std::function<void()>& action) {
  try {
    action();
  } catch (const AutomationError& error) {
    return error;
  }
  ADD_FAILURE() << "nothing was raised";
  return {0, "nothing was raised"};
}

struct RuntimeRow {
  RuntimeError error;
  std::int32_t number;
  std::string_view text;
};
constexpr RuntimeRow RuntimeRows[] = {
    {RuntimeError::InvalidProcedureCall, 5, "Invalid procedure call or argument"},
    {RuntimeError::Overflow, 6, "Overflow"},
    {RuntimeError::OutOfMemory, 7, "Out of memory"},
    {RuntimeError::SubscriptOutOfRange, 9, "Subscript out of range"},
    {RuntimeError::TypeMismatch, 13, "Type mismatch"},
    {RuntimeError::FileNotFound, 53, "File not found"},
    {RuntimeError::DiskFull, 61, "Disk full"},
    {RuntimeError::PermissionDenied, 70, "Permission denied"},
    {RuntimeError::PathFileAccess, 75, "Path/File access error"},
    {RuntimeError::PathNotFound, 76, "Path not found"},
    {RuntimeError::ObjectNotSet, 91, "Object variable or With block variable not set"},
    {RuntimeError::InvalidUseOfNull, 94, "Invalid use of Null"},
    {RuntimeError::CannotCreateObject, 429, "ActiveX component can't create object"},
    {RuntimeError::AutomationFailure, 440, "Automation error"},
    {RuntimeError::DuplicateKey, 457, "This key is already associated with an element of this collection"},
};

TEST(RuntimeErrors, CarryTheUsualNumbersAndTexts) {
  for (const RuntimeRow& row : RuntimeRows) {
    SCOPED_TRACE(row.number);
    EXPECT_EQ(RuntimeErrorText(row.error), row.text);
    const AutomationError bare = RaisedRuntimeError([&] { RaiseRuntimeError(row.error); });
    EXPECT_EQ(bare.Number(), row.number);
    EXPECT_EQ(bare.Description(), row.text);
    const AutomationError detailed = RaisedRuntimeError([&] { RaiseRuntimeError(row.error, "Speed"); });
    EXPECT_EQ(detailed.Number(), row.number);
    EXPECT_EQ(detailed.Description(), std::string(row.text) + ": Speed");
  }
}

TEST(RuntimeErrors, HaveOneTextForNumbersThatAreNotListed) {
  EXPECT_EQ(RuntimeErrorText(static_cast<RuntimeError>(1000)), "Application-defined or object-defined error");
}

// What CaughtError makes of `exception`.
template <class Exception>
AutomationError CaughtAs(const Exception& exception) {
  try {
    throw exception;
  } catch (...) {
    return CaughtError();
  }
}

TEST(CaughtError, KeepsAnAutomationError) {
  const AutomationError error = CaughtAs(AutomationError(-5, "as it was"));
  EXPECT_EQ(error.Number(), -5);
  EXPECT_EQ(error.Description(), "as it was");
}

TEST(CaughtError, TurnsExhaustedMemoryIntoSeven) {
  const AutomationError error = CaughtAs(std::bad_alloc());
  EXPECT_EQ(error.Number(), 7);
  EXPECT_EQ(error.Description(), "Out of memory");
}

TEST(CaughtError, TurnsAStandardExceptionInto440WithItsText) {
  const AutomationError error = CaughtAs(std::runtime_error("lost a wheel"));
  EXPECT_EQ(error.Number(), 440);
  EXPECT_EQ(error.Description(), "Automation error: lost a wheel");
}

TEST(CaughtError, TurnsAnythingElseInto440) {
  const AutomationError error = CaughtAs(42);
  EXPECT_EQ(error.Number(), 440);
  EXPECT_EQ(error.Description(), "Automation error");
}

constexpr std::string_view Trace = ":DataItem.Add(ItemId=WO00010,ItemName=Speed";

TEST(InternalErrorDetail, IsNumberDescriptionLineBreakAndTrace) {
  EXPECT_EQ(InternalErrorDetail(AutomationError(13, "Type mismatch"), Trace),
            "13:Type mismatch\r\n:DataItem.Add(ItemId=WO00010,ItemName=Speed");
  EXPECT_EQ(InternalErrorDetail(AutomationError(errInvalidName, ""), ""), "-2147221497:\r\n");
}

std::string TraceText() {
  return std::string(Trace);
}

TEST(WithTrace, ReturnsWhatTheBodyReturnsAndMakesNoTraceThen) {
  int traces = 0;
  const auto trace = [&] {
    ++traces;
    return TraceText();
  };
  int value = 7;
  int& same = WithTrace(OwnErrors::Wrap, trace, [&]() -> int& { return value; });
  EXPECT_EQ(&same, &value);
  EXPECT_EQ(traces, 0);
}

TEST(WithTrace, WrapsAForeignErrorEitherWay) {
  for (const OwnErrors own : {OwnErrors::PassThrough, OwnErrors::Wrap}) {
    const AutomationError error = RaisedRuntimeError(
        [&] { WithTrace(own, TraceText, [] { RaiseRuntimeError(RuntimeError::TypeMismatch); }); });
    EXPECT_EQ(error.Number(), errInternal);
    EXPECT_EQ(error.Description(),
              "INTERNAL ERROR, please contact support. code13:Type mismatch\r\n"
              ":DataItem.Add(ItemId=WO00010,ItemName=Speed");
  }
}

TEST(WithTrace, PassesAnOwnErrorThroughWhenToldSo) {
  const AutomationError error = RaisedRuntimeError([] {
    WithTrace(OwnErrors::PassThrough, TraceText, [] { RaiseDataError(errInvalidItemId, "WO00010"); });
  });
  EXPECT_EQ(error.Number(), errInvalidItemId);
  EXPECT_EQ(error.Description(), "Invalid ItemID: WO00010");
}

TEST(WithTrace, WrapsAnOwnErrorWhenToldSo) {
  const AutomationError error = RaisedRuntimeError(
      [] { WithTrace(OwnErrors::Wrap, TraceText, [] { RaiseDataError(errInvalidItemId, "WO00010"); }); });
  EXPECT_EQ(error.Number(), errInternal);
  EXPECT_EQ(error.Description(),
            "INTERNAL ERROR, please contact support. code-2147221495:Invalid ItemID: WO00010\r\n"
            ":DataItem.Add(ItemId=WO00010,ItemName=Speed");
}

TEST(WithTrace, WrapsACodeJustOutsideTheTable) {
  const AutomationError error = RaisedRuntimeError(
      [] { WithTrace(OwnErrors::PassThrough, TraceText, [] { RaiseDataError(errInvalidFormat + 1, ""); }); });
  EXPECT_EQ(error.Number(), errInternal);
}

TEST(Suppressed, TellsWhetherTheStepWentThrough) {
  int steps = 0;
  EXPECT_TRUE(Suppressed([&] { ++steps; }));
  EXPECT_FALSE(Suppressed([] { RaiseDataError(errQueueFull, ""); }));
  EXPECT_FALSE(Suppressed([] { throw 42; }));
  EXPECT_EQ(steps, 1);
}

TEST(AnswerOr, GivesTheAnswerOrTheReplacement) {
  EXPECT_EQ(AnswerOr(5, [] { return 3; }), 3);
  EXPECT_EQ(AnswerOr(5, []() -> int { RaiseDataError(errQueueFull, ""); }), 5);
  EXPECT_TRUE(AnswerOr(true, []() -> bool { throw std::runtime_error("no answer"); }));
}

}  // namespace
}  // namespace orvo
