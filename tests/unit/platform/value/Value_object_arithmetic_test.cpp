// SPDX-License-Identifier: Apache-2.0
#include "platform/value/Value_object.h"

#include "platform/units/exceptions.h"
#include "tests/unit/platform/value/value_checks.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace Lumenar::Value {
namespace {

template <class T>
class Arithmetic : public testing::Test {};

using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Arithmetic, Precisions);

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The forms of an operand.
const Units kW = C_Watts;
const Units kmW = Scaled(C_Watts, -3);
const Units kdBW = In_dB(kW);
const Units kdBm = In_dB(kmW);
const Units kdBVA = In_dB(Scaled(C_VoltAmps, -3));
const Units kV2 = Make_unit(U_Volt, 2);
const Units kdBV2 = In_dB(kV2);
const Units kNumber = C_Empty;
const Units kdB = In_dB(C_Empty);
const Units kPercent = Make_unit(U_Percent);
const Units kV = Make_unit(U_Volt);
const Units kFt = Make_unit(U_Foot);
const Units kM = Make_unit(U_Meter);

struct Triple {
  double value;
  double minus_err;
  double plus_err;
};

struct Sum_case {
  const char* form;
  Units a;
  Units b;
  Triple sum;
  Triple difference;
};

// a is 10 (-1/+2) and b is 4 (-0.5/+1), each in its unit. The numbers with logarithms come from 50-digit arithmetic:
// linear = k * 10^(x/10), sum or difference, dB = 10 * k * log10. A negative error has no logarithm: it is NaN.
const Sum_case kSums[] = {
    {"W, W", kW, kW, {14, -1.5, 3}, {6, -0.5, 1}},
    {"mW, mW", kmW, kmW, {14, -1.5, 3}, {6, -0.5, 1}},
    {"W, mW", kW, kmW, {10.004, -1.0005, 2.001}, {9.996, -0.9995, 1.999}},
    {"mW, W", kmW, kW, {4010, -501, 1002}, {-3990, -998, 499}},
    {"W, V*A", kW, C_VoltAmps, {14, -1.5, 3}, {6, -0.5, 1}},
    {"m, ft", kM, kFt, {11.2192, -1.1524, 2.3048}, {8.7808, -0.8476, 1.6952}},
    {"degC, degF", C_DgreeC, C_DgreeF, {10 - 28 / 1.8, -1.5, 3}, {10 + 28 / 1.8, -0.5, 1}},
    {"dBW, dBW", kdBW, kdBW, {14, -1.5, 3}, {6, -0.5, 1}},
    {"dBm, dBm", kdBm, kdBm, {14, -1.5, 3}, {6, -0.5, 1}},
    {"dBW, dBm: a gain has no scale", kdBW, kdBm, {14, -1.5, 3}, {6, -0.5, 1}},
    {"dBW, dB(mV*A): another unit", kdBW, kdBVA, {-16, -31.5, -27}, {36, 29.5, 31}},
    {"dBW, W",
     kdBW,
     kW,
     {11.46128035678238, -5.3116807430275798, 4.124426027943397},
     {7.7815125038364363, -2.329234333362483, 1.1204442505986094}},
    {"W, dBW",
     kW,
     kdBW,
     {12.51188643150958, -0.10874906186625447, 3.2589254117941672},
     {7.4881135684904199, -1.8912509381337455, 0.74107458820583279}},
    {"mW, dBW",
     kmW,
     kdBW,
     {2521.8864315095801, 890.25093813374553, 1260.9254117941672},
     {-2501.8864315095801, -1256.9254117941672, -892.25093813374553}},
    {"dBW, mW",
     kdBW,
     kmW,
     {10.001736830584649, -1.0027345825465351, 2.0027393488149647},
     {9.9982624745441242, -0.99726713822972555, 1.9972589222272174}},
    {"dBm, W", kdBm, kW, {36.031443726201823, 30.006877654943187, kNaN}, {kNaN, 26.996594016114977, kNaN}},
    {"dB(V^2), V^2",
     kdBV2,
     kV2,
     {27.60422483423212, 0.73781715508402532, 12.402276139159542},
     {24.082399653118496, 6.3973403104589035, 6.7283395947948831}},
    {"V^2, dB(V^2)",
     kV2,
     kdBV2,
     {15.02377286301916, 0.78250187626749106, 4.5178508235883344},
     {4.9762271369808398, -2.7825018762674911, -0.51785082358833442}},
    {"unit-less, unit-less", kNumber, kNumber, {14, -1.5, 3}, {6, -0.5, 1}},
    {"dB, dB", kdB, kdB, {14, -1.5, 3}, {6, -0.5, 1}},
    {"dBW, dB: a gain on a level", kdBW, kdB, {14, -1.5, 3}, {6, -0.5, 1}},
    {"dBm, dB: a gain on a level", kdBm, kdB, {14, -1.5, 3}, {6, -0.5, 1}},
    {"dB, unit-less",
     kdB,
     kNumber,
     {11.46128035678238, -5.3116807430275798, 4.124426027943397},
     {7.7815125038364363, -2.329234333362483, 1.1204442505986094}},
};

