// SPDX-License-Identifier: Apache-2.0
#include "platform/value/Unit_conversion.h"

#include "platform/value/conversion_table.h"
#include "platform/value/scaling.h"
#include "tests/unit/platform/value/value_checks.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <iterator>
#include <limits>
#include <vector>

namespace Lumenar::Value {
namespace {

struct Pair {
  Units from;
  Units to;
};

const Pair kPairs[] = {
    {C_Watts, C_Watts},
    {C_Watts, Scaled(C_Watts, -3)},
    {Scaled(C_Watts, -3), Scaled(C_Watts, -3)},
    {Scaled(C_Watts, -3), Scaled(C_Watts, 6)},
    {C_DgreeC, C_DgreeF},
    {C_DgreeF, C_Kelvin},
    {C_Kelvin, Make_unit(U_DegreeF, -1)},
    {Units{false, -3, {{{U_Volt, 1}, {U_DegreeC, -1}}}}, Units{false, 3, {{{U_Volt, 1}, {U_DegreeF, -1}}}}},
    {Make_unit(U_Inch), Make_unit(U_Meter, 1, -6)},
    {Make_unit(U_Byte, 1, 10), Make_unit(U_Bit, 1, 3)},
    {C_Watts, In_dB(Scaled(C_Watts, -3))},
    {In_dB(C_Watts), C_Watts},
    {In_dB(C_VoltAmps), In_dB(Scaled(C_Watts, -3))},
};

template <class T>
class UnitConversion : public testing::Test {
 protected:
  static std::vector<T> Numbers() {
    using Limits = std::numeric_limits<T>;
    std::vector<T> numbers = {T(0),
                              T(-0.0),
                              T(1),
                              T(-1),
                              T(0.1),
                              T(273.15),
                              T(-40),
                              T(100),
                              Limits::max(),
                              Limits::min(),
                              Limits::denorm_min(),
                              Limits::infinity(),
                              -Limits::infinity(),
                              Limits::quiet_NaN()};
    while (numbers.size() < 67) {
      numbers.push_back(T(numbers.size()) * T(0.37) - T(9));
    }
    return numbers;
  }

