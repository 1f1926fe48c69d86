// SPDX-License-Identifier: Apache-2.0
// Samples that a math object refuses: counted, with the last reason, and said.
#include <gmock/gmock.h>

#include <new>

#include "Common_Math/src/RefusedSamples.h"
#include "tests/support/OperationFixture.h"

namespace Lumenar::Test {
namespace {

using Corvanta::MathFactory::Math_var;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

class RefusedSamplesTest : public testing::Test {
 protected:
  RefusedSamplesTest() {
    refused_.AddInput("SIM/1/TRACE");
    refused_.AddInput("PROBE/1/WAKEUP");
  }

  std::vector<std::string> lines_;
  RefusedSamples refused_{7, [this](const std::string& line) { lines_.push_back(line); }};
  const RefusedSamples::Time start_ = RefusedSamples::Time() + seconds(1000);
};

TEST_F(RefusedSamplesTest, AFixedLineThatRepeatsIsToldOnceAMinuteWithObjectInputsAndCount) {
  for (int second = 0; second < 130; ++second)
    refused_.Count("traces of different lengths", true, start_ + seconds(second));
  EXPECT_THAT(
      lines_,
      ElementsAre(
          "math object 7 over SIM/1/TRACE, PROBE/1/WAKEUP refused 1 sample: traces of different lengths",
          "math object 7 over SIM/1/TRACE, PROBE/1/WAKEUP refused 60 more samples: traces of different lengths",
          "math object 7 over SIM/1/TRACE, PROBE/1/WAKEUP refused 60 more samples: traces of different lengths"));
  EXPECT_EQ(refused_.Status().refused, 130u);
}

TEST_F(RefusedSamplesTest, WithoutAFixedLineTheFirstOfEachReasonIsSaidAndNothingMore) {
  for (int minute = 0; minute < 5; ++minute) {
    refused_.Count("UnitDimensionNotSame", false, start_ + std::chrono::minutes(minute));
    refused_.Count("no memory", false, start_ + std::chrono::minutes(minute));
  }
  EXPECT_THAT(lines_,
              ElementsAre(EndsWith("refused 1 sample: UnitDimensionNotSame"), EndsWith("refused 1 sample: no memory")));
  EXPECT_EQ(refused_.Status().refused, 10u);
  EXPECT_STREQ(refused_.Status().last_reason, "no memory");
}

TEST_F(RefusedSamplesTest, ReasonsWithoutEndAreNotRememberedWithoutEnd) {
  for (int i = 0; i < 1000; ++i) refused_.Count(std::to_string(i).c_str(), false, start_);
  EXPECT_THAT(lines_, SizeIs(RefusedSamples::kMaxReasons + 1));
  EXPECT_EQ(refused_.Status().refused, 1000u);
  EXPECT_STREQ(refused_.Status().last_reason, "999");
}

TEST_F(RefusedSamplesTest, ASampleIsCountedOnceWhateverIsSaidOfIt) {
  try {
    RefusedSamples::OnItsWay sample(refused_);
    RefusedSamples::NoteFixedLine("traces of different lengths");
    RefusedSamples::NoteFixedLine("a trace without samples");
    try {
      throw std::bad_alloc();
    } catch (...) {
      refused_.CountException();
    }
  } catch (...) {}
  RefusedSamples::NoteFixedLine("nobody's");
  EXPECT_EQ(refused_.Status().refused, 1u);
  EXPECT_STREQ(refused_.Status().last_reason, "traces of different lengths");
}

// --- the operations -----------------------------------------------------------------------------------------------

class RefusalTest : public OperationFixture {
 protected:
  static std::pair<unsigned long long, std::string> RefusalsOf(const Math_var& math) {
    const Corvanta::MathFactory::RefusalStatus_var status = math->Refusals();
    return {status->refused, status->last_reason.in()};
  }
};

using Refusals = std::pair<unsigned long long, std::string>;

TEST_F(RefusalTest, GoodSamplesAreNotRefused) {
  for (const int type : {Subtract, RelativeSubtract}) {
    scalar_ = ScalarOf(5, kdBW);
    other_scalar_ = ScalarOf(2, kdBW);
    const Math_var math = Create(type, {scalar_, other_scalar_});
    Deliver(scalar_, ScalarOf(6, kdBW));
    EXPECT_EQ(RefusalsOf(math), Refusals(0, ""));
  }
  for (const int type : {Average, Peak}) {
    const Math_var math = Create(type, {trace_});
    Deliver(trace_, TraceOf({2}));
    EXPECT_EQ(RefusalsOf(math), Refusals(0, ""));
  }
}

TEST_F(RefusalTest, AUnitThatIsDroppedInSilenceIsCounted) {
  for (const int type : {Subtract, RelativeSubtract}) {
    scalar_ = ScalarOf(5, kdBW);
    other_scalar_ = ScalarOf(2, kdBW);
    const Math_var math = Create(type, {scalar_, other_scalar_});
    for (int i = 0; i < 3; ++i) Deliver(other_scalar_, ScalarOf(1, kSecond));
    EXPECT_EQ(RefusalsOf(math).first, 3u);
    EXPECT_THAT(RefusalsOf(math).second, testing::StartsWith("UnitDimensionNot"));
    EXPECT_EQ(written_.Take(), "") << "no line on standard output";
    Factory().DeleteMath(math->GetId());
  }
}

TEST_F(RefusalTest, WhatPassesOutOfAnOperationIsCounted) {
  const Math_var average = Create(Average, {scalar_});
  DeliverAnyhow(scalar_, ScalarOf(1, kSecond));
  EXPECT_EQ(RefusalsOf(average).first, 1u);
  EXPECT_THAT(RefusalsOf(average).second, testing::StartsWith("UnitDimensionNot"));
  Factory().DeleteMath(average->GetId());

  const Math_var peak = Create(Peak, {trace_});
  DeliverAnyhow(trace_, TraceOf({1, 2}));
  DeliverAnyhow(trace_, TraceOf({1, 2}));
  EXPECT_EQ(RefusalsOf(peak), Refusals(2, "traces of different lengths (1 and 2)"));
  EXPECT_THAT(written_.Take(), EndsWith("traces are different sizes! 2, 1\n"));
}

TEST_F(RefusalTest, AFixedLineCountsTheSampleOfWhichItIsSaid) {
  const Math_var math = Create(Subtract, {trace_, other_trace_});
  written_.Take();
  for (int i = 0; i < 4; ++i) Deliver(trace_, TraceOf({1, 2}));
  EXPECT_EQ(RefusalsOf(math), Refusals(4, "traces of different lengths (2 and 1)"));
  const std::string line =
      "Common_Math/src/MathValueBasicTrace:DoValueEqualOp Error: traces are different sizes! 1, 2\n";
  EXPECT_EQ(written_.Take(), line + line + line + line) << "the fixed line stays, one a sample";

  const Math_var sum = Create(CumulativeAdd, {trace_, start_, stop_});
  Deliver(start_, 5);
  EXPECT_EQ(RefusalsOf(sum), Refusals(1, "a range without samples"));
}

TEST_F(RefusalTest, AListOfAllObjectsTellsTypeInputsResultAndRefusals) {
  scalar_ = ScalarOf(5);
  other_scalar_ = ScalarOf(2);
  const Math_var subtract = Create(Subtract, {scalar_, other_scalar_});
  const Math_var peak = Create(Peak, {trace_});
  Deliver(other_scalar_, ScalarOf(1, kSecond));
  const Corvanta::MathFactory::MathStatusSeq_var list = Factory().ListMathStatus();
  ASSERT_EQ(list->length(), 2u);
  const Corvanta::MathFactory::MathStatus& first = list.in()[0];
  EXPECT_EQ(first.id, subtract->GetId());
  EXPECT_STREQ(first.type, "Subtract");
  ASSERT_EQ(first.inputs.length(), 2u);
  EXPECT_EQ(first.inputs[0].in(), scalar_.GetDDS_Topic());
  EXPECT_EQ(first.inputs[1].in(), other_scalar_.GetDDS_Topic());
  EXPECT_TRUE(first.result->_is_equivalent(Corvanta::EngineReadingBase_var(subtract->AttrResult())));
  EXPECT_STREQ(first.result_info.name, "RESULT");
  EXPECT_STREQ(first.result_info.type_name, "ValueDouble");
  EXPECT_EQ(first.result_topic.in(), ResultTopic(subtract));
  EXPECT_EQ(first.refusals.refused, 1u);
  EXPECT_STREQ(list.in()[1].type, "Peak");
  EXPECT_STREQ(list.in()[1].result_info.type_name, "BasicTrace");
  EXPECT_EQ(list.in()[1].refusals.refused, 0u);
  EXPECT_STREQ(list.in()[1].refusals.last_reason, "");

  Factory().DeleteMath(subtract->GetId());
  const Corvanta::MathFactory::MathStatusSeq_var rest = Factory().ListMathStatus();
  ASSERT_EQ(rest->length(), 1u);
  EXPECT_EQ(rest.in()[0].id, peak->GetId());
}

}  // namespace
}  // namespace Lumenar::Test