TYPED_TEST(Arithmetic, SumsAndDifferencesInAllForms) {
  using Value = Value_object<TypeParam>;
  for (const Sum_case& c : kSums) {
    SCOPED_TRACE(c.form);
    const Value b(4, c.b, TypeParam(-0.5), 1);
    Value sum(10, c.a, -1, 2);
    Expect_numbers(sum += b, c.sum.value, c.sum.minus_err, c.sum.plus_err);
    Value difference(10, c.a, -1, 2);
    Expect_numbers(difference -= b, c.difference.value, c.difference.minus_err, c.difference.plus_err);
    EXPECT_EQ(sum.Get_unit(), c.a);
    EXPECT_EQ(difference.Get_unit(), c.a);
  }
}

TYPED_TEST(Arithmetic, UnitsThatCannotBeBroughtTogetherChangeNothing) {
  using Value = Value_object<TypeParam>;
  const std::pair<Units, Units> cases[] = {
      {kW, kV},        {kdBW, In_dB(kV)}, {kW, In_dB(kV)},     {kdBW, kV},          {kW, kV2},
      {kW, kNumber},   {kNumber, kW},     {kW, kdB},           {kdB, kW},           {kdB, kdBW},
      {kdBW, kNumber}, {kNumber, kdBW},   {kPercent, kNumber}, {kNumber, kPercent},
  };
  for (const auto& [a, b] : cases) {
    Value left(10, a, -1, 2);
    EXPECT_THROW(left += Value(4, b, 0, 0), UnitDimensionNotProper) << Units_text(a) << ", " << Units_text(b);
    EXPECT_THROW(left -= Value(4, b, 0, 0), UnitDimensionNotProper) << Units_text(a) << ", " << Units_text(b);
    Expect_same_bits(left, Value(10, a, -1, 2));
  }
}

TYPED_TEST(Arithmetic, SumOfAValueWithItself) {
  Value_object<TypeParam> value(10, kdBW, -1, 2);
  const Value_object<TypeParam>& itself = value;
  Expect_numbers(value += itself, 20, -2, 4);
  Expect_numbers(value -= itself, 0, 0, 0);
}

struct Scale_case {
  const char* form;
  Units unit;
  double factor;
  Triple product;
  Triple quotient;
};

// 10 (-1/+2) times and by the factor; 50-digit arithmetic as above.
const Scale_case kScales[] = {
    {"W by -2: the errors change sides", kW, -2, {-20, -4, 2}, {-5, -1, 0.5}},
    {"mW", kmW, 2, {20, -2, 4}, {5, -0.5, 1}},
    {"unit-less", kNumber, 2, {20, -2, 4}, {5, -0.5, 1}},
    {"dBW",
     kdBW,
     2,
     {13.010299956639812, 2.010299956639812, 5.010299956639812},
     {6.989700043360188, -4.010299956639812, -1.010299956639812}},
    {"dBm",
     kdBm,
     2,
     {13.010299956639812, 2.010299956639812, 5.010299956639812},
     {6.989700043360188, -4.010299956639812, -1.010299956639812}},
    {"dB",
     kdB,
     2,
     {13.010299956639812, 2.010299956639812, 5.010299956639812},
     {6.989700043360188, -4.010299956639812, -1.010299956639812}},
    {"dB(V^2): not the same after a factor of 1",
     kdBV2,
     2,
     {32.041199826559248, 10.041199826559248, 16.041199826559248},
     {20, -2, 4}},
    {"dBW by -2: no logarithm", kdBW, -2, {kNaN, kNaN, kNaN}, {kNaN, kNaN, kNaN}},
};