  static auto Bits(T x) {
    if constexpr (sizeof(T) == 4) {
      return std::bit_cast<std::uint32_t>(x);
    } else {
      return std::bit_cast<std::uint64_t>(x);
    }
  }
};

using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(UnitConversion, Precisions);

TYPED_TEST(UnitConversion, AnArrayGivesTheBitsOfSingleValues) {
  for (const Pair& pair : kPairs) {
    const auto plan = Unit_conversion<TypeParam>::Plan(pair.from, pair.to);
    const std::vector<TypeParam> numbers = this->Numbers();
    for (std::size_t count = 0; count <= numbers.size(); ++count) {
      const TypeParam sentinel(-12345);
      std::vector<TypeParam> out(count + 1, sentinel);
      plan.Apply(numbers.data(), out.data(), count);
      for (std::size_t i = 0; i < count; ++i) {
        const Value_object<TypeParam> single(numbers[i], pair.from, 0, 0);
        const TypeParam expected = single.Convert_to(pair.to).Get_value();
        if (!std::isnan(expected) || !std::isnan(out[i])) {
          ASSERT_EQ(this->Bits(out[i]), this->Bits(expected))
              << Units_text(pair.from) << " to " << Units_text(pair.to) << " of " << numbers[i];
        }
      }
      ASSERT_EQ(out[count], sentinel);
    }
  }
}

TYPED_TEST(UnitConversion, InPlaceIsTheSame) {
  for (const Pair& pair : kPairs) {
    const auto plan = Unit_conversion<TypeParam>::Plan(pair.from, pair.to);
    const std::vector<TypeParam> numbers = this->Numbers();
    std::vector<TypeParam> out(numbers.size());
    std::vector<TypeParam> in_place = numbers;
    plan.Apply(numbers.data(), out.data(), numbers.size());
    plan.Apply(in_place.data(), in_place.data(), in_place.size());
    for (std::size_t i = 0; i < out.size(); ++i) {
      EXPECT_TRUE(this->Bits(out[i]) == this->Bits(in_place[i]) || std::isnan(out[i]));
    }
  }
}

TYPED_TEST(UnitConversion, IdentityIsKnown) {
  using Plan = Unit_conversion<TypeParam>;
  EXPECT_TRUE(Plan().Is_identity());
  EXPECT_TRUE(Plan::Plan(C_Watts, C_Watts).Is_identity());
  EXPECT_TRUE(Plan::Plan(C_VoltAmps, C_Watts).Is_identity());
  EXPECT_FALSE(Plan::Plan(C_Watts, In_dB(C_Watts)).Is_identity());
  EXPECT_FALSE(Plan::Plan(C_DgreeC, C_Kelvin).Is_identity());
  EXPECT_FALSE(Plan::Plan(C_Watts, Scaled(C_Watts, 1)).Is_identity());
  const Units per_volt_amp{false, 0, {{{U_Volt, -1}, {U_Ampere, -1}}}};
  EXPECT_FALSE(Plan::Plan(per_volt_amp, C_Watts).Is_identity()) << "the number is turned over";
}

TEST(UnitConversionFloat, ToOnesOwnScaledUnitRoundsTwiceAndSoIsNoIdentity) {
  const Units milli = Scaled(C_Watts, -3);
  EXPECT_FALSE(Unit_conversion<float>::Plan(milli, milli).Is_identity());
  EXPECT_TRUE(Unit_conversion<double>::Plan(milli, milli).Is_identity());
}

/// Numbers of every kind: random bits, so that each class of float is among them.
std::vector<float> Floats(std::size_t count) {
  std::vector<float> floats{0.0f, -0.0f, std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::denorm_min(), std::numeric_limits<float>::max()};
  std::uint32_t bits = 1;
  while (floats.size() < count) floats.push_back(std::bit_cast<float>(bits = bits * 1664525u + 1013904223u));
  return floats;
}

TEST(Scale, RoundsEachProductOnEveryPathAtEveryLengthAndPlace) {
  constexpr Detail::Kernel_path kPaths[] = {Detail::Kernel_path::baseline, Detail::Kernel_path::avx2,
                                            Detail::Kernel_path::avx512};
  const std::vector<float> in = Floats(4096);
  const auto expect_scaled = [&](Detail::Kernel_path path, std::size_t begin, std::size_t count, double first,
                                 double second) {
    std::vector<float> out(count);
    Detail::Scale(path, in.data() + begin, out.data(), count, first, second);
    for (std::size_t i = 0; i < count; ++i) {
      const auto once = static_cast<float>(static_cast<double>(in[begin + i]) * first);
      const auto twice = static_cast<float>(static_cast<double>(once) * second);
      ASSERT_TRUE(std::bit_cast<std::uint32_t>(out[i]) == std::bit_cast<std::uint32_t>(twice) ||
                  (out[i] != out[i] && twice != twice))
          << "path " << static_cast<int>(path) << " number " << begin + i;
    }
  };
  for (const Detail::Kernel_path path : kPaths) {
    if (!Detail::Is_available(path)) continue;
    for (std::size_t length = 0; length < 68; ++length) expect_scaled(path, length % 9, length, 1e-3, 1e3);
    for (const double factor : {1.0, 1e-3, 1e3, 1e-30, 1e40})
      expect_scaled(path, 1, in.size() - 1, factor, 1.0 / factor);
  }
}

TEST(ConversionTable, HasItsNineRowsInTheirOrder) {
  using Float = Value_object<float>;
  const Units_conversion<float> expected[] = {
      {C_Volt2PerOhms, C_Watts, Float::Power_conversion},      {C_VoltAmps, C_Watts, Float::Power_conversion},
      {C_Amps2Ohms, C_Watts, Float::Power_conversion},         {C_DgreeC, C_DgreeF, Float::Convert_degreeC_to_degreeF},
      {C_DgreeF, C_DgreeC, Float::Convert_degreeF_to_degreeC}, {C_DgreeC, C_Kelvin, Float::Convert_degreeC_to_kelvin},
      {C_DgreeF, C_Kelvin, Float::Convert_degreeF_to_kelvin},  {C_Kelvin, C_DgreeC, Float::Convert_kelvin_to_degreeC},
      {C_Kelvin, C_DgreeF, Float::Convert_kelvin_to_degreeF},
  };
  const std::vector<Units_conversion<float>>& rows = Units_conv<float>::Unit_conv_vect;
  ASSERT_EQ(rows.size(), std::size(expected));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i].source, expected[i].source) << i;
    EXPECT_EQ(rows[i].target, expected[i].target) << i;
    EXPECT_EQ(rows[i].convert, expected[i].convert) << i;
    EXPECT_EQ(Units_library::Arrange_tuple(rows[i].source), rows[i].source) << "arranged";
    const Float value(37.5f, rows[i].source, -0.5f, 0.25f);
    Expect_same_bits(rows[i].convert(value, rows[i].target), value.Convert_to(rows[i].target));
  }
}

}  // namespace
}  // namespace Lumenar::Value
