// What a group tells the device about its items: addresses, lengths, the size of the whole, the byte image.
#include "unit/model/ItemFixture.h"

namespace orvo::testing {
namespace {

using ItemGroupSize = ItemFixture;

SafeArray<std::int32_t> Handles(std::int32_t lowerBound, std::vector<std::int32_t> handles) {
  return SafeArray<std::int32_t>(std::move(handles), lowerBound);
}

template <class T>
std::vector<T> Elements(const SafeArray<T>& array) {
  EXPECT_EQ(array.LowerBound(), 0);
  return {array.View().begin(), array.View().end()};
}

// `text` of the internal error that is raised, after the prefix.
std::string InternalDetail(const std::function<void()>& call) {
  const std::string prefix = "-2147221490: INTERNAL ERROR, please contact support. code";
  const std::string text = ErrorOf(call);
  return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
}

TEST_F(ItemGroupSize, CompileVariableGivesTheAddressesInTheOrderOfTheHandles) {
  items->Add("WO1");
  items->Add("DW2");
  items->AddCompiled("X");
  EXPECT_EQ(Elements(group->CompileVariable(Handles(0, {2, 1, 3, 1}))), (std::vector<double>{2, 1, 0, 1}));
  EXPECT_EQ(Elements(group->GetDimension(Handles(0, {2, 1, 3, 1}))), (std::vector<std::int16_t>{2, 1, 0, 1}));
}

TEST_F(ItemGroupSize, HandlesFrom1GiveAResultFrom0WhoseFirstElementIs0) {
  items->Add("WO1");
  items->Add("DW2");
  items->Add("WO3");
  EXPECT_EQ(Elements(group->CompileVariable(Handles(1, {3, 2, 1}))), (std::vector<double>{0, 3, 2, 1}));
  EXPECT_EQ(Elements(group->GetDimension(Handles(1, {3, 2, 1}))), (std::vector<std::int16_t>{0, 1, 2, 1}));
}

TEST_F(ItemGroupSize, UnknownHandlesGive0WithoutAnError) {
  items->Add("DW1");
  EXPECT_EQ(Elements(group->CompileVariable(Handles(0, {9, 1, 0, -4}))), (std::vector<double>{0, 1, 0, 0}));
  EXPECT_EQ(Elements(group->GetDimension(Handles(0, {9, 1, 0, -4}))), (std::vector<std::int16_t>{0, 2, 0, 0}));
}

TEST_F(ItemGroupSize, NoHandlesGiveNothing) {
  EXPECT_TRUE(group->CompileVariable(Handles(0, {})).IsEmpty());
  EXPECT_TRUE(group->GetDimension(Handles(0, {})).IsEmpty());
}

TEST_F(ItemGroupSize, TheHandlesAreNotChanged) {
  items->Add("WO1");
  const SafeArray<std::int32_t> handles = Handles(1, {1, 9});
  group->CompileVariable(handles);
  group->GetDimension(handles);
  EXPECT_EQ(handles, Handles(1, {1, 9}));
}

TEST_F(ItemGroupSize, AnIndexBeyond16BitsIsAnOverflow) {
  AddItem("WO1", 0, 3);
  const auto last = group->CompileVariable(Handles(32767, {1}));
  EXPECT_EQ(last.UpperBound(), 32767);
  EXPECT_EQ(last.At(32767), 7.0);
  EXPECT_EQ(group->GetDimension(Handles(32767, {1})).At(32767), 3);
  EXPECT_EQ(InternalDetail([&] {
              group->CompileVariable(Handles(32767, {1, 1}));
            }).substr(0, 12),
            "6:Overflow\r\n");
  EXPECT_EQ(InternalDetail([&] {
              group->GetDimension(Handles(32767, {1, 1}));
            }).substr(0, 12),
            "6:Overflow\r\n");
}

TEST_F(ItemGroupSize, ALengthBeyond16BitsIsAnOverflowOfTheDimensionsOnly) {
  AddItem("RA", 3, 32767);
  EXPECT_EQ(Elements(group->GetDimension(Handles(0, {1}))), (std::vector<std::int16_t>{32767}));
  AddItem("RA", 3, 32768);
  EXPECT_EQ(Elements(group->CompileVariable(Handles(0, {2}))), (std::vector<double>{7}));
  EXPECT_EQ(InternalDetail([&] { group->GetDimension(Handles(0, {2})); }).substr(0, 12), "6:Overflow\r\n");
  AddItem("RA", 3, -32768);
  EXPECT_EQ(Elements(group->GetDimension(Handles(0, {3}))), (std::vector<std::int16_t>{-32768}));
}

TEST_F(ItemGroupSize, AnItemAtANegativeIndexRaisesTheErrorOfItsLengthOrElseThatOfTheIndex) {
  AddItem("WO1", 0, 3);
  AddItem("RA", 3, 32768);
  EXPECT_EQ(InternalDetail([&] { group->GetDimension(Handles(-1, {2, 1})); }).substr(0, 12), "6:Overflow\r\n");
  EXPECT_EQ(InternalDetail([&] { group->GetDimension(Handles(-2, {1, 2})); }).substr(0, 2), "9:");
  EXPECT_EQ(InternalDetail([&] { group->CompileVariable(Handles(-1, {2, 1})); }).substr(0, 2), "9:");
  EXPECT_EQ(Elements(group->GetDimension(Handles(-1, {9, 1}))), (std::vector<std::int16_t>{3}));
  EXPECT_EQ(Elements(group->CompileVariable(Handles(-1, {9, 1}))), (std::vector<double>{7}));
}

TEST_F(ItemGroupSize, AnItemGivesItsOwnAddressAndLengthAsOneElementArrays) {
  item = AddItem("DW1", 0, 2);
  EXPECT_EQ(Elements(item->CompiledAddressArray()), (std::vector<double>{7}));
  EXPECT_EQ(Elements(item->DimensionArray()), (std::vector<std::int16_t>{2}));
  item = AddItem("RA", 3, 40000);
  EXPECT_EQ(ErrorOf([&] { item->DimensionArray(); }), "6: Overflow");
}

TEST_F(ItemGroupSize, TheByteImageIsEmptyBeforeTheFirstSizing) {
  EXPECT_TRUE(group->CompiledBuffer().IsEmpty());
  EXPECT_EQ(group->CompiledBuffer().LowerBound(), 0);
}

TEST_F(ItemGroupSize, SizingMakesThatManyZeroBytesButOneForZero) {
  group->SetCompiledBufferDimension(16);
  EXPECT_EQ(Elements(group->CompiledBuffer()), std::vector<std::uint8_t>(16, 0));
  group->SetCompiledBufferDimension(0);
  EXPECT_EQ(Elements(group->CompiledBuffer()), std::vector<std::uint8_t>(1, 0));
  group->SetCompiledBufferDimension(1);
  EXPECT_EQ(Elements(group->CompiledBuffer()), std::vector<std::uint8_t>(1, 0));
}

TEST_F(ItemGroupSize, AClientCannotChangeTheImageThroughItsCopy) {
  group->SetCompiledBufferDimension(2);
  SafeArray<std::uint8_t> copy = group->CompiledBuffer();
  copy.Put(0, 9);
  EXPECT_EQ(Elements(group->CompiledBuffer()), (std::vector<std::uint8_t>{0, 0}));
}

TEST_F(ItemGroupSize, ANegativeSizeRaisesAnErrorAndLeavesTheImage) {
  group->SetCompiledBufferDimension(3);
  EXPECT_EQ(InternalDetail([&] { group->SetCompiledBufferDimension(-1); }).substr(0, 2), "9:");
  EXPECT_EQ(group->CompiledBuffer().Size(), 3U);
}

TEST_F(ItemGroupSize, TheSizeCheckAsksWithTheSumOfTheLengthsAndTheNumberOfItems) {
  items->Add("DW1");
  items->Add("WO2");
  items->AddCompiled("X");
  Driver().logQuestions = true;
  Driver().log.clear();
  EXPECT_TRUE(group->FitsDevice());
  Driver().variableFits = false;
  EXPECT_FALSE(group->FitsDevice());
  items->Item(3)->Parent()->Items().ResizeItem(*items->Item(3), 5);
  items->Remove(1);
  Driver().variableFits = true;
  EXPECT_TRUE(group->FitsDevice());
  items->RemoveAll();
  EXPECT_TRUE(group->FitsDevice());
  EXPECT_EQ(Driver().log,
            (Log{"CheckVariable(3,3)", "CheckVariable(3,3)", "CheckVariable(6,2)", "CheckVariable(0,0)"}));
}

TEST_F(ItemGroupSize, ASumBeyond32BitsIsAnOverflowAndAFailureOfTheQuestionIsPassedOn) {
  items->AddCompiled("X");
  items->AddCompiled("Y");
  items->ResizeItem(*items->Item(1), 2147483647);
  EXPECT_TRUE(group->FitsDevice());
  items->ResizeItem(*items->Item(2), 1);
  EXPECT_EQ(ErrorOf([&] { group->FitsDevice(); }), "6: Overflow");
  items->ResizeItem(*items->Item(2), 0);
  Driver().Fail("CheckVariable", 4, "line broken");
  EXPECT_EQ(ErrorOf([&] { group->FitsDevice(); }), "4: line broken");
}

}  // namespace
}  // namespace orvo::testing
