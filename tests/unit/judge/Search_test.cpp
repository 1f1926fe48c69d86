// SPDX-License-Identifier: Apache-2.0
// Recordings of one object: which order explains its results, what is known from when on, and what differs.
#include "judge/verify/Search.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/judge/SearchFixture.h"

namespace Lumenar::Judge {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

const Units kSquareVolts_dB = UnitOf(2, 2, 0, true);

TEST_F(JudgeSearch, TheOrderOfArrivalExplainsADifference) {
  for (const Units& units : {kWatts, kdBm, kSquareVolts_dB}) {
    RecordedObject object("Subtract", {numbers_.Trace(units), numbers_.Trace(units)});
    for (int i = 0; i < 60; ++i) object.Sample(i % 3 == 0 ? 1 : 0, numbers_.Trace(units));
    const ObjectReport report = object.CheckObject();
    EXPECT_TRUE(report.IsExplained()) << TextsOf(report, Remark::Unexplained);
    EXPECT_EQ(CountOf(report, Remark::Order), 0u) << TextsOf(report, Remark::Order);
    EXPECT_GE(report.findings.Checked(), 57u);
    EXPECT_EQ(report.findings.Checked() + report.findings.Unchecked(), report.results);
  }
}

TEST_F(JudgeSearch, PresentValuesMakeTheFirstResultsKnown) {
  const Datum first = numbers_.Trace(kdBm);
  const Datum second = numbers_.Trace(kdBm);
  RecordedObject object("Subtract", {first, second});
  object.RecordPresent({first, second});
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
  const ObjectReport report = object.CheckObject();
  EXPECT_EQ(report.findings.Checked(), 10u);
  EXPECT_TRUE(report.IsExplained());
}

TEST_F(JudgeSearch, ASecondOperandThatNeverCameLeavesNothingToCheck) {
  RecordedObject object("Subtract", {numbers_.Scalar(kWatts), numbers_.Scalar(kWatts)});
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Scalar(kWatts));
  const ObjectReport report = object.CheckObject();
  EXPECT_EQ(report.findings.Checked(), 0u);
  EXPECT_FALSE(report.IsExplained());
  EXPECT_FALSE(report.Differs());
}

TEST_F(JudgeSearch, AnotherOrderThanThatOfArrivalIsFoundAndNamed) {
  RecordedObject object("Subtract", {numbers_.Trace(kdBm), numbers_.Trace(kdBm)});
  for (int i = 0; i < 10; ++i) object.Sample(i % 2 == 0 ? 0 : 1, numbers_.Trace(kdBm));
  const Datum one = numbers_.Trace(kdBm);
  const Datum other = numbers_.Trace(kdBm);
  object.Record(0, one);
  object.Record(1, other);
  object.Compute(1, other);  // the engine had it first
  object.RecordResult();
  object.Compute(0, one);
  object.RecordResult();
  for (int i = 0; i < 10; ++i) object.Sample(i % 2 == 0 ? 0 : 1, numbers_.Trace(kdBm));
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained());
  EXPECT_EQ(CountOf(report, Remark::Order), 1u);
  EXPECT_THAT(TextsOf(report, Remark::Order),
              HasSubstr("11: from sample 6 of IN1, before sample 6 of IN0, which came to the recorder earlier"));
}

/// As two inputs do that come fast, before the second one was known.
TEST_F(JudgeSearch, ManySamplesOfOneInputBeforeTheFirstOfTheOther) {
  RecordedObject object("Subtract", {numbers_.Trace(kdBm), numbers_.Trace(kdBm)});
  std::vector<Datum> first(12);
  std::vector<Datum> second(12);
  for (std::size_t i = 0; i < first.size(); ++i) {
    object.Record(0, first[i] = numbers_.Trace(kdBm));
    object.Record(1, second[i] = numbers_.Trace(kdBm));
  }
  for (const std::size_t input : {0u, 1u}) {
    for (const Datum& sample : input == 0 ? first : second) {
      object.Compute(input, sample);
      object.RecordResult();
    }
  }
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained()) << TextsOf(report, Remark::Unexplained);
  EXPECT_EQ(report.findings.Checked(), 12u);
}

TEST_F(JudgeSearch, AResultThatOvertakesItsSampleIsExplained) {
  RecordedObject object("Average", {numbers_.Trace(kdBm)});
  object.RecordPresent({numbers_.Trace(kdBm)});
  object.RecordingBeginsWithSize(1);
  for (int i = 0; i < 10; ++i) {
    const Datum sample = numbers_.Trace(kdBm);
    object.Compute(0, sample);
    object.RecordResult();
    object.Record(0, sample);
  }
  EXPECT_TRUE(object.CheckObject().IsExplained());
}