TYPED_TEST(Arithmetic, ScalingInAllForms) {
  using Value = Value_object<TypeParam>;
  for (const Scale_case& c : kScales) {
    SCOPED_TRACE(c.form);
    Value product(10, c.unit, -1, 2);
    Expect_numbers(product *= TypeParam(c.factor), c.product.value, c.product.minus_err, c.product.plus_err);
    Value quotient(10, c.unit, -1, 2);
    Expect_numbers(quotient /= TypeParam(c.factor), c.quotient.value, c.quotient.minus_err, c.quotient.plus_err);
    EXPECT_EQ(product.Get_unit(), c.unit);
    EXPECT_EQ(quotient.Get_unit(), c.unit);
  }
}

TYPED_TEST(Arithmetic, ScalingByANumberOfItsOwn) {
  Value_object<TypeParam> value(10, kW, -1, 2);
  Expect_numbers(value *= value.Get_value(), 100, -10, 20);
  Expect_numbers(value /= value.Get_value(), 1, -0.1, 0.2);
}

TYPED_TEST(Arithmetic, DivisionIsCheckedAndLeavesTheValueUnchanged) {
  using Value = Value_object<TypeParam>;
  for (const Units& unit : {kW, kdBW, kNumber}) {
    Value value(5, unit, -1, 2);
    for (const double divisor : {0.0, -0.0, kNaN}) {
      EXPECT_THROW(value /= TypeParam(divisor), std::out_of_range);
    }
    Expect_same_bits(value, Value(5, unit, -1, 2));
  }
  Value zero(0, kW, 0, 0);
  EXPECT_THROW(zero /= TypeParam(0), std::out_of_range);
}

TYPED_TEST(Arithmetic, DivisionAcceptsAResultWithoutLogarithmForTheLinearNumbersWereInRange) {
  Value_object<TypeParam> level(10, kdBW, -1, 2);
  EXPECT_NO_THROW(level /= TypeParam(-1));
  EXPECT_TRUE(std::isnan(level.Get_value()));
}

TYPED_TEST(Arithmetic, MultiplicationStoresInfinity) {
  const TypeParam large = std::numeric_limits<TypeParam>::max();
  Value_object<TypeParam> value(large, kW, 0, 0);
  EXPECT_NO_THROW(value *= TypeParam(10));
  EXPECT_TRUE(std::isinf(value.Get_value()));
}

TEST(ArithmeticFloat, Overflow) {
  Value_object<float> value(3e38F, kW, 0, 0);
  value *= 10.0F;
  EXPECT_EQ(value.Get_value(), std::numeric_limits<float>::infinity());
}

// Each sorting of the two errors moves a NaN to the other side; the operators sort as often as their rule says.
TYPED_TEST(Arithmetic, NaNErrorChangesSidesWithEverySorting) {
  using Value = Value_object<TypeParam>;
  const auto nan = TypeParam(kNaN);
  Value scaled(10, kW, 2, nan);
  Expect_numbers(scaled, 10, kNaN, 2);
  Expect_numbers(scaled *= TypeParam(1), 10, 2, kNaN);
  Value sum(10, kW, 2, nan);
  Expect_numbers(sum += Value(4, kW, 1, 3), 14, kNaN, 3);
  Expect_numbers(Relative_sub(Value(10, kdBW, -1, 2), Value(4, kdBW, 1, nan)), 6, kNaN, -2);
}

struct Relative_case {
  const char* form;
  Units a;
  Units b;
  Triple difference;
};

