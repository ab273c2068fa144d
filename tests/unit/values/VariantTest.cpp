#include "unit/values/RaisedNumber.h"
#include "values/AutomationObject.h"
#include "values/Boolean.h"
#include "values/Variant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvo {
namespace {

class Thing : public AutomationObject {
 public:
  explicit Thing(std::function<void()> onEnd = {}) : onEnd_(std::move(onEnd)) {}
  ~Thing() override {
    if (onEnd_) onEnd_();
  }

 private:
  std::function<void()> onEnd_;
};

struct Sample {
  const char* name;
  VariantKind kind;
  bool isArray;
  Variant value;
};

std::vector<std::uint8_t> Bytes(std::size_t count) {
  std::vector<std::uint8_t> bytes(count);
  for (std::size_t i = 0; i < count; ++i)
    bytes[i] = static_cast<std::uint8_t>(i * 7 + 1);
  return bytes;
}

// One value of every kind, one array of every element kind, and both sides of the 16 bytes.
std::vector<Sample> Samples() {
  const SafeArray<Variant> inner({Variant(std::int16_t{4}), Variant(std::string(40, 'n'))}, 1);
  return {
      {"Empty", VariantKind::Empty, false, Variant()},
      {"Null", VariantKind::Null, false, Variant::Null()},
      {"I2", VariantKind::I2, false, std::int16_t{-2}},
      {"I4", VariantKind::I4, false, std::int32_t{-70000}},
      {"R4", VariantKind::R4, false, 1.5F},
      {"R8", VariantKind::R8, false, 0.1},
      {"Currency", VariantKind::Currency, false, Currency{12345}},
      {"Date", VariantKind::Date, false, Date{36526.25}},
      {"short text", VariantKind::String, false, "0123456789abcdef"},
      {"long text", VariantKind::String, false, "0123456789abcdefg"},
      {"no text", VariantKind::String, false, ""},
      {"Object", VariantKind::Object, false, Variant(std::make_shared<Thing>())},
      {"no object", VariantKind::Object, false, Variant(std::shared_ptr<AutomationObject>())},
      {"Error", VariantKind::Error, false, ErrorCode{-5}},
      {"True", VariantKind::Boolean, false, true},
      {"Decimal", VariantKind::Decimal, false, Decimal{28, true, 0xFFFFFFFF, 5}},
      {"I1", VariantKind::I1, false, std::int8_t{-1}},
      {"UI1", VariantKind::UI1, false, std::uint8_t{255}},
      {"UI2", VariantKind::UI2, false, std::uint16_t{65535}},
      {"UI4", VariantKind::UI4, false, std::uint32_t{4294967295U}},
      {"I8", VariantKind::I8, false, std::numeric_limits<std::int64_t>::min()},
      {"UI8", VariantKind::UI8, false, std::numeric_limits<std::uint64_t>::max()},
      {"I2()", VariantKind::I2, true, SafeArray<std::int16_t>({1, 2, 3}, 1)},
      {"I4()", VariantKind::I4, true, SafeArray<std::int32_t>({1, 2, 3}, -1)},
      {"R4()", VariantKind::R4, true, SafeArray<float>{1, 2, 3}},
      {"R8()", VariantKind::R8, true, SafeArray<double>{1, 2, 3}},
      {"Currency()", VariantKind::Currency, true, SafeArray<Currency>{Currency{1}, Currency{2}}},
      {"Date()", VariantKind::Date, true, SafeArray<Date>{Date{1}, Date{2}}},
      {"String()", VariantKind::String, true, SafeArray<std::string>{"a", std::string(40, 'b')}},
      {"Error()", VariantKind::Error, true, SafeArray<ErrorCode>{ErrorCode{1}}},
      {"Variant()", VariantKind::Variant, true, SafeArray<Variant>{Variant(inner), Variant(true), Variant()}},
      {"Decimal()", VariantKind::Decimal, true, SafeArray<Decimal>{Decimal{1, false, 0, 5}}},
      {"I1()", VariantKind::I1, true, SafeArray<std::int8_t>{-1, 2}},
      {"UI2()", VariantKind::UI2, true, SafeArray<std::uint16_t>{1, 2}},
      {"UI4()", VariantKind::UI4, true, SafeArray<std::uint32_t>{1, 2}},
      {"I8()", VariantKind::I8, true, SafeArray<std::int64_t>{1, 2}},
      {"UI8()", VariantKind::UI8, true, SafeArray<std::uint64_t>{1, 2}},
      {"no bytes", VariantKind::UI1, true, SafeArray<std::uint8_t>()},
      {"16 bytes", VariantKind::UI1, true, SafeArray<std::uint8_t>(Bytes(16), 5)},
      {"17 bytes", VariantKind::UI1, true, SafeArray<std::uint8_t>(Bytes(17), 5)},
      {"no variants", VariantKind::Variant, true, SafeArray<Variant>()},
  };
}

class VariantTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(AutomationObject::LiveCount(), 0); }
};

