// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/TraceConversion.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/units/exceptions.h"

namespace Lumenar::Test {
namespace {

constexpr Value::Units kFromWatt = Value::C_Watts;
constexpr Value::Units kFromMilliwatt = Value::Make_unit(Value::U_Watt, 1, -3);
constexpr Value::Units kFrom_dBW = Value::Make_unit(Value::U_Watt, 1, 0, true);
constexpr Value::Units kFrom_dBm = Value::Make_unit(Value::U_Watt, 1, -3, true);
constexpr Value::Units kFromSecond = Value::Make_unit(Value::U_Second);

std::vector<float> Converted(const TraceConversion& conversion, const std::vector<float>& numbers) {
  std::vector<float> result(numbers.size(), -1);
  conversion.Apply(numbers.data(), result.data(), numbers.size());
  std::vector<float> in_place = numbers;
  conversion.Apply(in_place.data(), in_place.data(), in_place.size());
  EXPECT_EQ(std::memcmp(in_place.data(), result.data(), result.size() * sizeof(float)), 0);
  return result;
}

TEST(TraceConversion, NothingToConvertLeavesEachNumber) {
  for (const TraceConversion& none : {TraceConversion(), TraceConversion::Between(kFromWatt, kFromWatt),
                                      TraceConversion::Between(kFrom_dBm, kFrom_dBm)}) {
    EXPECT_TRUE(none.IsIdentity());
    EXPECT_EQ(Converted(none, {1, -2, 0}), (std::vector<float>{1, -2, 0}));
  }
}

TEST(TraceConversion, NumbersGoFromUnitToUnit) {
  EXPECT_EQ(Converted(TraceConversion::Between(kFromWatt, kFromMilliwatt), {2, -0.5f}),
            (std::vector<float>{2000, -500}));
  EXPECT_EQ(Converted(TraceConversion::Between(kFrom_dBm, kFromWatt), {30, 40}), (std::vector<float>{1, 10}));
  EXPECT_EQ(Converted(TraceConversion::Between(kFromWatt, kFrom_dBm), {1, 10}), (std::vector<float>{30, 40}));
  EXPECT_FALSE(TraceConversion::Between(kFrom_dBm, kFromWatt).IsIdentity());
}

TEST(TraceConversion, NumbersInDecibelsMayBeTakenAsLinear) {
  EXPECT_EQ(Converted(TraceConversion::OfLinear(kFrom_dBm, kFromMilliwatt), {5}), (std::vector<float>{5}));
}

TEST(TraceConversion, UnitsOfOtherDimensionsDoNotConvert) {
  EXPECT_THROW(TraceConversion::Between(kFromWatt, kFromSecond), Value::UnitDimensionNotSame);
  EXPECT_FALSE(TraceConversion::IfPossible(kFromWatt, kFromSecond));
  EXPECT_TRUE(TraceConversion::IfPossible(kFromWatt, kFrom_dBm));
  EXPECT_TRUE(TraceConversion::IfPossible(Value::C_Volt2PerOhms, kFromWatt));
}

/// The rule for one value is the judge: the same bits for every number.
TEST(TraceConversion, EachNumberGetsTheBitsOfOneValue) {
  const std::vector<Value::Units> units{kFromWatt, kFromMilliwatt, kFrom_dBW, kFrom_dBm};
  const std::vector<float> numbers{0, -0.0f, 1, -3.7f, 12.5f, 1e-30f, 3e38f, std::numeric_limits<float>::infinity()};
  for (const Value::Units& from : units)
    for (const Value::Units& to : units) {
      const std::vector<float> converted = Converted(TraceConversion::Between(from, to), numbers);
      for (std::size_t i = 0; i < numbers.size(); ++i) {
        const float expected = InUnits({numbers[i], from, 0, 0}, to).Get_value();
        if (expected != expected) EXPECT_NE(converted[i], converted[i]) << "not a number";
        else EXPECT_EQ(std::bit_cast<std::uint32_t>(converted[i]), std::bit_cast<std::uint32_t>(expected)) << i;
      }
    }
}

}  // namespace
}  // namespace Lumenar::Test
