// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/trace_scale.h"

#include <gmock/gmock.h>

#include <limits>
#include <vector>

namespace Lumenar::Web {
namespace {

using testing::FloatEq;
using testing::IsNan;

Value::Units Units(const char* text) { return Value::Units_from_text(text); }

TEST(TraceScale, DecibelsBecomeLinear) {
  Value::Units units = Units("dBm");
  std::vector<float> numbers = {0, 10, -30};
  ApplyScale(Scale::Linear, units, numbers);
  EXPECT_EQ(Value::Units_text(units), "mW");
  EXPECT_THAT(numbers, testing::ElementsAre(FloatEq(1), FloatEq(10), FloatEq(0.001F)));
}

TEST(TraceScale, LinearNumbersBecomeDecibels) {
  Value::Units units = Units("W");
  std::vector<float> numbers = {1, 1000, 0, -1};
  ApplyScale(Scale::Decibel, units, numbers);
  EXPECT_EQ(Value::Units_text(units), "dBW");
  EXPECT_THAT(numbers[0], FloatEq(0));
  EXPECT_THAT(numbers[1], FloatEq(30));
  EXPECT_EQ(numbers[2], -std::numeric_limits<float>::infinity());
  EXPECT_THAT(numbers[3], IsNan());
}

TEST(TraceScale, WhatIsInTheFormAlreadyStays) {
  for (const auto& [text, scale] : {std::pair{"dBm", Scale::Decibel}, {"W", Scale::Linear}, {"dBm", Scale::AsIs}}) {
    Value::Units units = Units(text);
    std::vector<float> numbers = {3, -4};
    ApplyScale(scale, units, numbers);
    EXPECT_EQ(Value::Units_text(units), text);
    EXPECT_THAT(numbers, testing::ElementsAre(3, -4));
  }
}

TEST(TraceScale, OffersTheOtherFormWhereTheRuleKeepsTheOrder) {
  EXPECT_EQ(OtherScale(Units("dBm")), Scale::Linear);
  EXPECT_EQ(OtherScale(Units("V")), Scale::Decibel);
  EXPECT_EQ(OtherScale(Units("dB")), Scale::Linear) << "a ratio";
  EXPECT_EQ(OtherScale(Units("")), std::nullopt) << "numbers without unit";
  EXPECT_EQ(OtherScale(Units("1/s")), std::nullopt) << "a negative exponent";
  EXPECT_TRUE(BecomesDecibel(Units("V"), Scale::Decibel));
  EXPECT_FALSE(BecomesDecibel(Units("dBm"), Scale::Decibel));
  EXPECT_FALSE(BecomesDecibel(Units("V"), Scale::Linear));
}

TEST(TraceScale, WhatIsNotOfferedStays) {
  Value::Units units = Units("1/s");
  std::vector<float> numbers = {3};
  ApplyScale(Scale::Decibel, units, numbers);
  EXPECT_EQ(units, Units("1/s"));
  EXPECT_EQ(numbers[0], 3);
}

}  // namespace
}  // namespace Lumenar::Web
