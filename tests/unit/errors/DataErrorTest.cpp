// The table of the system's own errors and the two routines that raise them.
#include "errors/modIDataErrors.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <set>
#include <string>
#include <string_view>

namespace orvo {
namespace {

struct Expected {
  DataError code;
  std::int32_t number;
  std::string_view name;
  std::string_view prefix;
};

constexpr Expected ExpectedRows[] = {
    {errInvalidState, -2147221503, "errInvalidState", "Invalid State: "},
    {errFileNotFound, -2147221502, "errFileNotFound", "File not found: "},
    {errInvalidFileFormat, -2147221501, "errInvalidFileFormat", "Invalid file format: "},
    {errCannotWriteFile, -2147221500, "errCannotWriteFile", "Cannot write to file: "},
    {errInvalidDeviceType, -2147221499, "errInvalidDeviceType", "Invalid device type: "},
    {errInvalidHandle, -2147221498, "errInvalidHandle", "Invalid Handle: "},
    {errInvalidName, -2147221497, "errInvalidName", "Invalid Name: "},
    {errInvalidParameters, -2147221496, "errInvalidParameters", "Invalid Parameter(s): "},
    {errInvalidItemId, -2147221495, "errInvalidItemId", "Invalid ItemID: "},
    {errCommunication, -2147221494, "errCommunication", "Communication error: "},
    {errInvalidValue, -2147221493, "errInvalidValue", "Invalid Value: "},
    {errQueueFull, -2147221492, "errQueueFull", "Queue full: "},
    {errInvalidGroupSize, -2147221491, "errInvalidGroupSize", "Invalid group size: "},
    {errInternal, -2147221490, "errInternal", "INTERNAL ERROR, please contact support. code"},
    {errInvalidFormat, -2147221489, "errInvalidFormat", "INVALID FORMAT "},
};

AutomationError Raised(const std::function<void()>& action) {
  try {
    action();
  } catch (const AutomationError& error) {
    return error;
  }
  ADD_FAILURE() << "nothing was raised";
  return {0, "nothing was raised"};
}

TEST(DataErrorTable, HasTheFifteenCodesWithTheirPrefixesInOrder) {
  ASSERT_EQ(DataErrorTable.size(), 15U);
  ASSERT_EQ(std::size(ExpectedRows), 15U);
  for (std::size_t i = 0; i < std::size(ExpectedRows); ++i) {
    SCOPED_TRACE(ExpectedRows[i].name);
    EXPECT_EQ(DataErrorTable[i].code, ExpectedRows[i].code);
    EXPECT_EQ(static_cast<std::int32_t>(DataErrorTable[i].code), ExpectedRows[i].number);
    EXPECT_EQ(DataErrorTable[i].name, ExpectedRows[i].name);
    EXPECT_EQ(DataErrorTable[i].prefix, ExpectedRows[i].prefix);
  }
}

TEST(DataErrorTable, HasAMeaningOfItsOwnForEachRowThatIsNotReserved) {
  std::set<std::string_view> meanings;
  int reserved = 0;
  for (const DataErrorRow& row : DataErrorTable) {
    EXPECT_FALSE(row.meaning.empty()) << row.name;
    if (row.meaning.starts_with("Reserved"))
      ++reserved;
    else
      EXPECT_TRUE(meanings.insert(row.meaning).second) << row.name;
  }
  EXPECT_EQ(reserved, 3);
}

TEST(DataErrorTable, IsFoundByCodeAndKnowsNoOtherCode) {
  for (const DataErrorRow& row : DataErrorTable)
    EXPECT_EQ(FindDataError(row.code), &row) << row.name;
  constexpr std::int32_t others[] = {-2147221504,
                                     -2147221488,
                                     0,
                                     1,
                                     15,
                                     13,
                                     std::numeric_limits<std::int32_t>::min(),
                                     std::numeric_limits<std::int32_t>::max()};
  for (const std::int32_t code : others)
    EXPECT_EQ(FindDataError(code), nullptr) << code;
}

TEST(RaiseDataError, GivesPrefixAndDetailForEachRow) {
  for (const Expected& row : ExpectedRows) {
    SCOPED_TRACE(row.name);
    const AutomationError error = Raised([&] { RaiseDataError(row.code, "Tank 7 (\xC3\xA4)"); });
    EXPECT_EQ(error.Number(), row.number);
    EXPECT_EQ(error.Description(), std::string(row.prefix) + "Tank 7 (\xC3\xA4)");
    EXPECT_EQ(error.what(), error.Description());
  }
}

TEST(RaiseDataError, GivesTheBarePrefixForAnEmptyDetail) {
  for (const Expected& row : ExpectedRows) {
    SCOPED_TRACE(row.name);
    const AutomationError error = Raised([&] { RaiseDataError(row.code, ""); });
    EXPECT_EQ(error.Number(), row.number);
    EXPECT_EQ(error.Description(), row.prefix);
  }
}

TEST(RaiseDataError, RaisesACodeOutsideTheTableAsItIsWithoutDescription) {
  const std::int32_t others[] = {static_cast<std::int32_t>(0x80040010U), static_cast<std::int32_t>(0x80040000U),
                                 13, 0};
  for (const std::int32_t code : others) {
    SCOPED_TRACE(code);
    const AutomationError error = Raised([&] { RaiseDataError(code, "a detail"); });
    EXPECT_EQ(error.Number(), code);
    EXPECT_EQ(error.Description(), "");
  }
}

TEST(RaiseDataError, KeepsNothingOfAnEarlierError) {
  Raised([] { RaiseDataError(errInvalidItemId, "earlier"); });
  EXPECT_EQ(Raised([] { RaiseDataError(errInvalidItemId, ""); }).Description(), "Invalid ItemID: ");
  EXPECT_EQ(Raised([] { RaiseDataError(7, ""); }).Description(), "");
}

TEST(RaiseDriverError, MapsTheDriversCodes) {
  struct Row {
    std::int32_t driverCode;
    DataError expected;
  };
  constexpr Row rows[] = {
      {2, errInvalidState},       {1, errCommunication},
      {3, errCommunication},      {4, errCommunication},
      {5, errCommunication},      {99, errCommunication},
      {10, errInvalidValue},      {0, errInternal},
      {-1, errInternal},          {100, errInternal},
      {6, errInternal},           {7, errInternal},
      {8, errInternal},           {9, errInternal},
      {11, errInternal},          {98, errInternal},
      {-2147221503, errInternal}, {std::numeric_limits<std::int32_t>::max(), errInternal},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.driverCode);
    for (const std::string_view detail : {std::string_view("line 3 is dead"), std::string_view()}) {
      const AutomationError error = Raised([&] { RaiseDriverError(row.driverCode, detail); });
      EXPECT_EQ(error.Number(), row.expected);
      EXPECT_EQ(error.Description(), std::string(FindDataError(row.expected)->prefix).append(detail));
    }
  }
}

}  // namespace
}  // namespace orvo
