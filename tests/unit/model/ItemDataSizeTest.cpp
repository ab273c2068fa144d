// The data size that an item reads out of its own identifier.
#include "unit/model/ItemFormatFixture.h"

namespace orvo::testing {
namespace {

std::int32_t SizeOf(const std::string& itemId) {
  const LooseItem loose(itemId, ItemTypeInteger, 1);
  return loose.item.DataSize();
}

struct SizeRow {
  const char* itemId;
  std::int32_t size;
};

void Check(const std::vector<SizeRow>& rows) {
  for (const SizeRow& row : rows)
    EXPECT_EQ(SizeOf(row.itemId), row.size) << '"' << row.itemId << '"';
}

TEST(ItemDataSize, TheTypeCodeGivesTheSize) {
  Check(
      {{"BI100", 0}, {"BY100", 1}, {"WO100", 2}, {"DW100", 4}, {"FL100", 4}, {"BY", 1}, {"WO", 2}, {"DW", 4}});
}

TEST(ItemDataSize, AnythingElseHasTheSizeZero) {
  Check({{"", 0}, {"W", 0}, {"XX100", 0}, {" WO1", 0}, {"1", 0}, {"OW", 0}, {"W O", 0}});
}

TEST(ItemDataSize, TheTypeCodeIsComparedWithItsCase) {
  Check({{"wo100", 0}, {"Wo100", 0}, {"dw100", 0}, {"by1", 0}, {"fl1", 0}, {"st1234510", 0}, {"ra1210", 0}});
}

TEST(ItemDataSize, AStringsSizeStandsFromTheEighthCharacterOn) {
  Check({{"ST1234510", 10},
         {"ST12345", 0},
         {"ST1234", 0},
         {"ST", 0},
         {"ST12345x", 0},
         {"ST12345x9", 0},
         {"ST.:/-_7", 7},
         {"ST99999999", 999}});
}

TEST(ItemDataSize, ARawItemsSizeStandsFromTheFifthCharacterOn) {
  Check({{"RA1210", 10}, {"RA12", 0}, {"RA1", 0}, {"RA", 0}, {"RA12x", 0}, {"RA99999", 999}});
}

TEST(ItemDataSize, TheSizeIsTheLeadingNumberOfTheTail) {
  Check({{"RA..10;20", 10},
         {"RA..10 20", 10},
         {"RA..10x", 10},
         {"RA..  10", 10},
         {"RA..+10", 10},
         {"RA..-3", -3},
         {"RA..1,5", 1},
         {"RA...5e1", 5},
         {"RA..1E1", 10},
         {"RA..1e+2", 100},
         {"RA..1E", 1},
         {"RA..1d1", 10},
         {"RA..007", 7},
         {"RA..x10", 0},
         {"RA..-", 0},
         {"RA...", 0}});
}

TEST(ItemDataSize, AFractionRoundsToTheNearestIntegerAndHalvesToTheEvenOne) {
  Check({{"RA..0.5", 0},
         {"RA..1.5", 2},
         {"RA..2.5", 2},
         {"RA..3.5", 4},
         {"RA..2.51", 3},
         {"RA..2.49", 2},
         {"RA..-2.5", -2},
         {"ST123452.5", 2},
         {"ST123453.5", 4},
         {"RA..25E-1", 2}});
}

TEST(ItemDataSize, CharactersAreCountedNotBytes) {
  Check({{"STäöüäö10", 10}, {"STäöüä10", 0}, {"RAäö10", 10}});
}

TEST(ItemDataSize, ANumberBeyond32BitsIsAnOverflow) {
  EXPECT_EQ(SizeOf("RA..2147483647"), 2147483647);
  EXPECT_EQ(ErrorOf([] { SizeOf("RA..2147483648"); }), "6: Overflow");
  EXPECT_EQ(ErrorOf([] { SizeOf("ST123451E300"); }), "6: Overflow");
}

}  // namespace
}  // namespace orvo::testing