TYPED_TEST(Arithmetic, RelativeDifference) {
  using Value = Value_object<TypeParam>;
  const Relative_case cases[] = {
      {"dBW, dBW", kdBW, kdBW, {6, -0.5, 1}},
      {"dBW, dBm: the same unit, as they are", kdBW, kdBm, {6, -0.5, 1}},
      {"dBW, W: the same unit, as they are", kdBW, kW, {6, -0.5, 1}},
      {"W, dBW: the same unit, as they are", kW, kdBW, {6, -0.5, 1}},
      {"dBW, dB", kdBW, kdB, {6, -0.5, 1}},
      {"dBW, unit-less", kdBW, kNumber, {6, -0.5, 1}},
      {"W, dB", kW, kdB, {6, -0.5, 1}},
      {"dBW, dB(mV*A): converted, out of dB and into it", kdBW, kdBVA, {36, 29.5, 31}},
      {"W, dB(mV*A): converted into W",
       kW,
       kdBVA,
       {10 - 0.0025118864315095801, -1.0008912509381337, 1.9987410745882058}},
      {"dBW, V*A: converted; log10(-0.5) is no error", kdBW, C_VoltAmps, {3.9794000867203761, kNaN, -1}},
  };
  for (const Relative_case& c : cases) {
    SCOPED_TRACE(c.form);
    const Value result = Relative_sub(Value(10, c.a, -1, 2), Value(4, c.b, TypeParam(-0.5), 1));
    Expect_numbers(result, c.difference.value, c.difference.minus_err, c.difference.plus_err);
    EXPECT_EQ(result.Get_unit(), c.a);
  }
}

TYPED_TEST(Arithmetic, RelativeDifferenceRefuses) {
  using Value = Value_object<TypeParam>;
  const auto difference = [](const Units& a, const Units& b) { Relative_sub(Value(10, a, 0, 0), Value(4, b, 0, 0)); };
  EXPECT_THROW(difference(kW, kW), OperationNotValid);
  EXPECT_THROW(difference(kNumber, kW), OperationNotValid) << "the dB test comes first";
  EXPECT_THROW(difference(kNumber, kdBW), MissingUnitInFirstParameter);
  EXPECT_THROW(difference(kdB, kdB), MissingUnitInFirstParameter);
  EXPECT_THROW(difference(kdBW, In_dB(kV)), UnitDimensionNotSame);
}

TYPED_TEST(Arithmetic, EqualDifferencesGiveEqualErrors) {
  using Value = Value_object<TypeParam>;
  Expect_numbers(Relative_sub(Value(10, kdBW, 3, 5), Value(4, kdBW, 1, 3)), 6, 2, 2);
  Expect_numbers(Relative_sub(Value(10, kdBW, 3, 4), Value(4, kdBW, 1, 9)), 6, -5, 2);
}

struct Less_case {
  const char* form;
  Units a;
  Units b;
  double value_b;
  bool a_less;
  bool b_less;
};

TYPED_TEST(Arithmetic, LessThanComparesInOneUnit) {
  using Value = Value_object<TypeParam>;
  const Less_case cases[] = {
      {"W", kW, kW, 11, true, false},
      {"equal", kW, kW, 10, false, false},
      {"W, mW", kW, kmW, 11, false, true},
      {"W, V*A", kW, C_VoltAmps, 11, true, false},
      {"degC, degF", C_DgreeC, C_DgreeF, 49, false, true},
      {"dBW, dBm", kdBW, kdBm, 39, false, true},
      {"dBW, W", kdBW, kW, 10.5, true, false},
      {"W, dBW", kW, kdBW, 9.9, false, true},
      {"dBm, W", kdBm, kW, 0.02, true, false},
      {"NaN is never less", kW, kW, kNaN, false, false},
  };
  for (const Less_case& c : cases) {
    SCOPED_TRACE(c.form);
    const Value a(10, c.a, 0, 0);
    const Value b(TypeParam(c.value_b), c.b, 0, 0);
    EXPECT_EQ(a < b, c.a_less);
    EXPECT_EQ(b < a, c.b_less);
  }
  EXPECT_THROW((void)(Value(1, kW, 0, 0) < Value(1, kV, 0, 0)), UnitDimensionNotSame);
}

}  // namespace
}  // namespace Lumenar::Value
