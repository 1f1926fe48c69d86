// SPDX-License-Identifier: Apache-2.0
// What a math object reports of itself: samples, results, their times, the present result, and refusals.
#include <gmock/gmock.h>

#include "Common_Math/src/RefusedSamples.h"
#include "tests/support/OperationFixture.h"

namespace Lumenar::Test {
namespace {

using Corvanta::MathFactory::Math_var;
using Corvanta::MathFactory::MathReport;
using Corvanta::MathFactory::MathReport_var;
using std::chrono::milliseconds;

class SampleFiguresTest : public testing::Test {
 protected:
  SampleFigures figures_;
  SampleFigures::Time now_ = SampleFigures::Time() + std::chrono::hours(1);
};

TEST_F(SampleFiguresTest, BeforeTheFirstThereIsNothing) {
  EXPECT_EQ(figures_.Samples(0, now_).number, 0u);
  EXPECT_EQ(figures_.Samples(0, now_).age_us, 0u);
  EXPECT_EQ(figures_.Results(now_).number, 0u);
  EXPECT_EQ(figures_.IntervalMicroseconds(), 0);
}

TEST_F(SampleFiguresTest, EachInputIsCountedByItself) {
  figures_.SampleCame(0, now_);
  figures_.SampleCame(2, now_ + milliseconds(1));
  figures_.SampleCame(2, now_ + milliseconds(2));
  EXPECT_EQ(figures_.Samples(0, now_ + milliseconds(5)).age_us, 5000u);
  EXPECT_EQ(figures_.Samples(1, now_).number, 0u);
  EXPECT_EQ(figures_.Samples(2, now_ + milliseconds(5)).number, 2u);
  EXPECT_EQ(figures_.Samples(2, now_ + milliseconds(5)).age_us, 3000u);
  EXPECT_EQ(figures_.Samples(2, now_).age_us, 0u) << "no time runs backwards";
}

TEST_F(SampleFiguresTest, TheIntervalIsAMeanAndFollowsAChangeOfRate) {
  const auto results = [&](int count, milliseconds interval) {
    for (int i = 0; i < count; ++i) figures_.ResultCame(now_ += interval);
  };
  results(1, milliseconds(0));
  EXPECT_EQ(figures_.IntervalMicroseconds(), 0) << "one result has no interval";
  results(1, milliseconds(10));
  EXPECT_DOUBLE_EQ(figures_.IntervalMicroseconds(), 10000);
  results(1, milliseconds(20));
  EXPECT_DOUBLE_EQ(figures_.IntervalMicroseconds(), 15000) << "the first ones count alike";
  results(100, milliseconds(40));
  EXPECT_NEAR(figures_.IntervalMicroseconds(), 40000, 1);
  EXPECT_EQ(figures_.Results(now_).number, 103u);
}

class ReportTest : public OperationFixture {
 protected:
  static MathReport Of(const Math_var& math) {
    const MathReport_var report = math->Report();
    return report.in();
  }
};

TEST_F(ReportTest, ANewObjectHasAResultOfPresentValuesAndNoSampleYet) {
  scalar_ = ScalarOf(5, kdBm);
  const Math_var math = Create(Subtract, {scalar_, other_scalar_});
  const MathReport report = Of(math);
  EXPECT_EQ(report.id, math->GetId());
  EXPECT_STREQ(report.type, "Subtract");
  ASSERT_EQ(report.inputs.length(), 2u);
  EXPECT_EQ(report.inputs[0].topic.in(), scalar_.GetDDS_Topic());
  EXPECT_EQ(report.inputs[1].topic.in(), other_scalar_.GetDDS_Topic());
  EXPECT_EQ(report.inputs[0].samples + report.inputs[1].samples, 0u);
  EXPECT_FALSE(report.inputs[0].away);
  EXPECT_EQ(report.result_topic.in(), ResultTopic(math));
  EXPECT_STREQ(report.result_kind, "ValueDouble");
  EXPECT_EQ(VALUE::UnitsFromCorba(report.units), kdBm);
  EXPECT_EQ(report.points, 1u);
  EXPECT_EQ(report.results, 1u);
  EXPECT_EQ(report.interval_us, 0);
  EXPECT_EQ(report.size + report.filled, 0u) << "of an Average alone";
  EXPECT_FALSE(report.refusing);
}

TEST_F(ReportTest, SamplesAndResultsAreCounted) {
  const Math_var math = Create(Subtract, {trace_, other_trace_});
  Deliver(trace_, TraceOf({2}));
  Deliver(trace_, TraceOf({3}));
  Deliver(other_trace_, TraceOf({1}));
  const MathReport report = Of(math);
  EXPECT_EQ(report.inputs[0].samples, 2u);
  EXPECT_EQ(report.inputs[1].samples, 1u);
  EXPECT_EQ(report.results, 4u);
  EXPECT_GT(report.interval_us, 0);
  EXPECT_GE(report.inputs[0].age_us, report.inputs[1].age_us);
}

TEST_F(ReportTest, EachInputOfASumIsCountedByItself) {
  trace_ = TraceOf({1, 2, 3});
  const Math_var math = Create(CumulativeAdd, {trace_, start_, stop_});
  Deliver(start_, 1);
  const MathReport report = Of(math);
  EXPECT_EQ(report.inputs[0].samples, 0u);
  EXPECT_EQ(report.inputs[1].samples + report.inputs[2].samples, 1u);
}

TEST_F(ReportTest, AnAverageTellsSizeAndFilling) {
  const Math_var math = Create(Average, {trace_});
  SetSize(math, 3);
  const auto filling = [&] {
    const MathReport report = Of(math);
    return std::pair<unsigned, unsigned>(report.filled, report.size);
  };
  EXPECT_EQ(filling(), std::pair(1u, 3u));
  for (const unsigned filled : {2u, 3u, 3u}) {
    Deliver(trace_, TraceOf({4}));
    EXPECT_EQ(filling(), std::pair(filled, 3u));
  }
  SetSize(math, 2);
  Deliver(trace_, TraceOf({4}));
  EXPECT_EQ(filling(), std::pair(2u, 2u));
  Reset<Corvanta::MathFactory::Average>(math);
  EXPECT_EQ(filling(), std::pair(0u, 2u));
  EXPECT_EQ(Of(math).points, 1u);
}

TEST_F(ReportTest, RefusingEndsWithTheNextGoodSample) {
  const Math_var math = Create(Peak, {trace_});
  DeliverAnyhow(trace_, TraceOf({1, 2}));
  MathReport report = Of(math);
  EXPECT_TRUE(report.refusing);
  EXPECT_EQ(report.refusals.refused, 1u);
  EXPECT_STREQ(report.refusals.last_reason, "traces of different lengths (1 and 2)");
  EXPECT_EQ(report.inputs[0].samples, 1u) << "refused ones included";
  EXPECT_EQ(report.results, 1u);
  Deliver(trace_, TraceOf({3}));
  report = Of(math);
  EXPECT_FALSE(report.refusing);
  EXPECT_EQ(report.refusals.refused, 1u);
}

TEST_F(ReportTest, ARefusalInSilenceLeavesNoResultBehind) {
  other_scalar_ = ScalarOf(1, kSecond);
  const Math_var math = Create(Subtract, {scalar_, other_scalar_});
  const MathReport report = Of(math);
  EXPECT_TRUE(report.refusing);
  EXPECT_EQ(report.results, 0u);
  EXPECT_EQ(report.points, 0u);
  EXPECT_EQ(report.age_us, 0u);
  EXPECT_TRUE(VALUE::UnitsFromCorba(report.units) == kNone);
}

TEST_F(ReportTest, AllObjectsReportInOneCall) {
  const Math_var peak = Create(Peak, {trace_});
  const Math_var average = Create(Average, {scalar_});
  const Math_var gone = Create(Peak, {scalar_});
  Factory().DeleteMath(gone->GetId());
  const Corvanta::MathFactory::MathReportSeq_var reports = Factory().ReportMath();
  ASSERT_EQ(reports->length(), 2u);
  EXPECT_EQ(reports.in()[0].id, peak->GetId());
  EXPECT_EQ(reports.in()[1].id, average->GetId());
  EXPECT_EQ(reports.in()[1].size, 1u);
}

TEST_F(ReportTest, TheHandleOfEachSubscriptionIsTold) {
  const Math_var math = Create(CumulativeAdd, {trace_, start_, stop_});
  const MathReport report = Of(math);
  std::vector<CORBA::Long> told, known;
  for (CORBA::ULong i = 0; i < report.inputs.length(); ++i) told.push_back(report.inputs[i].handle);
  for (const auto& subscription : Manager().Subscribed()) known.push_back(subscription.handle);
  EXPECT_THAT(told, testing::UnorderedElementsAreArray(known));
}

TEST_F(ReportTest, TheInputsAreThoseOfCreation) {
  const Math_var math = Create(CumulativeAdd, {trace_, start_, stop_});
  const Corvanta::MathFactory::ReadingAttribSeq_var inputs = math->AttrInputs();
  ASSERT_EQ(inputs->length(), 3u);
  EXPECT_TRUE(inputs.in()[0]->_is_equivalent(trace_.reference));
  EXPECT_TRUE(inputs.in()[1]->_is_equivalent(start_.reference));
  EXPECT_TRUE(inputs.in()[2]->_is_equivalent(stop_.reference));
}

TEST_F(ReportTest, ADeletedObjectReportsNothing) {
  const Math_var math = Create(Peak, {trace_});
  Factory().DeleteMath(math->GetId());
  EXPECT_THROW(math->Report(), CORBA::OBJECT_NOT_EXIST);
  EXPECT_THROW(math->AttrInputs(), CORBA::OBJECT_NOT_EXIST);
}

}  // namespace
}  // namespace Lumenar::Test
