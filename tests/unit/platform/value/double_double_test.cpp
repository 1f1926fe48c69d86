// SPDX-License-Identifier: Apache-2.0
#include "platform/value/double_double.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Lumenar::Value::Detail {
namespace {

void ExpectParts(const Double_double& number, double high, double low) {
  EXPECT_EQ(number.high, high);
  EXPECT_EQ(number.low, low);
}

TEST(DoubleDouble, SumsAreExact) {
  ExpectParts(Fast_two_sum(1, 0x1p-60), 1, 0x1p-60);
  ExpectParts(Fast_two_sum(0, 5), 5, 0);
  ExpectParts(Two_sum(0x1p-60, 1), 1, 0x1p-60);
  ExpectParts(Two_sum(1, -1), 0, 0);
  ExpectParts(Two_sum(0x1p53, 1), 0x1p53, 1);
}

TEST(DoubleDouble, ProductsAreExact) {
  ExpectParts(Two_product(1 + 0x1p-30, 1 + 0x1p-30), 1 + 0x1p-29, 0x1p-60);
  ExpectParts(Two_product(1 - 0x1p-53, 1 - 0x1p-53), 1 - 0x1p-52, 0x1p-106);
  ExpectParts(Two_product(3, 7), 21, 0);
}

TEST(DoubleDouble, OperationsLoseLessThanTheirBound) {
  const Double_double sum = Double_double{1, 0x1p-60} + Double_double{0x1p-61, 0x1p-120};
  ExpectParts(sum, 1, 0x1p-60 + 0x1p-61);
  const Double_double square = Double_double{1, 0x1p-60} * Double_double{1, 0x1p-60};
  ExpectParts(square, 1, 0x1p-59);
  const Double_double third = Double_double{1, 0} / 3;
  const Double_double back = Two_product(third.high, 3);
  EXPECT_LT(std::abs(((1 - back.high) - back.low) - 3 * third.low), 0x1p-100);
}

TEST(DoubleDouble, IsRoundedToFloatOnce) {
  constexpr double kBetween = 1 + 0x1p-24;  // halfway from 1 to the next float
  EXPECT_EQ(Round_to_float({kBetween, 0}), 1.0f) << "a tie goes to even";
  EXPECT_EQ(Round_to_float({kBetween, 0x1p-80}), 1 + 0x1p-23f) << "above it";
  EXPECT_EQ(Round_to_float({kBetween, -0x1p-80}), 1.0f) << "below it";
  EXPECT_EQ(Round_to_float({-kBetween, -0x1p-80}), -(1 + 0x1p-23f));
  EXPECT_EQ(Round_to_float({1 + 0x1p-23 + 0x1p-24, 0}), 1 + 0x1p-22f) << "the other tie";
  EXPECT_EQ(Round_to_float({1 + 0x1p-23 + 0x1p-24, -0x1p-80}), 1 + 0x1p-23f);
  EXPECT_EQ(Round_to_float({5, 0}), 5.0f);
}

}  // namespace
}  // namespace Lumenar::Value::Detail
