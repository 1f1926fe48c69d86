// SPDX-License-Identifier: Apache-2.0
// Recordings that lack samples, and searches that have an end: what counts as a difference, and what does not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
