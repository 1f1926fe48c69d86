// SPDX-License-Identifier: Apache-2.0
// Recordings that lack samples, and searches that have an end: what counts as a difference, and what does not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <variant>

#include "tests/unit/judge/SearchFixture.h"

namespace Lumenar::Judge {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST_F(JudgeSearch, AGapMakesTheCheckBeginAnew) {
  RecordedObject object("Average", {numbers_.Trace(kdBm)});
  object.RecordingBeginsWithSize(3);
  object.SetSize(3, false);
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
  object.RecordEvent(Recording::EventKind::Gap);
  for (int i = 0; i < 5; ++i) object.Compute(0, numbers_.Trace(kdBm));
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained()) << TextsOf(report, Remark::Unexplained);
  EXPECT_EQ(report.interrupted, 1u);
  EXPECT_EQ(report.findings.Checked(), 14u);
  EXPECT_TRUE(object.Check().IsProven());
  SearchLimits strict;
  strict.assume_resets = false;
  EXPECT_FALSE(object.Check(strict).IsProven()) << "nobody knows what was in the gap";
  EXPECT_FALSE(object.CheckObject(strict).Differs());
}

/// A recorder notes what the topic manager dropped up to a second later, behind samples that came meanwhile.
TEST_F(JudgeSearch, WhatWasLostBeforeItWasNotedIsNoDifference) {
  for (const bool told_since_when : {true, false}) {
    RecordedObject object("Average", {numbers_.Trace(kdBm)});
    object.RecordingBeginsWithSize(3);
    object.SetSize(3, false);
    object.step_ns = 700 * kMillisecond;
    for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
    const std::int64_t since_ns = object.LastTime_ns();
    object.Compute(0, numbers_.Trace(kdBm));
    object.RecordResult();
    for (int i = 0; i < 3; ++i) object.Sample(0, numbers_.Trace(kdBm));
    object.RecordEvent(Recording::EventKind::Lost, 1, told_since_when ? std::optional(since_ns) : std::nullopt);
    for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
    const ObjectReport report = object.CheckObject();
    EXPECT_EQ(report.IsExplained(), told_since_when) << TextsOf(report, Remark::Unexplained);
    if (!told_since_when) continue;
    EXPECT_EQ(report.findings.UncheckedBy().at("shortly before samples that may be missing"), 4u);
    EXPECT_EQ(report.findings.Checked() + report.findings.Unchecked(), report.results);
  }
}

/// A result that came just before a gap may be that of a sample that is missing.
TEST_F(JudgeSearch, AResultWhoseSampleFellIntoAGapIsNotChecked) {
  RecordedObject object("Peak", {numbers_.Trace(kdBm)});
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
  object.Compute(0, TraceOf({90, 90, 90, 90, 90, 90, 90}, kdBm));
  object.RecordResult();
  object.RecordEvent(Recording::EventKind::Lost, 1);
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained()) << TextsOf(report, Remark::Unexplained);
  EXPECT_EQ(report.findings.Checked(), 18u);
}

/// A gap between a sample and its result: the result comes behind the next sample, as at the beginning of a recording.
TEST_F(JudgeSearch, BehindAGapItIsAsAtTheBeginning) {
  RecordedObject object("Average", {numbers_.Trace(kdBm)});
  object.RecordingBeginsWithSize(3);
  object.SetSize(3, false);
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
  const Datum before = numbers_.Trace(kdBm), behind = numbers_.Trace(kdBm);
  object.Record(0, before);
  object.RecordEvent(Recording::EventKind::Gap);
  object.Record(0, behind);
  for (const Datum& sample : {before, behind}) {
    object.Compute(0, sample);
    object.RecordResult();
  }
  for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
  const ObjectReport report = object.CheckObject();
  EXPECT_TRUE(report.IsExplained()) << TextsOf(report, Remark::Unexplained);
}

/// Means of numbers that rise by equal steps rise so too, so each is explained by later samples as well, until the
/// numbers begin again.
class JudgeRisingNumbers : public testing::TestWithParam<std::tuple<int, int>> {
 protected:
  JudgeRisingNumbers() : object_("Average", {ScalarOf(0, kWatts)}) {
    const auto [size, crossing] = GetParam();
    object_.RecordingBeginsWithSize(size);
    object_.SetSize(size, false);
    object_.step_ns = 5 * kMillisecond;
    Rise(1, 20);
    for (int i = 0; i < crossing; ++i) object_.Record(0, ScalarOf(21 + i, kWatts));
    object_.RecordEvent(Recording::EventKind::Gap);
    object_.RecordEvent(Recording::EventKind::Size, size);
    for (int i = 0; i < crossing; ++i) {
      object_.Compute(0, ScalarOf(21 + i, kWatts));
      object_.RecordResult();
    }
    Rise(21 + crossing, 60);
    Rise(1, 30);
  }

  void Rise(int from, int to) {
    for (int i = from; i <= to; ++i) object_.Sample(0, ScalarOf(i, kWatts));
  }

  RecordedObject object_;
};

TEST_P(JudgeRisingNumbers, AreTakenInTheirOrderBehindAGap) {
  const ObjectReport report = object_.CheckObject();
  EXPECT_TRUE(report.IsExplained()) << TextsOf(report, Remark::Unexplained) << TextsOf(report, Remark::Missing);
  EXPECT_EQ(report.interrupted, 1u);
  EXPECT_EQ(report.findings.Checked() + report.findings.Unchecked(), report.results);
  EXPECT_GE(report.findings.Checked(), 40u);
}