TEST_F(VariantTest, TellsItsKind) {
  for (const Sample& sample : Samples()) {
    SCOPED_TRACE(sample.name);
    EXPECT_EQ(sample.value.Kind(), sample.kind);
    EXPECT_EQ(sample.value.IsArray(), sample.isArray);
    EXPECT_EQ(sample.value.Is(sample.kind), !sample.isArray);
    EXPECT_EQ(sample.value.IsByteArray(), sample.isArray && sample.kind == VariantKind::UI1);
    EXPECT_EQ(sample.value.IsEmpty(), sample.kind == VariantKind::Empty);
    EXPECT_EQ(sample.value.IsNull(), sample.kind == VariantKind::Null);
  }
}

TEST_F(VariantTest, EqualsTheSameKindAndContentOnly) {
  const std::vector<Sample> samples = Samples();
  for (std::size_t i = 0; i < samples.size(); ++i)
    for (std::size_t j = 0; j < samples.size(); ++j)
      EXPECT_EQ(samples[i].value == samples[j].value, i == j) << samples[i].name << ", " << samples[j].name;
}

TEST_F(VariantTest, DiffersFromTheSameElementsWithAnotherLowerBound) {
  EXPECT_NE(Variant(SafeArray<std::uint8_t>({1, 2}, 0)), Variant(SafeArray<std::uint8_t>({1, 2}, 1)));
  EXPECT_NE(Variant(SafeArray<std::uint8_t>(Bytes(17), 0)), Variant(SafeArray<std::uint8_t>(Bytes(17), 1)));
  EXPECT_NE(Variant(SafeArray<double>({1, 2}, 0)), Variant(SafeArray<double>({1, 2}, 1)));
  EXPECT_EQ(Variant(SafeArray<double>({1, 2}, 1)), Variant(SafeArray<double>({1, 2}, 1)));
}

TEST_F(VariantTest, IsCopiedMovedAndAssignedInEveryKind) {
  for (const Sample& from : Samples()) {
    for (const Sample& to : Samples()) {
      SCOPED_TRACE(std::string(from.name) + " to " + to.name);
      Variant copy = from.value;
      EXPECT_EQ(copy, from.value);

      Variant assigned = to.value;
      assigned = copy;
      EXPECT_EQ(assigned, from.value);
      EXPECT_EQ(copy, from.value);

      Variant moved = to.value;
      moved = std::move(copy);
      EXPECT_EQ(moved, from.value);
      EXPECT_TRUE(copy.IsEmpty());  // NOLINT: the state after a move is part of the contract
      copy = to.value;
      EXPECT_EQ(copy, to.value);
    }
  }
}

TEST_F(VariantTest, SurvivesAssignmentToItself) {
  for (const Sample& sample : Samples()) {
    SCOPED_TRACE(sample.name);
    Variant value = sample.value;
    Variant& same = value;
    value = static_cast<const Variant&>(same);
    EXPECT_EQ(value, sample.value);
    value = std::move(same);
    EXPECT_EQ(value, sample.value);
  }
}

TEST_F(VariantTest, CanTakeOneOfItsOwnElements) {
  Variant value = SafeArray<Variant>{Variant(SafeArray<Variant>{Variant("deep inside, and long")})};
  value = value.ElementAt(0);
  value = value.ElementAt(0);
  EXPECT_EQ(value, Variant("deep inside, and long"));
}

TEST_F(VariantTest, HoldsTextsOfEveryLengthAroundTheThreshold) {
  for (std::size_t length = 0; length < 40; ++length) {
    SCOPED_TRACE(length);
    std::string text(length, 'x');
    if (length > 2) text[1] = '\0';
    const Variant value(text);
    const Variant copy = value;
    EXPECT_EQ(value.Text(), text);
    EXPECT_EQ(copy.Text(), text);
    EXPECT_EQ(copy.Text().data() == value.Text().data(), length > 16) << "shared exactly when it is long";
  }
}

