// SPDX-License-Identifier: Apache-2.0
// Operations by the rules, in the examples of the page on numbers; and those of which not everything is known.
#include "judge/Operation.h"

#include <gtest/gtest.h>

#include "judge/same_bits.h"
#include "tests/support/RecordedObject.h"

namespace Lumenar::Judge {
namespace {

double ValueOf(const Operation& operation) { return std::get<Scalar_record>(*operation.Result()).val; }

std::unique_ptr<Operation> Made(Type type, const std::vector<Datum>& present) {
  return Operation::Created(type, present);
}

Outcome::Kind Take(Operation& operation, const Datum& sample) { return operation.Take(0, sample).kind; }

TEST(JudgeOperation, SubtractIsLinear) {
  const auto made = Made(Type::Subtract, {ScalarOf(10, kdBm), ScalarOf(7, kdBm)});
  EXPECT_NEAR(ValueOf(*made), 6.9794, 5e-5);
  EXPECT_EQ(made->Take(1, ScalarOf(1, UnitOf(6))).kind, Outcome::Nothing);
  EXPECT_NEAR(ValueOf(*made), 6.9794, 5e-5);
}

TEST(JudgeOperation, AverageOfThree) {
  const auto made = Made(Type::Average, {ScalarOf(1, kWatts)});
  made->SetSize(3);
  std::vector<double> means;
  for (const double sample : {2.0, 3.0, 4.0}) {
    Take(*made, ScalarOf(sample, kWatts));
    means.push_back(ValueOf(*made));
  }
  EXPECT_EQ(means, (std::vector<double>{1.5, 2, 3}));
  EXPECT_TRUE(made->IsFull());
  EXPECT_EQ(made->Reset().kind, Outcome::Published);
  EXPECT_EQ(ValueOf(*made), 4);
}

TEST(JudgeOperation, PeakHoldsUntilReset) {
  const auto made = Made(Type::Peak, {ScalarOf(3, kWatts)});
  Take(*made, ScalarOf(1, kWatts));
  EXPECT_EQ(ValueOf(*made), 3);
  EXPECT_EQ(made->Reset().kind, Outcome::Nothing);
  Take(*made, ScalarOf(1, kWatts));
  EXPECT_EQ(ValueOf(*made), 1);
}

TEST(JudgeOperation, ANewStopOfASumMovesTheStart) {
  const auto made = Made(Type::CumulativeAdd, {TraceOf({1, 2, 4, 8}, kWatts), LongOf(0), LongOf(2)});
  EXPECT_EQ(ValueOf(*made), 7);
  made->Take(2, LongOf(1));
  EXPECT_EQ(ValueOf(*made), 6);
}

TEST(JudgeOperation, AnAverageAtWorkIsKnownWhenSizeSamplesHaveCome) {
  const auto made = Made(Type::Average, {ScalarOf(1, kWatts)});
  made->SetSize(3);
  for (const double sample : {2.0, 7.0, 0.1}) Take(*made, ScalarOf(sample, kWatts));
  const auto at_work = Operation::AtWork(Type::Average, Kind::Scalar, 3);
  for (const double sample : {0.3, 5.0, 0.7}) {
    Take(*made, ScalarOf(sample, kWatts));
    EXPECT_EQ(Take(*at_work, ScalarOf(sample, kWatts)), Outcome::Unknown);
    at_work->SetResult(*made->Result());
  }
  for (const double sample : {0.9, 1e-3, 11.0}) {
    Take(*made, ScalarOf(sample, kWatts));
    ASSERT_EQ(Take(*at_work, ScalarOf(sample, kWatts)), Outcome::Published);
    EXPECT_TRUE(SameBits(*at_work->Result(), *made->Result()));
  }
}

TEST(JudgeOperation, AnAverageAtWorkIsKnownAfterReset) {
  const auto at_work = Operation::AtWork(Type::Average, Kind::Scalar, 3);
  EXPECT_EQ(at_work->Reset().kind, Outcome::Unknown);
  ASSERT_EQ(Take(*at_work, ScalarOf(2, kWatts)), Outcome::Published);
  ASSERT_EQ(Take(*at_work, ScalarOf(4, kWatts)), Outcome::Published);
  EXPECT_EQ(ValueOf(*at_work), 3);
}

TEST(JudgeOperation, ADifferenceAtWorkIsKnownWithBothOperands) {
  const auto at_work = Operation::AtWork(Type::Subtract, Kind::Scalar, std::nullopt);
  EXPECT_EQ(at_work->Take(0, ScalarOf(5, kWatts)).kind, Outcome::Unknown);
  ASSERT_EQ(at_work->Take(1, ScalarOf(2, kWatts)).kind, Outcome::Published);
  EXPECT_EQ(ValueOf(*at_work), 3);
}

TEST(JudgeOperation, TheStopOfASumAtWorkIsFoundOut) {
  const auto at_work = Operation::AtWork(Type::CumulativeAdd, Kind::Scalar, std::nullopt);
  at_work->Take(0, TraceOf({1, 2, 4, 8}, kWatts));
  at_work->Take(1, LongOf(1));
  const auto guesses = at_work->Guesses(ScalarOf(6, kWatts), 16);
  ASSERT_EQ(guesses.size(), 1u);
  EXPECT_EQ(guesses[0]->Guessed(), "STOP 2");
  ASSERT_EQ(guesses[0]->Take(0, TraceOf({1, 3, 5, 9}, kWatts)).kind, Outcome::Published);
  EXPECT_EQ(ValueOf(*guesses[0]), 8);
}

TEST(JudgeOperation, ACopyGoesItsOwnWay) {
  OperationValue one(Made(Type::Peak, {ScalarOf(3, kWatts)}));
  OperationValue other = one;
  EXPECT_EQ(one->StateDigest(), other->StateDigest());
  one->Take(0, ScalarOf(5, kWatts));
  EXPECT_EQ(std::get<Scalar_record>(*other->Result()).val, 3);
  EXPECT_NE(one->StateDigest(), other->StateDigest());
}

}  // namespace
}  // namespace Lumenar::Judge