TEST_F(JudgeSearch, EqualSamplesLeaveManyOrdersAndStillEnd) {
  RecordedObject object("Subtract", {ScalarOf(5, kWatts), ScalarOf(2, kWatts)});
  for (int i = 0; i < 300; ++i)
    object.Sample(i % 2 == 0 ? 0 : 1, i % 2 == 0 ? ScalarOf(5, kWatts) : ScalarOf(2, kWatts));
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained());
  EXPECT_EQ(CountOf(report, Remark::Order), 0u);
}

TEST_F(JudgeSearch, AnAverageIsCheckedFromWhenItsSamplesAreRecorded) {
  for (const Units& units : {kWatts, kdBm}) {
    RecordedObject object("Average", {numbers_.Trace(units)});
    object.SetSize(5, false);
    for (int i = 0; i < 8; ++i) object.Compute(0, numbers_.Trace(units));
    object.RecordingBeginsWithSize(5);
    for (int i = 0; i < 40; ++i) object.Sample(0, numbers_.Trace(units));
    const ObjectReport report = object.CheckObject();
    EXPECT_TRUE(report.IsExplained()) << TextsOf(report, Remark::Unexplained);
    EXPECT_EQ(report.findings.Checked(), 35u);
    EXPECT_THAT(report.findings.UncheckedBy().begin()->first, HasSubstr("samples that came before are in the mean"));
  }
}

TEST_F(JudgeSearch, ARecordedResetMakesAnAverageKnownAtOnce) {
  RecordedObject object("Average", {numbers_.Trace(kdBm)});
  object.SetSize(20, false);
  for (int i = 0; i < 30; ++i) object.Compute(0, numbers_.Trace(kdBm));
  object.RecordingBeginsWithSize(20);
  object.Reset();
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained());
  EXPECT_GE(report.findings.Checked(), 10u);
}

TEST_F(JudgeSearch, ANewSizeCountsFromASampleNearIt) {
  RecordedObject object("Average", {numbers_.Scalar(kWatts)});
  object.RecordingBeginsWithSize(1);
  for (int i = 0; i < 5; ++i) object.Sample(0, numbers_.Scalar(kWatts));
  object.SetSize(4);
  for (int i = 0; i < 9; ++i) object.Sample(0, numbers_.Scalar(kWatts));
  object.SetSize(2, false);  // the recorder has it behind the next sample
  object.Sample(0, numbers_.Scalar(kWatts));
  object.RecordEvent(Recording::EventKind::Size, 2);
  for (int i = 0; i < 9; ++i) object.Sample(0, numbers_.Scalar(kWatts));
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained()) << TextsOf(report, Remark::Unexplained);
  EXPECT_EQ(report.findings.Checked() + report.findings.Unchecked(), report.results);
}

TEST_F(JudgeSearch, AResetThatNobodyRecordedIsAssumedOrNot) {
  for (const std::string type : {"Average", "Peak"}) {
    RecordedObject object(type, {numbers_.Scalar(kWatts)});
    object.RecordingBeginsWithSize(1);
    object.SetSize(3);
    for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Scalar(kWatts));
    object.Sample(0, ScalarOf(90, kWatts));
    object.Reset(false);
    for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Scalar(kWatts));
    const ObjectReport report = object.CheckObject();
    EXPECT_TRUE(report.IsExplained()) << type << TextsOf(report, Remark::Unexplained);
    EXPECT_EQ(CountOf(report, Remark::Reset), 1u) << type;
    SearchLimits strict;
    strict.assume_resets = false;
    EXPECT_TRUE(object.CheckObject(strict).Differs()) << type;
  }
}

TEST_F(JudgeSearch, APeakIsCheckedFromItsSecondResult) {
  RecordedObject object("Peak", {numbers_.Trace(kdBm)});
  for (int i = 0; i < 20; ++i) object.Compute(0, numbers_.Trace(kdBm));
  for (int i = 0; i < 20; ++i) object.Sample(0, numbers_.Trace(kdBm));
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained());
  EXPECT_EQ(report.findings.Checked(), 19u);
}

TEST_F(JudgeSearch, StartAndStopOfASumAreFoundOutOrKnown) {
  const Datum trace = numbers_.Trace(kdBm, 30);
  RecordedObject object("CumulativeAdd", {trace, LongOf(3), LongOf(20)});
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm, 30));
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained());
  EXPECT_EQ(report.guessed, "STOP 20, START 3");
  RecordedObject told("CumulativeAdd", {trace, LongOf(3), LongOf(20)});
  told.RecordPresent({trace, LongOf(3), LongOf(20)});
  for (int i = 0; i < 10; ++i) told.Sample(0, numbers_.Trace(kdBm, 30));
  told.Sample(2, LongOf(7));
  told.Sample(1, LongOf(2));
  const ObjectReport known = told.CheckObject();
  EXPECT_EQ(known.findings.Checked(), 12u) << TextsOf(known, Remark::Unexplained);
  EXPECT_THAT(known.guessed, IsEmpty());
}

