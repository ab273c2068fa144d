#include "values/AutomationObject.h"
#include "values/NumberKinds.h"

#include <gtest/gtest.h>

namespace orvo {

TEST(NumberKindsTest, NumbersAreScalarsOfANumericOrBooleanKind) {
  const std::vector<Variant> numbers{std::int8_t{-1},
                                     std::int16_t{0},
                                     std::int32_t{1},
                                     std::int64_t{1},
                                     std::uint8_t{0},
                                     std::uint16_t{0},
                                     std::uint32_t{0},
                                     std::uint64_t{0},
                                     0.5F,
                                     0.5,
                                     Currency{12345},
                                     Decimal{},
                                     Variant(true)};
  for (const Variant& number : numbers)
    EXPECT_TRUE(IsNumber(number)) << static_cast<int>(number.Kind());
  const std::vector<Variant> others{Variant(),
                                    Variant::Null(),
                                    "7",
                                    Date{7},
                                    ErrorCode{7},
                                    Variant(std::shared_ptr<AutomationObject>()),
                                    Variant::OfBytes(std::vector<std::uint8_t>{7}),
                                    SafeArray<std::int32_t>(1)};
  for (const Variant& other : others)
    EXPECT_FALSE(IsNumber(other)) << static_cast<int>(other.Kind());
}

}  // namespace orvo