/// Every second entry is a sample, of which the last bits do not show in a mean of many. A RESET that nobody recorded
/// would explain a last result that is the sample before.
TEST_P(JudgeRisingNumbers, HideNoChange) {
  SearchLimits strict;
  strict.assume_resets = false;
  for (const std::size_t from_end : {1, 2, 3, 30, 59, 60, 61, 90}) {
    auto& entry = std::get<Recording::Sample>(object_.Entries().at(object_.Entries().size() - from_end));
    double& value = std::get<Scalar_record>(entry.record).val;
    const double was = value;
    value = from_end % 2 == 0 ? was + 0.5 : std::nextafter(was, 1000);
    EXPECT_TRUE(object_.CheckObject(strict).Differs()) << from_end << " entries before the end";
    value = was;
  }
}

INSTANTIATE_TEST_SUITE_P(SizesAndSamplesBeforeTheGapWithResultsBehindIt, JudgeRisingNumbers,
                         testing::Combine(testing::Values(2, 3, 5, 8, 12), testing::Values(0, 1, 2, 3)));

TEST_F(JudgeSearch, TheResultOfALastSampleMayComeBehindTheEnd) {
  for (const std::int64_t seconds_left : {4, 6}) {
    RecordedObject object("Peak", {numbers_.Trace(kdBm)});
    for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
    object.Record(0, numbers_.Trace(kdBm));
    object.step_ns = seconds_left * 1000 * kMillisecond;
    object.RecordEvent(Recording::EventKind::Size, 3);
    EXPECT_EQ(CountOf(object.CheckObject(), Remark::Missing), seconds_left > 5 ? 1u : 0u);
  }
}

/// A recorder that ends after so many samples in all may have the last result and not yet its sample.
TEST_F(JudgeSearch, TheSampleOfALastResultMayComeBehindTheEnd) {
  for (const std::int64_t seconds_left : {0, 2}) {
    RecordedObject object("Average", {numbers_.Trace(kdBm)});
    object.RecordingBeginsWithSize(1);
    for (int i = 0; i < 10; ++i) object.Sample(0, numbers_.Trace(kdBm));
    object.Compute(0, numbers_.Trace(kdBm));
    object.RecordResult();
    object.step_ns = seconds_left * 1000 * kMillisecond;
    object.RecordEvent(Recording::EventKind::Size, 1);
    const ObjectReport report = object.CheckObject();
    EXPECT_EQ(CountOf(report, Remark::Unexplained), seconds_left > 1 ? 1u : 0u);
    EXPECT_GE(report.findings.Checked(), 9u);
  }
}

/// Of two inputs one may be there, and the one that gave the last result not yet.
TEST_F(JudgeSearch, TheSampleOfALastResultOfTwoInputsMayComeBehindTheEnd) {
  for (const std::int64_t behind_ms : {0, 200}) {
    RecordedObject object("Subtract", {numbers_.Trace(kdBm), numbers_.Trace(kdBm)});
    for (int i = 0; i < 20; ++i) object.Sample(i % 2, numbers_.Trace(kdBm));
    object.Compute(1, numbers_.Trace(kdBm));
    object.Record(0, numbers_.Trace(kdBm));
    object.RecordResult();
    object.step_ns = behind_ms * kMillisecond;
    object.RecordEvent(Recording::EventKind::Size, 1);
    const ObjectReport report = object.CheckObject();
    EXPECT_EQ(CountOf(report, Remark::Unexplained), behind_ms > 50 ? 1u : 0u);
    EXPECT_GE(report.findings.Checked(), 15u);
  }
}

TEST_F(JudgeSearch, SaysWhereItIsBounded) {
  RecordedObject object("Subtract", {ScalarOf(5, kWatts), ScalarOf(2, kWatts)});
  for (int i = 0; i < 30; ++i)
    object.Sample(i % 2 == 0 ? 0 : 1, i % 2 == 0 ? ScalarOf(5, kWatts) : ScalarOf(2, kWatts));
  SearchLimits one_way;
  one_way.paths = 1;
  EXPECT_GT(object.CheckObject(one_way).bounded, 0u);
  EXPECT_THAT(MarkdownOf(object.Check(one_way)), Not(HasSubstr("bounded"))) << "every result is explained all the same";
  SearchLimits one_step;
  one_step.steps = 1;
  EXPECT_GT(object.CheckObject(one_step).bounded, 0u);
  object.Record(0, ScalarOf(5, kWatts));
  object.Record(object.ResultReading(), ScalarOf(99, kWatts));
  object.step_ns = 200 * kMillisecond;
  object.Record(1, ScalarOf(2, kWatts));
  EXPECT_THAT(MarkdownOf(object.Check(one_way)), HasSubstr("the search was bounded at "));

  RecordedObject other("Subtract", {numbers_.Scalar(kWatts), numbers_.Scalar(kWatts)});
  for (int i = 0; i < 30; ++i) other.Sample(static_cast<std::size_t>(i) % 2, numbers_.Scalar(kWatts));
  EXPECT_EQ(other.CheckObject().bounded, 0u) << "samples that differ tell their order";
}

TEST_F(JudgeSearch, WithoutMemoryToWaitTheOrderOfArrivalIsTaken) {
  RecordedObject object("Subtract", {numbers_.Trace(kdBm), numbers_.Trace(kdBm)});
  for (int i = 0; i < 100; ++i) object.Sample(static_cast<std::size_t>(i) % 2, numbers_.Trace(kdBm));
  SearchLimits little;
  little.pending_bytes = 1;
  little.state_bytes = 1;
  const ObjectReport report = object.CheckObject(little);
  EXPECT_TRUE(report.IsExplained()) << TextsOf(report, Remark::Unexplained);
}

}  // namespace
}  // namespace Lumenar::Judge