TEST_F(VariantTest, HoldsByteArraysOfEveryLengthAroundTheThreshold) {
  for (std::size_t length = 0; length < 40; ++length) {
    SCOPED_TRACE(length);
    const std::vector<std::uint8_t> bytes = Bytes(length);
    SafeArray<std::uint8_t> array;
    array.Rebase(-3);
    for (const std::uint8_t byte : bytes)
      array.Append(byte);
    const Variant value(array);
    EXPECT_EQ(value.LowerBound(), -3);
    EXPECT_EQ(value.ElementCount(), length);
    EXPECT_EQ(value.UpperBound(), static_cast<std::int32_t>(length) - 4);
    EXPECT_EQ(std::vector(value.Bytes().begin(), value.Bytes().end()), bytes);
    EXPECT_EQ(value.Array<std::uint8_t>(), array);
    for (std::size_t i = 0; i < length; ++i)
      EXPECT_EQ(value.ElementAt(i), Variant(bytes[i]));
    EXPECT_EQ(RaisedNumber([&] { value.ElementAt(length); }), 9);

    const Variant plain = Variant::OfBytes(bytes);
    EXPECT_EQ(plain.LowerBound(), 0);
    EXPECT_EQ(plain.Array<std::uint8_t>(), SafeArray<std::uint8_t>(bytes));
  }
}

TEST_F(VariantTest, GivesBackArraysOfEveryKindWithTheirBounds) {
  const auto check = []<class T>(const SafeArray<T>& array) {
    const Variant value(array);
    EXPECT_EQ(value.Kind(), KindOf<T>::value);
    EXPECT_EQ(value.LowerBound(), array.LowerBound());
    EXPECT_EQ(value.ElementCount(), array.Size());
    EXPECT_EQ(value.Array<T>(), array);
    for (std::size_t i = 0; i < array.Size(); ++i)
      EXPECT_EQ(value.ElementAt(i), Variant(array.View()[i]));
    EXPECT_EQ(RaisedNumber([&] { value.ElementAt(array.Size()); }), 9);
  };
  check(SafeArray<std::int8_t>({1, 2}, 1));
  check(SafeArray<std::uint8_t>({1, 2}, 2));
  check(SafeArray<std::int16_t>({1, 2}, 3));
  check(SafeArray<std::uint16_t>({1, 2}, -1));
  check(SafeArray<std::int32_t>({1, 2}, -2));
  check(SafeArray<std::uint32_t>({1, 2}, 4));
  check(SafeArray<std::int64_t>({1, 2}, 5));
  check(SafeArray<std::uint64_t>({1, 2}, 6));
  check(SafeArray<float>({1, 2}, 7));
  check(SafeArray<double>({1, 2}, 8));
  check(SafeArray<Currency>({Currency{1}, Currency{2}}, 9));
  check(SafeArray<Date>({Date{1}, Date{2}}, 10));
  check(SafeArray<Decimal>({Decimal{1, true, 2, 3}}, 11));
  check(SafeArray<ErrorCode>({ErrorCode{1}, ErrorCode{2}}, 12));
  check(SafeArray<std::string>({"a", std::string(99, 'b')}, 13));
  check(SafeArray<Variant>({Variant(1.5), Variant("two"), Variant::Null()}, 14));
}

TEST_F(VariantTest, KeepsItsArrayWhenTheOneItWasMadeFromChanges) {
  SafeArray<double> array{1, 2};
  const Variant value(array);
  array.Put(0, 9);
  SafeArray<double> out = value.Array<double>();
  out.Put(1, 9);
  EXPECT_EQ(value.Array<double>(), (SafeArray<double>{1, 2}));
}

