// Items in the byte image of their group: taking values out, putting them in, and telling a change.
#include "unit/model/ItemFormatFixture.h"

#include <limits>
#include <random>
#include <vector>

namespace orvo::testing {
namespace {

using Image = std::vector<std::uint8_t>;

struct Placed : LooseItem {
  Placed(std::int32_t type, std::int32_t words, std::int32_t offset) : LooseItem("WO1", type, words) {
    item.SetItemGroupBufferOffset(offset);
  }
  std::string Taken(const Image& image) const { return LogText(item.ExtractFromBuffer(image)); }
  Image Put(const Variant& raw, Image image) const {
    item.StoreIntoBuffer(raw, image);
    return image;
  }
};

const Image Counting{1, 2, 3, 4, 5, 6, 7, 8};

TEST(ItemBufferTaking, AnIntegerStandsMostSignificantByteFirstAndComesAsADouble) {
  EXPECT_EQ(Placed(ItemTypeInteger, 1, 0).Taken(Counting), "R8:258");
  EXPECT_EQ(Placed(ItemTypeInteger, 1, 3).Taken(Counting), "R8:1029");
  EXPECT_EQ(Placed(ItemTypeInteger, 1, 6).Taken(Counting), "R8:1800");
  EXPECT_EQ(Placed(ItemTypeInteger, 2, 0).Taken(Counting), "R8:16909060");
  EXPECT_EQ(Placed(ItemTypeInteger, 2, 2).Taken(Counting), "R8:50595078");
}

TEST(ItemBufferTaking, AWordIsNeverNegativeButADoubleWordWrapsAt32Bits) {
  EXPECT_EQ(Placed(ItemTypeInteger, 1, 0).Taken({255, 255}), "R8:65535");
  EXPECT_EQ(Placed(ItemTypeInteger, 2, 0).Taken({127, 255, 255, 255}), "R8:2147483647");
  EXPECT_EQ(Placed(ItemTypeInteger, 2, 0).Taken({128, 0, 0, 0}), "R8:-2147483648");
  EXPECT_EQ(Placed(ItemTypeInteger, 2, 0).Taken({255, 255, 255, 255}), "R8:-1");
}

TEST(ItemBufferTaking, OfALongerIntegerTheLow32BitsCount) {
  EXPECT_EQ(Placed(ItemTypeInteger, 3, 0).Taken(Counting), "R8:50595078");
  EXPECT_EQ(Placed(ItemTypeInteger, 4, 0).Taken(Counting), "R8:84281096");
}

TEST(ItemBufferTaking, AnIntegerWithoutWordsIsZero) {
  EXPECT_EQ(Placed(ItemTypeInteger, 0, 0).Taken(Counting), "R8:0");
}

TEST(ItemBufferTaking, TextsAndRawBytesAreCopiedUnchanged) {
  for (const std::int32_t type : {ItemTypeString, ItemTypeRaw}) {
    EXPECT_EQ(Placed(type, 2, 1).Taken(Counting), "UI1[2,3,4,5]");
    EXPECT_EQ(Placed(type, 4, 0).Taken(Counting), "UI1[1,2,3,4,5,6,7,8]");
    EXPECT_EQ(Placed(type, 0, 0).Taken(Counting), "UI1[]");
    EXPECT_EQ(Placed(type, 1, 0).item.ExtractFromBuffer(Counting).LowerBound(), 0);
  }
}

TEST(ItemBufferTaking, AFloatStandsMostSignificantByteFirstAndComesAsASingle) {
  EXPECT_EQ(Placed(ItemTypeFloat, 2, 1).Taken({9, 0xC0, 0x20, 0, 0, 9}), "R4:-2.5");
  EXPECT_EQ(Placed(ItemTypeFloat, 2, 0).Taken({0x3F, 0x80, 0, 0}), "R4:1");
  EXPECT_EQ(Placed(ItemTypeFloat, 1, 0).Taken({0x3F, 0x80, 0, 0}), "R4:1") << "always four bytes";
}

TEST(ItemBufferTaking, AnyOtherTypeGivesNothing) {
  for (const std::int32_t type : {4, 5, 2147483647})
    EXPECT_EQ(Placed(type, 1, 0).Taken(Counting), "Empty");
}

TEST(ItemBufferTaking, BytesOutsideTheImageAreJustNotCopied) {
  EXPECT_EQ(Placed(ItemTypeInteger, 1, 7).Taken(Counting), "R8:2048");
  EXPECT_EQ(Placed(ItemTypeInteger, 1, -1).Taken(Counting), "R8:1");
  EXPECT_EQ(Placed(ItemTypeInteger, 1, 8).Taken(Counting), "R8:0");
  EXPECT_EQ(Placed(ItemTypeInteger, 2, 6).Taken(Counting), "R8:117964800");
  EXPECT_EQ(Placed(ItemTypeString, 2, 6).Taken(Counting), "UI1[7,8,0,0]");
  EXPECT_EQ(Placed(ItemTypeRaw, 2, -2).Taken(Counting), "UI1[0,0,1,2]");
  EXPECT_EQ(Placed(ItemTypeRaw, 1, 2147483647).Taken(Counting), "UI1[0,0]");
  EXPECT_EQ(Placed(ItemTypeRaw, 1, -2147483647 - 1).Taken(Counting), "UI1[0,0]");
  EXPECT_EQ(Placed(ItemTypeFloat, 2, 2).Taken({0, 0, 0x3F, 0x80}), "R4:1");
  EXPECT_EQ(Placed(ItemTypeInteger, 2, 0).Taken({}), "R8:0");
  EXPECT_EQ(Placed(ItemTypeFloat, 2, 0).Taken({}), "R4:0");
}

TEST(ItemBufferTaking, ANegativeLengthTakesNothing) {
  EXPECT_EQ(Placed(ItemTypeInteger, -1, 0).Taken(Counting), "R8:0");
  EXPECT_NO_THROW(Placed(ItemTypeRaw, -1, 0).Taken(Counting));
  EXPECT_NO_THROW(Placed(ItemTypeRaw, -2147483647 - 1, 0).Taken(Counting));
}

const Image Nines(8, 9);

TEST(ItemBufferStoring, AnIntegerIsWrittenMostSignificantByteFirst) {
  EXPECT_EQ(Placed(ItemTypeInteger, 1, 2).Put(I4(0x1234), Nines), (Image{9, 9, 0x12, 0x34, 9, 9, 9, 9}));
  EXPECT_EQ(Placed(ItemTypeInteger, 2, 2).Put(I4(0x12345678), Nines),
            (Image{9, 9, 0x12, 0x34, 0x56, 0x78, 9, 9}));
  EXPECT_EQ(Placed(ItemTypeInteger, 2, 0).Put(I4(-2), Nines), (Image{255, 255, 255, 254, 9, 9, 9, 9}));
  EXPECT_EQ(Placed(ItemTypeInteger, 1, 0).Put(I4(-2), Nines), (Image{255, 254, 9, 9, 9, 9, 9, 9}));
}

TEST(ItemBufferStoring, TextsAndRawBytesAreCopiedUnchanged) {
  for (const std::int32_t type : {ItemTypeString, ItemTypeRaw})
    EXPECT_EQ(Placed(type, 2, 1).Put(Bytes({1, 2, 3, 4}), Nines), (Image{9, 1, 2, 3, 4, 9, 9, 9}));
}

TEST(ItemBufferStoring, NeverMoreThanTheItemsOwnBytesAreWritten) {
  EXPECT_EQ(Placed(ItemTypeRaw, 1, 0).Put(Bytes({1, 2, 3, 4}), Nines), (Image{1, 2, 9, 9, 9, 9, 9, 9}));
}

TEST(ItemBufferStoring, AShorterArrayLeavesTheRestOfThePlaceButEmptyAndNullAreZeros) {
  const Placed placed(ItemTypeRaw, 2, 1);
  EXPECT_EQ(placed.Put(Bytes({1, 2}), Nines), (Image{9, 1, 2, 9, 9, 9, 9, 9}));
  EXPECT_EQ(placed.Put(Bytes({}), Nines), Nines);
  EXPECT_EQ(placed.Put(Variant(), Nines), (Image{9, 0, 0, 0, 0, 9, 9, 9}));
  EXPECT_EQ(placed.Put(Variant::Null(), Nines), (Image{9, 0, 0, 0, 0, 9, 9, 9}));
}

TEST(ItemBufferStoring, AFloatIsWrittenMostSignificantByteFirst) {
  EXPECT_EQ(Placed(ItemTypeFloat, 2, 1).Put(Variant(-2.5F), Nines), (Image{9, 0xC0, 0x20, 0, 0, 9, 9, 9}));
}

TEST(ItemBufferStoring, BytesOutsideTheImageAreLeftOut) {
  EXPECT_EQ(Placed(ItemTypeInteger, 1, 7).Put(I4(0x1234), Nines), (Image{9, 9, 9, 9, 9, 9, 9, 0x12}));
  EXPECT_EQ(Placed(ItemTypeInteger, 1, -1).Put(I4(0x1234), Nines), (Image{0x34, 9, 9, 9, 9, 9, 9, 9}));
  EXPECT_EQ(Placed(ItemTypeFloat, 2, 6).Put(Variant(1.0F), Nines), (Image{9, 9, 9, 9, 9, 9, 0x3F, 0x80}));
  EXPECT_EQ(Placed(ItemTypeRaw, 2, -2).Put(Bytes({1, 2, 3, 4}), Nines), (Image{3, 4, 9, 9, 9, 9, 9, 9}));
  for (const std::int32_t offset : {8, 2147483647, -9, -2147483647 - 1})
    EXPECT_EQ(Placed(ItemTypeInteger, 2, offset).Put(I4(-1), Nines), Nines) << offset;
  EXPECT_EQ(Placed(ItemTypeInteger, 2, 0).Put(I4(-1), {}), Image{});
}

TEST(ItemBufferStoring, WhatIsPutInIsTakenOutAgain) {
  std::mt19937 random(7);
  for (int round = 0; round < 10000; ++round) {
    const auto value = static_cast<std::int32_t>(random());
    const auto offset = static_cast<std::int32_t>(random() % 5);
    const Placed doubleWord(ItemTypeInteger, 2, offset);
    ASSERT_EQ(doubleWord.Taken(doubleWord.Put(I4(value), Nines)), LogText(Variant(static_cast<double>(value))));
    const Placed word(ItemTypeInteger, 1, offset);
    ASSERT_EQ(word.Taken(word.Put(I4(value), Nines)), LogText(Variant(static_cast<double>(value & 0xFFFF))));
    const Placed real(ItemTypeFloat, 2, offset);
    const float single = static_cast<float>(value) / 8;
    ASSERT_EQ(real.Taken(real.Put(Variant(single), Nines)), LogText(Variant(single)));
  }
}

// Whether a value differs from what the item holds, and then whether it does when it is asked again.
std::string Change(KELDataItem& item, const Variant& held, const Variant& taken) {
  item.SetDATAValue(held);
  const std::string first = item.TakeChange(taken) ? "changed" : "same";
  return first + (item.TakeChange(taken) ? ",changed" : ",same");
}

TEST(ItemBufferChange, ArraysOfAnotherUpperBoundCountAsTheSame) {
  LooseItem loose("RA124", ItemTypeRaw, 2);
  EXPECT_EQ(Change(loose.item, Bytes({1, 2}), Bytes({1, 2, 3})), "same,same");
  EXPECT_EQ(Change(loose.item, Bytes({1, 2, 3}), Bytes({4, 5})), "same,same");
  EXPECT_EQ(Change(loose.item, Bytes({}), Bytes({4, 5})), "same,same");
}

TEST(ItemBufferChange, ArraysOfTheSameUpperBoundDifferInAnyElement) {
  LooseItem loose("RA124", ItemTypeRaw, 2);
  EXPECT_EQ(Change(loose.item, Bytes({1, 2, 3}), Bytes({1, 2, 3})), "same,same");
  EXPECT_EQ(Change(loose.item, Bytes({1, 2, 3}), Bytes({9, 2, 3})), "changed,changed");
  EXPECT_EQ(Change(loose.item, Bytes({1, 2, 3}), Bytes({1, 2, 9})), "changed,changed");
}

TEST(ItemBufferChange, ScalarsDifferByTheirKindAndByTheirValue) {
  LooseItem loose("WO1", ItemTypeInteger, 1);
  EXPECT_EQ(Change(loose.item, I4(5), Variant(5.0)), "changed,changed");
  EXPECT_EQ(Change(loose.item, Variant(5.0), Variant(5.0)), "same,same");
  EXPECT_EQ(Change(loose.item, Variant(5.0), Variant(6.0)), "changed,changed");
  EXPECT_EQ(Change(loose.item, Variant(1.5F), Variant(1.5F)), "same,same");
  EXPECT_EQ(Change(loose.item, Variant(1.5F), Variant(2.5F)), "changed,changed");
}

TEST(ItemBufferChange, WhatDoesNotCompareHasChanged) {
  LooseItem loose("WO1", ItemTypeInteger, 1);
  EXPECT_EQ(Change(loose.item, Variant::Null(), Variant(0.0)), "changed,changed");
  EXPECT_EQ(Change(loose.item, Variant(ErrorCode{5}), Variant(5.0)), "changed,changed");
  EXPECT_EQ(Change(loose.item, Bytes({5, 0}), Variant(5.0)), "changed,changed");
  EXPECT_EQ(Change(loose.item, Variant("5"), Variant(5.0)), "changed,changed");
  EXPECT_EQ(Change(loose.item, Variant("AB"), Bytes({65, 66})), "changed,changed");
}

TEST(ItemBufferChange, AnItemThatTakesNothingOutOfTheImageIsTheSame) {
  LooseItem loose("WO1", 4, 1);
  EXPECT_EQ(Change(loose.item, I4(5), Variant()), "same,same");
  loose.item.SetWriteDone(true);
  EXPECT_EQ(Change(loose.item, I4(5), Variant()), "same,same");
}

TEST(ItemBufferChange, AnItemNeverReadHasChangedEvenToZero) {
  LooseItem loose("WO1", ItemTypeInteger, 1);
  EXPECT_EQ(Change(loose.item, Variant(), Variant(0.0)), "changed,changed");
}

TEST(ItemBufferChange, AWrittenItemHasChangedOnce) {
  LooseItem loose("WO1", ItemTypeInteger, 1);
  loose.item.SetWriteDone(true);
  EXPECT_EQ(Change(loose.item, Variant(5.0), Variant(5.0)), "changed,same");
  EXPECT_FALSE(loose.item.WriteDone());
  LooseItem raw("RA124", ItemTypeRaw, 2);
  raw.item.SetWriteDone(true);
  EXPECT_EQ(Change(raw.item, Bytes({1, 2}), Bytes({1, 2, 3})), "changed,same");
}

TEST(ItemBufferChange, TheTestItselfStoresNothing) {
  LooseItem loose("WO1", ItemTypeInteger, 1);
  loose.item.SetDATAValue(I4(5));
  loose.item.TakeChange(Variant(6.0));
  EXPECT_EQ(LogText(loose.item.DATAValue()), "I4:5");
}

// What is surely the same is what the long way finds unchanged.
struct SureRow {
  const char* what;
  std::int32_t type, words, offset;
  Variant held;
  Image image;
  bool isSure;
  bool isSame;
};

const std::vector<SureRow> SureRows{
    {"a word", ItemTypeInteger, 1, 1, Variant(515.0), Counting, true, true},
    {"another word", ItemTypeInteger, 1, 1, Variant(516.0), Counting, false, false},
    {"a word that differs in its first byte", ItemTypeInteger, 1, 0, Variant(2.0), Counting, false, false},
    {"a word above 32767", ItemTypeInteger, 1, 0, Variant(65535.0), {255, 255}, true, true},
    {"a word is never negative", ItemTypeInteger, 1, 0, Variant(-1.0), {255, 255}, false, false},
    {"a double word", ItemTypeInteger, 2, 0, Variant(16909060.0), Counting, true, true},
    {"a negative double word", ItemTypeInteger, 2, 0, Variant(-2.0), {255, 255, 255, 254}, true, true},
    {"a double word is signed",
     ItemTypeInteger,
     2,
     0,
     Variant(4294967294.0),
     {255, 255, 255, 254},
     false,
     false},
    {"a number's low half alone", ItemTypeInteger, 2, 0, Variant(772.0), Counting, false, false},
    {"zero without a sign", ItemTypeInteger, 1, 0, Variant(-0.0), {0, 0}, true, true},
    {"a longer integer takes a closer look", ItemTypeInteger, 3, 0, Variant(50595078.0), Counting, false, true},
    {"an integer without words", ItemTypeInteger, 0, 0, Variant(0.0), Counting, false, true},
    {"NaN in a word", ItemTypeInteger, 1, 0, Variant(NotANumber), {0, 0}, false, false},
    {"another kind of number", ItemTypeInteger, 1, 0, I4(258), Counting, false, false},
    {"bytes where a number is due", ItemTypeInteger, 1, 0, Bytes({1, 2}), Counting, false, false},
    {"a single", ItemTypeFloat, 2, 1, Variant(-2.5F), {9, 0xC0, 0x20, 0, 0}, true, true},
    {"another single", ItemTypeFloat, 2, 1, Variant(-2.5F), {9, 0xC0, 0x20, 0, 1}, false, false},
    {"a single's zeros are equal", ItemTypeFloat, 2, 0, Variant(0.0F), {0x80, 0, 0, 0}, true, true},
    {"NaN is not itself",
     ItemTypeFloat,
     2,
     0,
     Variant(std::numeric_limits<float>::quiet_NaN()),
     {0x7F, 0xC0, 0, 0},
     false,
     false},
    {"a single in one word takes a closer look",
     ItemTypeFloat,
     1,
     0,
     Variant(1.0F),
     {0x3F, 0x80, 0, 0},
     false,
     true},
    {"a double where a single is due", ItemTypeFloat, 2, 0, Variant(1.0), {0x3F, 0x80, 0, 0}, false, false},
    {"a single where an integer is due",
     ItemTypeInteger,
     2,
     0,
     Variant(1.0F),
     {0x3F, 0x80, 0, 0},
     false,
     false},
    {"a text's bytes", ItemTypeString, 2, 1, Bytes({2, 3, 4, 5}), Counting, true, true},
    {"raw bytes", ItemTypeRaw, 2, 4, Bytes({5, 6, 7, 8}), Counting, true, true},
    {"another last byte", ItemTypeRaw, 2, 4, Bytes({5, 6, 7, 9}), Counting, false, false},
    {"fewer bytes take a closer look", ItemTypeRaw, 2, 4, Bytes({5, 6}), Counting, false, true},
    {"bytes of an integer", ItemTypeInteger, 2, 0, Bytes({1, 2, 3, 4}), Counting, false, false},
    {"bytes of no type", 4, 2, 0, Bytes({1, 2, 3, 4}), Counting, false, true},
    {"nothing held", ItemTypeInteger, 1, 0, Variant(), {0, 0}, false, false},
    {"half outside", ItemTypeInteger, 1, 7, Variant(2048.0), Counting, false, true},
    {"behind the end", ItemTypeInteger, 1, 2147483647, Variant(0.0), Counting, false, true},
    {"before the beginning", ItemTypeRaw, 1, -1, Bytes({0, 1}), Counting, false, true},
    {"without an image", ItemTypeInteger, 1, 0, Variant(0.0), {}, false, true},
    {"a negative length", ItemTypeInteger, -1, 0, Variant(0.0), Counting, false, true},
};

TEST(ItemBufferChange, WhatIsSurelyTheSameInTheImageHasNotChanged) {
  for (const SureRow& row : SureRows) {
    Placed placed(row.type, row.words, row.offset);
    placed.item.SetDATAValue(row.held);
    const bool sure = placed.item.IsSurelySameIn(row.image);
    const bool same = !placed.item.TakeChange(placed.item.ExtractFromBuffer(row.image));
    EXPECT_TRUE(sure == row.isSure && same == row.isSame) << row.what << ": " << sure << ' ' << same;
    placed.item.SetWriteDone(true);
    EXPECT_FALSE(placed.item.IsSurelySameIn(row.image)) << row.what << ", written";
  }
}

}  // namespace
}  // namespace orvo::testing