TEST_F(JudgeSearch, SamplesThatTheRulesRefuseHaveNoResult) {
  RecordedObject object("Peak", {numbers_.Trace(kdBm)});
  for (int i = 0; i < 21; ++i) object.Sample(0, numbers_.Trace(kdBm, i % 4 == 3 ? 6 : 7));
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained());
  EXPECT_EQ(report.findings.RefusedBy().at("Doing Peak search: traces are different sizes! "), 5u);
}

TEST_F(JudgeSearch, UnitsThatCannotBeCombinedHaveNoResult) {
  RecordedObject object("Subtract", {numbers_.Scalar(kWatts), numbers_.Scalar(kMilliwatts)});
  for (int i = 0; i < 6; ++i) object.Sample(i % 2 == 0 ? 0 : 1, numbers_.Scalar(i % 2 == 0 ? kWatts : kMilliwatts));
  object.Sample(1, numbers_.Scalar(UnitOf(6)));
  object.Sample(0, numbers_.Scalar(kWatts));
  for (int i = 0; i < 6; ++i) object.Sample(i % 2 == 0 ? 1 : 0, numbers_.Scalar(i % 2 == 0 ? kMilliwatts : kWatts));
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained());
  EXPECT_EQ(report.findings.RefusedBy().at("UnitDimensionNotProper"), 2u);
}

/// Of a Peak that stays the same, nobody could tell.
TEST_F(JudgeSearch, AResultThatIsMissingIsFound) {
  RecordedObject object("Average", {numbers_.Trace(kdBm)});
  object.RecordingBeginsWithSize(1);
  object.SetSize(3);
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
  const Datum lost = numbers_.Trace(kdBm);
  object.Record(0, lost);
  object.Compute(0, lost);
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
  const ObjectReport report = object.CheckObject();
  EXPECT_EQ(CountOf(report, Remark::Missing), 1u);
  EXPECT_EQ(CountOf(report, Remark::Unexplained), 0u);
  EXPECT_THAT(TextsOf(report, Remark::Missing), HasSubstr("11: the result of this sample of IN0"));
}

TEST_F(JudgeSearch, ASampleThatTheObjectNeverHadIsFound) {
  const std::vector<Datum> present{numbers_.Trace(kdBm), numbers_.Trace(kdBm)};
  RecordedObject object("Subtract", present);
  object.RecordPresent(present);
  for (int i = 0; i < 10; ++i) object.Sample(i % 2 == 0 ? 0 : 1, numbers_.Trace(kdBm));
  object.Record(0, numbers_.Trace(kdBm));
  for (int i = 0; i < 10; ++i) object.Sample(i % 2 == 0 ? 1 : 0, numbers_.Trace(kdBm));
  const ObjectReport report = object.CheckObject();
  EXPECT_EQ(CountOf(report, Remark::Missing), 1u);
  EXPECT_EQ(CountOf(report, Remark::Unexplained), 0u);
}

/// The samples are in the recording; the object computed with something else.
TEST_F(JudgeSearch, AWrongResultIsADifferenceAndTheNextOneIsNot) {
  RecordedObject object("Peak", {numbers_.Scalar(kWatts)});
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Scalar(kWatts));
  object.Record(0, ScalarOf(30, kWatts));
  object.Compute(0, ScalarOf(31, kWatts));
  object.RecordResult();
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Scalar(kWatts));
  const ObjectReport report = object.CheckObject();
  EXPECT_EQ(CountOf(report, Remark::Unexplained), 1u);
  EXPECT_THAT(TextsOf(report, Remark::Unexplained),
              HasSubstr("11: nearest to what sample 11 of IN0 gives: value: recorded 31, expected 30"));
}

TEST_F(JudgeSearch, ResultsOfAnotherOperationAreAllDifferent) {
  RecordedObject object("Subtract", {numbers_.Trace(kdBm), numbers_.Trace(kdBm)});
  RecordedObject other("RelativeSubtract", {numbers_.Trace(kdBm), numbers_.Trace(kdBm)});
  object.step_ns = 100 * kMillisecond;
  for (int i = 0; i < 20; ++i) {
    const Datum sample = numbers_.Trace(kdBm);
    object.Record(static_cast<std::size_t>(i % 2), sample);
    other.Compute(static_cast<std::size_t>(i % 2), sample);
    object.Record(object.ResultReading(), *other.Rules().Result());
  }
  const ObjectReport report = object.CheckObject();
  EXPECT_GE(CountOf(report, Remark::Unexplained), 11u);
  EXPECT_EQ(report.findings.Checked(), 0u);
}

}  // namespace
}  // namespace Lumenar::Judge