TEST_F(VariantTest, RefusesToBeReadAsAnotherKind) {
  for (const Sample& sample : Samples()) {
    SCOPED_TRACE(sample.name);
    const Variant& value = sample.value;
    const auto scalar = [&]<class T>(T) {
      const bool isIt = !sample.isArray && sample.kind == KindOf<T>::value;
      EXPECT_EQ(RaisedNumber([&] { value.Get<T>(); }), isIt ? 0 : 13);
    };
    scalar(std::int8_t{});
    scalar(std::uint8_t{});
    scalar(std::int16_t{});
    scalar(std::int32_t{});
    scalar(std::int64_t{});
    scalar(float{});
    scalar(double{});
    scalar(bool{});
    scalar(Currency{});
    scalar(Date{});
    scalar(Decimal{});
    scalar(ErrorCode{});
    const auto array = [&]<class T>(T) {
      const bool isIt = sample.isArray && sample.kind == KindOf<T>::value;
      EXPECT_EQ(RaisedNumber([&] { value.Array<T>(); }), isIt ? 0 : 13);
    };
    array(std::uint8_t{});
    array(std::int16_t{});
    array(std::int32_t{});
    array(double{});
    array(std::string{});
    array(Variant{});
    EXPECT_EQ(RaisedNumber([&] { value.Text(); }), value.Is(VariantKind::String) ? 0 : 13);
    EXPECT_EQ(RaisedNumber([&] { value.Object(); }), value.Is(VariantKind::Object) ? 0 : 13);
    EXPECT_EQ(RaisedNumber([&] { value.Bytes(); }), value.IsByteArray() ? 0 : 13);
    if (!sample.isArray) {
      EXPECT_EQ(RaisedNumber([&] { value.ElementAt(0); }), 13);
      EXPECT_EQ(value.LowerBound(), 0);
      EXPECT_EQ(value.ElementCount(), 0U);
      EXPECT_EQ(value.UpperBound(), -1);
    }
  }
}

TEST_F(VariantTest, SharesOneObjectBetweenCopies) {
  auto thing = std::make_shared<Thing>();
  Variant value(thing);
  const Variant copy = value;
  const Variant array = SafeArray<Variant>{copy, value};
  EXPECT_EQ(copy.Object(), thing);
  EXPECT_EQ(array.ElementAt(1).Object(), thing);
  value = Variant();
  EXPECT_EQ(thing.use_count(), 4);  // thing, copy and the two elements
}

TEST_F(VariantTest, IsWholeWhenTheEndOfItsObjectCallsBackIn) {
  struct Row {
    const char* name;
    std::function<void(Variant&)> change;
    Variant seen;
  };
  const Row rows[] = {
      {"copy",
       [](Variant& value) {
         const Variant text("a text that is rather long");
         value = text;
       },
       "a text that is rather long"},
      {"move", [](Variant& value) { value = Variant(std::int32_t{5}); }, std::int32_t{5}},
      {"empty", [](Variant& value) { value = Variant(); }, Variant()},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Variant value;
    int ends = 0;
    value = Variant(std::make_shared<Thing>([&] {
      ++ends;
      EXPECT_EQ(value, row.seen);
      value = "from the callback, and long";
    }));
    row.change(value);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(value, Variant("from the callback, and long"));
  }
}

TEST_F(VariantTest, SharesNothingAfterUnshared) {
  for (const Sample& sample : Samples()) {
    SCOPED_TRACE(sample.name);
    const Variant own = sample.value.Unshared();
    EXPECT_EQ(own, sample.value);
    if (sample.value.IsByteArray()) {
      EXPECT_NE(own.Bytes().data(), sample.value.Bytes().data());
    } else if (sample.value.Is(VariantKind::String)) {
      EXPECT_NE(own.Text().data(), sample.value.Text().data());
    }
  }
  const Variant nested = SafeArray<Variant>{Variant(SafeArray<double>{1, 2}), Variant(std::string(40, 'x'))};
  const Variant own = nested.Unshared();
  EXPECT_NE(own.ElementAt(0).Array<double>().View().data(), nested.ElementAt(0).Array<double>().View().data());
  EXPECT_NE(own.ElementAt(1).Text().data(), nested.ElementAt(1).Text().data());
}

TEST(Boolean, IsMinusOneForTrueAndZeroForFalse) {
  EXPECT_EQ(Boolean(true).Raw(), -1);
  EXPECT_EQ(Boolean(false).Raw(), 0);
  EXPECT_EQ(Boolean().Raw(), 0);
}

TEST(Boolean, CountsEveryValueButZeroAsTrueYetOnlyMinusOneIsExactlyTrue) {
  struct Row {
    std::int16_t raw;
    bool counts;
    bool isTrue;
  };
  for (const Row& row : {Row{0, false, false}, Row{-1, true, true}, Row{1, true, false}, Row{255, true, false},
                         Row{-32768, true, false}}) {
    SCOPED_TRACE(row.raw);
    const Boolean value = Boolean::FromRaw(row.raw);
    EXPECT_EQ(value.Raw(), row.raw);
    EXPECT_EQ(static_cast<bool>(value), row.counts);
    EXPECT_EQ(value.IsTrue(), row.isTrue);
  }
}

}  // namespace
}  // namespace orvo
