// Completions whose arrays are too short, too long, empty, or begin elsewhere, with errors and without; and
// those that belong to another kind of request.

#include "faults/CompletionOracle.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace orvo::testing {
namespace {

using Completion = std::function<void(IEventNotify&)>;

// Counts rows and reports those that fail.
struct RowCount {
  std::size_t rows = 0;
  void Run(const CompletionPath& path, const std::string& name, const Completion& completion,
           const Expectation& expected) {
    ++rows;
    std::string wrong;
    try {
      wrong = CompletionRow(path, completion, expected);
    } catch (...) {
      wrong = " an exception escaped";
    }
    if (!wrong.empty()) ADD_FAILURE() << path.call << " ends with " << name << ":" << wrong;
  }
};

// How long an array is that should have `items` elements, and a name for it.
struct Length {
  const char* name;
  int more;  // than there should be; None for an empty array
  static constexpr int None = -1000;
  std::size_t Of(std::size_t items) const {
    return more == None ? 0 : static_cast<std::size_t>(static_cast<int>(items) + more);
  }
};
constexpr Length Lengths[] = {{"all", 0}, {"one too few", -1}, {"two too many", 2}, {"no", Length::None}};

// Errors of a completion, repeated as far as its array reaches; values beside an error are Empty or stand there
// all the same.
struct Codes {
  const char* name;
  std::vector<std::int32_t> codes;
  bool valuesBeside;
};
const std::vector<Codes>& AllCodes() {
  static const std::vector<Codes> all{{"success", {0, 0, 0}, false},
                                      {"one error", {0, 5, 0}, false},
                                      {"the first error and its value", {3, 0, 0}, true},
                                      {"errors", {1, 4, 99}, false}};
  return all;
}

SafeArray<std::int32_t> ErrorArray(const Codes& codes, std::size_t length, std::int32_t lowerBound) {
  SafeArray<std::int32_t> errors(length, lowerBound);
  for (std::size_t k = 0; k < length; ++k)
    errors.Edit()[k] = codes.codes[k % 3];
  return errors;
}

SafeArray<Variant> ValueArray(const TakenRequest& request, const Codes& codes, std::size_t length,
                              std::int32_t lowerBound) {
  const SafeArray<Variant> proper = FaultyDriver::ValuesOf(request);
  SafeArray<Variant> values(length, lowerBound, Word(4711));
  for (std::size_t k = 0; k < length && k < proper.Size(); ++k)
    values.Edit()[k] = codes.codes[k % 3] == 0 || codes.valuesBeside ? proper.View()[k] : Variant();
  return values;
}

// What such arrays bring to each position of the request.
Brought BroughtBy(const CompletionPath& path, const Codes& codes, std::size_t values, std::size_t errors) {
  Brought brought = ProperlyBrought(path);
  for (std::size_t k = 0; k < brought.items.size(); ++k) {
    BroughtItem& item = brought.items[k];
    item.error = k < errors ? codes.codes[k] : 0;
    item.reached = k < values && k < errors;
    if (item.error != 0 && !codes.valuesBeside) item.raw = item.client = "Empty";
    if (!item.reached && item.error == 0) item.error = 9;
  }
  return brought;
}

TEST(CompletionShapes, OfItemReadsCountByPositionAndWhatIsMissingIsError9) {
  RowCount run;
  for (const CompletionPath& path : CompletionPathsOf("ReadItems"))
    for (const Codes& codes : AllCodes())
      for (const Length& values : Lengths)
        for (const Length& errors : Lengths)
          for (const auto& [valueBound, errorBound] : {std::pair{0, 0}, {5, -3}}) {
            if (valueBound != 0 && codes.codes[0] != 0) continue;  // bounds: with success and one error
            const std::size_t valueCount = values.Of(path.items);
            const std::size_t errorCount = errors.Of(path.items);
            const SafeArray<Variant> valueArray = ValueArray(RequestOf(path), codes, valueCount, valueBound);
            const SafeArray<std::int32_t> errorArray = ErrorArray(codes, errorCount, errorBound);
            run.Run(
                path,
                std::string(values.name) + " values, " + errors.name + " errors from " +
                    std::to_string(errorBound) + ", " + codes.name,
                [&](IEventNotify& sink) { sink.AsyncReadComplete(valueArray, errorArray); },
                AfterItemRead(path, BroughtBy(path, codes, valueCount, errorCount)));
          }
  EXPECT_EQ(run.rows, 8U * 4 * 4 * (2 * 2 + 2));
}

TEST(CompletionShapes, OfItemWritesCountByPositionAndWhatIsMissingIsError9) {
  RowCount run;
  for (const CompletionPath& path : CompletionPathsOf("WriteItems"))
    for (const Codes& codes : AllCodes())
      for (const Length& errors : Lengths)
        for (const std::int32_t bound : {0, 5, -3}) {
          const std::size_t count = errors.Of(path.items);
          run.Run(
              path, std::string(errors.name) + " errors from " + std::to_string(bound) + ", " + codes.name,
              [&](IEventNotify& sink) { sink.AsyncWriteComplete(ErrorArray(codes, count, bound)); },
              AfterItemWrite(path, BroughtBy(path, codes, path.items, count)));
        }
  EXPECT_EQ(run.rows, 7U * 4 * 4 * 3);
}

TEST(CompletionShapes, OfWholeGroupsLeaveOutWhatTheBufferDoesNotReach) {
  RowCount run;
  for (const CompletionPath& path : CompletionPathsOf("ReadGroup"))
    for (const std::size_t size : {0U, 1U, 2U, 5U, 9U, 10U, 11U, 300U})
      for (const std::int32_t bound : {0, 5})
        for (const std::int32_t error : {0, 7, 99, -1}) {
          std::vector<std::uint8_t> bytes = FaultyDriver::ImageOf(path.serial);
          bytes.resize(size, 0xEE);
          run.Run(
              path, std::to_string(size) + " bytes and error " + std::to_string(error),
              [&](IEventNotify& sink) {
                sink.AsyncReadGroupComplete(SafeArray<std::uint8_t>(bytes, bound), error);
              },
              AfterGroupRead(path, error, bytes));
        }
  for (const CompletionPath& path : CompletionPathsOf("WriteGroup"))
    for (const std::int32_t error : {0, 1, 3, 7, 99, -1})
      run.Run(
          path, "error " + std::to_string(error),
          [&](IEventNotify& sink) { sink.AsyncWriteGroupComplete(error); },
          AfterGroupWrite(path, error, {0, 5, 0, 0, 0, 6, 0x40, 0xE0, 0, 0}));
  EXPECT_EQ(run.rows, 3U * 8 * 2 * 4 + 2 * 6);
}

// A completion of another kind ends the request in flight all the same, with what it brought.
TEST(CompletionShapes, OfAnotherKindOfRequestEndTheOneInFlight) {
  RowCount run;
  const std::vector<std::uint8_t> zeros(10, 0);
  for (const CompletionPath& path : CompletionPaths()) {
    const bool read = path.operation.starts_with("Read");
    const bool whole = path.operation.ends_with("Group");
    const std::vector<std::uint8_t> image = FaultyDriver::ImageOf(path.serial);
    const std::vector<std::uint8_t> sent =
        read ? zeros : std::vector<std::uint8_t>{0, 5, 0, 0, 0, 6, 0x40, 0xE0, 0, 0};
    const auto afterGroup = [&](std::int32_t error, const std::vector<std::uint8_t>& buffer) {
      return read ? AfterGroupRead(path, error, buffer) : AfterGroupWrite(path, error, buffer);
    };
    // No value for any position of a read, and these errors.
    const auto afterItems = [&](const Codes& codes, std::int32_t requestError) {
      Brought brought = BroughtBy(path, codes, read ? 0 : path.items, path.items);
      brought.requestError = requestError;
      return read ? AfterItemRead(path, brought) : AfterItemWrite(path, brought);
    };
    const Codes& success = AllCodes().front();
    for (const Codes& codes : AllCodes()) {
      const SafeArray<std::int32_t> errors = ErrorArray(codes, path.items, 0);
      if (path.operation != "WriteItems")
        run.Run(
            path, std::string("a write, ") + codes.name,
            [&](IEventNotify& sink) { sink.AsyncWriteComplete(errors); },
            whole ? afterGroup(0, sent) : afterItems(codes, 0));
      if (path.operation == "ReadItems") continue;
      // A list write takes what came for what was written.
      const SafeArray<Variant> values = ValueArray(RequestOf(path), codes, path.items, 0);
      std::vector<std::string> texts;
      for (const Variant& value : values.View())
        texts.push_back(LogText(value));
      if (path.items == 1) texts = {"I4:5"};
      run.Run(
          path, std::string("a read, ") + codes.name,
          [&](IEventNotify& sink) { sink.AsyncReadComplete(values, errors); },
          whole ? afterGroup(0, sent)
                : AfterItemWrite(path, BroughtBy(path, codes, path.items, path.items), texts));
    }
    for (const std::int32_t error : {0, 7}) {
      if (path.operation != "WriteGroup")
        run.Run(
            path, "a group's write, error " + std::to_string(error),
            [&](IEventNotify& sink) { sink.AsyncWriteGroupComplete(error); },
            whole ? afterGroup(error, sent) : afterItems(success, error));
      if (path.operation != "ReadGroup")
        run.Run(
            path, "a group's read, error " + std::to_string(error),
            [&](IEventNotify& sink) { sink.AsyncReadGroupComplete(SafeArray<std::uint8_t>(image), error); },
            whole ? afterGroup(error, image) : afterItems(success, error));
    }
  }
  EXPECT_EQ(run.rows, 8U * 8 + 7 * 8 + 3 * 10 + 2 * 10);
}

}  // namespace
}  // namespace orvo::testing
