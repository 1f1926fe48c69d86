// SPDX-License-Identifier: Apache-2.0
// The operations as objects: present values, samples, restored inputs, published results.
#include <gmock/gmock.h>

#include <limits>

#include "platform/wire/sample_any.h"
#include "tests/support/OperationFixture.h"

namespace Lumenar::Test {
namespace {

using Corvanta::MathFactory::Math_var;
using testing::ElementsAre;
using testing::FloatEq;
using testing::IsEmpty;

using OperationTest = OperationFixture;

// --- two inputs ---------------------------------------------------------------------------------------------------

TEST_F(OperationTest, SubtractHoldsAResultOfThePresentValuesBeforeAnySample) {
  scalar_ = ScalarOf(7, kW, -1, 2);
  other_scalar_ = ScalarOf(4, kW, -0.5, 0.25);
  const Scalar result = ScalarResult(Create(Subtract, {scalar_, other_scalar_}));
  EXPECT_EQ(result.val, 3);
  EXPECT_EQ(result.minus_err, -0.5);
  EXPECT_EQ(result.plus_err, 1.75);
  EXPECT_EQ(UnitsOf(result), kW);
}

TEST_F(OperationTest, EverySampleOfEitherInputGivesOneResultWithTheLastValueOfTheOther) {
  const Math_var math = Create(Subtract, {scalar_, other_scalar_});
  const std::string topic = ResultTopic(math);
  Deliver(scalar_, ScalarOf(10));
  Deliver(scalar_, ScalarOf(10));
  Deliver(other_scalar_, ScalarOf(4));
  Deliver(scalar_, ScalarOf(5));
  EXPECT_THAT(NumbersPublished(topic), ElementsAre(0, 9, 9, 6, 1)) << "the first one is that of construction";
}

TEST_F(OperationTest, SubtractOfTwoLevelsIsComputedInLinearUnitsAndTheInputsAreInDecibelsAgain) {
  other_trace_ = TraceOf({3, 0}, kdBm);
  trace_ = TraceOf({10, 20}, kdBm);
  const Math_var math = Create(Subtract, {trace_, other_trace_});
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(FloatEq(9.0334714f), FloatEq(19.956352f)));
  EXPECT_EQ(UnitsOf(TraceResult(math)), kdBm);
  Deliver(trace_, TraceOf({6, 20}, kdBm));  // counts the second operand as the levels that it is
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(FloatEq(2.9793756f), FloatEq(19.956352f)));
}

TEST_F(OperationTest, SubtractWithOnlyTheSecondInputInDecibelsIsLinear) {
  scalar_ = ScalarOf(20, kmW);
  other_scalar_ = ScalarOf(10, kdBm);
  const Math_var math = Create(Subtract, {scalar_, other_scalar_});
  EXPECT_DOUBLE_EQ(ScalarResult(math).val, 10);
  EXPECT_EQ(UnitsOf(ScalarResult(math)), kmW);
  Deliver(scalar_, ScalarOf(30, kmW));
  EXPECT_DOUBLE_EQ(ScalarResult(math).val, 20) << "the second input was back in dB";
}

TEST_F(OperationTest, TheSecondInputGoesBackIntoDecibelsByTheRuleOfItsUnit) {
  const Value::Units volt2 = Value::Make_unit(Value::U_Volt, 2);
  scalar_ = ScalarOf(1000, volt2);
  other_scalar_ = ScalarOf(20, Value::Make_unit(Value::U_Volt, 2, 0, true));
  const Math_var math = Create(Subtract, {scalar_, other_scalar_});
  EXPECT_DOUBLE_EQ(ScalarResult(math).val, 800) << "20 dB are 2 * 10^(20/10)";
  Deliver(scalar_, ScalarOf(1000, volt2));
  EXPECT_NEAR(ScalarResult(math).val, -79000, 1e-6) << "200 went back as 20 log10(200) = 46 dB, which are 2 * 10^4.6";
}

TEST_F(OperationTest, AUnitMismatchLeavesResultAtItsLastGoodValueAndReportsNothing) {
  for (const int type : {Subtract, RelativeSubtract}) {
    scalar_ = ScalarOf(5, kdBW);
    other_scalar_ = ScalarOf(2, kdBW);
    const Math_var math = Create(type, {scalar_, other_scalar_});
    const double good = ScalarResult(math).val;
    const std::size_t published = NumbersPublished(ResultTopic(math)).size();
    EXPECT_NO_THROW(Deliver(other_scalar_, ScalarOf(1, kSecond)));
    EXPECT_EQ(ScalarResult(math).val, good);
    EXPECT_EQ(NumbersPublished(ResultTopic(math)).size(), published);
    Factory().DeleteMath(math->GetId());
  }
  EXPECT_EQ(written_.Take(), "");
}

TEST_F(OperationTest, SubtractPutsItsInputsBackIntoDecibelsWhateverExceptionEndsTheComputation) {
  const Value::Units gap{true, 0, {{{}, {Value::U_Watt, 1}}}};
  trace_ = TraceOf({20}, kdBW);
  other_trace_ = TraceOf({10}, kdBW);
  const Math_var math = Create(Subtract, {trace_, other_trace_});
  EXPECT_ANY_THROW(Deliver(other_trace_, TraceOf({1}, gap)));
  Deliver(other_trace_, TraceOf({0}, kdBW));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(FloatEq(19.956352f)))
      << "100 W - 1 W: the first was in dB again";
}

TEST_F(OperationTest, RelativeSubtractDropsUnitExceptionsWhereSubtractLetsThemPass) {
  const Math_var relative =
      Create(RelativeSubtract, {scalar_, other_scalar_});  // both linear: OperationNotValid, dropped
  EXPECT_EQ(ScalarResult(relative).val, 0) << "the default";
  EXPECT_THAT(NumbersPublished(ResultTopic(relative)), IsEmpty());
  EXPECT_NO_THROW(Deliver(other_scalar_, ScalarOf(3, kdBW)));
  EXPECT_EQ(ScalarResult(relative).val, -2);
  EXPECT_NO_THROW(Deliver(scalar_, ScalarOf(3, kdB))) << "a first operand without unit";
  EXPECT_EQ(ScalarResult(relative).val, -2);
}

TEST_F(OperationTest, ALevelOfASquaredUnitIsMadeLinearByItsOwnRule) {
  const Value::Units amp2ohm_dB{true, 0, Value::C_Amps2Ohms.slots};
  const float distance = -3.0103f;  // 10 dB(A^2*ohm) are 2 * 10 W, which are 13.0103 dBW
  scalar_ = ScalarOf(10, kdBW);
  other_scalar_ = ScalarOf(10, amp2ohm_dB);
  EXPECT_NEAR(ScalarResult(Create(RelativeSubtract, {scalar_, other_scalar_})).val, distance, 1e-6);
  trace_ = TraceOf({10, 20}, kdBW);
  other_trace_ = TraceOf({10, 20}, amp2ohm_dB);
  EXPECT_THAT(SamplesOf(TraceResult(Create(RelativeSubtract, {trace_, other_trace_}))),
              ElementsAre(testing::FloatNear(distance, 2e-6f), testing::FloatNear(distance, 2e-6f)));
}

TEST_F(OperationTest, TracesOfDifferentSizesGiveTheFirstWithALine) {
  trace_ = TraceOf({1, 2, 3});
  other_trace_ = TraceOf({1, 1});
  const Math_var math = Create(Subtract, {trace_, other_trace_});
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(1, 2, 3));
  EXPECT_EQ(written_.Take(),
            "Common_Math/src/MathValueBasicTrace:DoValueEqualOp Error: traces are different sizes! 2, 3\n");
}

TEST_F(OperationTest, TheHeaderOfAResultIsThatOfTheFirstOperand) {
  trace_ = TraceOf({1});
  const BT_DATA result = TraceResult(Create(Subtract, {trace_, other_trace_}));
  EXPECT_EQ(result.sequence_number, 17u);
  EXPECT_EQ(result.flags, 3u);
  EXPECT_EQ(result.header[11], 111u);
  EXPECT_EQ(result.x_step, 0.125);
}

/// Gives 1 at the first look and 2 at the second: what changed between construction and subscription.
template <class Skeleton>
class Late : public Skeleton {
 public:
  explicit Late(const char* type_name) : type_name_(type_name) {}
  char* DDS_Value() override { return CORBA::string_dup("LATE"); }
  char* Name() override { return CORBA::string_dup("LATE"); }
  Corvanta::TypeInfo* CORBA_Type() override { return NewTypeInfo("LATE", type_name_); }

 protected:
  int asked_ = 0;

 private:
  const char* const type_name_;
};

struct LateScalar : Late<POA_Corvanta::EngineReadingValueDouble> {
  LateScalar() : Late("ValueDouble") {}
  Scalar Get() override { return ScalarOf(++asked_); }
};

struct LateLong : Late<POA_Corvanta::EngineReadingLong> {
  LateLong() : Late("long") {}
  CORBA::Long Get() override { return ++asked_; }
};

struct LateTrace : Late<POA_Corvanta::EngineBasicTrace> {
  LateTrace() : Late("BasicTrace") {}
  BT_DATA* Get() override {
    ++asked_;
    return new BT_DATA(TraceOf({static_cast<float>(asked_), 10}));
  }
};

/// A late reading while it is somebody's input.
template <class Reading>
class Served {
 public:
  Served() : servant_(new Reading), reference_(servant_->_this()) {}
  ~Served() { Corvanta::ORB_base::DeactivateObject(servant_.in()); }
  operator Corvanta::EngineReadingBase_ptr() const { return reference_; }

 private:
  PortableServer::Servant_var<Reading> servant_;
  Corvanta::EngineReadingBase_var reference_;
};

TEST_F(OperationTest, AValueThatChangedBeforeTheSubscriptionStoodIsNotLost) {
  other_scalar_ = ScalarOf(0);
  EXPECT_EQ(ScalarResult(Create(Subtract, {Served<LateScalar>(), other_scalar_})).val, 2);
  EXPECT_EQ(ScalarResult(Create(Subtract, {other_scalar_, Served<LateScalar>()})).val, -2);
  const Served<LateTrace> first;
  const Served<LateTrace> second;
  EXPECT_THAT(SamplesOf(TraceResult(Create(Subtract, {first, trace_}))), ElementsAre(2, 10)) << "of other lengths";
  EXPECT_THAT(SamplesOf(TraceResult(Create(Subtract, {second, Served<LateTrace>()}))), ElementsAre(0, 0));
}

TEST_F(OperationTest, AnInputOfASumThatChangedBeforeTheSubscriptionStoodIsNotLost) {
  EXPECT_EQ(ScalarResult(Create(CumulativeAdd, {Served<LateTrace>(), start_, stop_})).val, 2);
  trace_ = TraceOf({1, 2, 4, 8});
  stop_ = 3;
  EXPECT_EQ(ScalarResult(Create(CumulativeAdd, {trace_, Served<LateLong>(), stop_})).val, 12) << "samples 2 and 3";
  EXPECT_EQ(ScalarResult(Create(CumulativeAdd, {trace_, start_, Served<LateLong>()})).val, 7) << "samples 0 to 2";
}

// --- three inputs -------------------------------------------------------------------------------------------------

TEST_F(OperationTest, CumulativeAddHoldsTheSumOfThePresentValues) {
  trace_ = TraceOf({1, 2, 4, 8, 16});
  start_ = 1;
  stop_ = 3;
  const Scalar result = ScalarResult(Create(CumulativeAdd, {trace_, start_, stop_}));
  EXPECT_EQ(result.val, 14);
  EXPECT_EQ(result.minus_err, 0);
  EXPECT_EQ(result.plus_err, 0);
  EXPECT_EQ(UnitsOf(result), kW);
  EXPECT_EQ(written_.Take(), "") << "the range is that of the trace from creation on";
}

TEST_F(OperationTest, AStopSampleMovesTheStartAndTheStopStays) {
  trace_ = TraceOf({1, 2, 4, 8, 16});
  start_ = 0;
  stop_ = 3;
  const Math_var math = Create(CumulativeAdd, {trace_, start_, stop_});
  EXPECT_EQ(ScalarResult(math).val, 15);
  Deliver(stop_, 2);
  EXPECT_EQ(ScalarResult(math).val, 12);
  Deliver(start_, 1);
  EXPECT_EQ(ScalarResult(math).val, 14);
  EXPECT_THAT(NumbersPublished(ResultTopic(math)), ElementsAre(15, 12, 14));
}

TEST_F(OperationTest, ASumOverATraceInDecibelsIsInDecibelsAndTheTraceToo) {
  trace_ = TraceOf({10, 7, 0}, kdBm);
  start_ = 0;
  stop_ = 1;
  const Math_var math = Create(CumulativeAdd, {trace_, start_, stop_});
  EXPECT_NEAR(ScalarResult(math).val, 11.7643486, 1e-5);
  EXPECT_EQ(UnitsOf(ScalarResult(math)), kdBm);
  Deliver(start_, 1);
  EXPECT_NEAR(ScalarResult(math).val, 7, 1e-5);
  EXPECT_EQ(UnitsOf(ScalarResult(math)), kdBm) << "the stored trace was in dB again";
}

TEST_F(OperationTest, ALongerTraceIsSummedToItsEndAndAShorterOneNotBeyond) {
  trace_ = TraceOf({1, 2});
  stop_ = 100;
  const Math_var math = Create(CumulativeAdd, {trace_, start_, stop_});
  EXPECT_EQ(ScalarResult(math).val, 3);
  Deliver(trace_, TraceOf({1, 2, 4}));
  EXPECT_EQ(ScalarResult(math).val, 7);
  Deliver(trace_, TraceOf({5}));
  EXPECT_EQ(ScalarResult(math).val, 5);
}

TEST_F(OperationTest, AnEmptyRangeGivesZeroWithoutUnitAndALine) {
  trace_ = TraceOf({1, 2, 4});
  start_ = 2;
  stop_ = 1;
  const Math_var math = Create(CumulativeAdd, {trace_, start_, stop_});
  EXPECT_EQ(ScalarResult(math).val, 0);
  EXPECT_EQ(UnitsOf(ScalarResult(math)), kNone);
  EXPECT_EQ(written_.Take(), "Common_Math/src/MathValueBasicTrace:CumulativeAdd Warning: start[2] > stop[1]\n");
}

// --- deliveries ---------------------------------------------------------------------------------------------------

TEST_F(OperationTest, ASampleOfAnotherKindIsDroppedWithTwoLines) {
  const Math_var math = Create(Average, {scalar_});
  Deliver(scalar_, TraceOf({1, 2}));
  EXPECT_EQ(
      written_.Take(),
      "void Corvanta::DDS_Subscriber<T>::DDS_Callback(const CORBA::Any&) [with T = Corvanta::VALUE_DOUBLE::VALUE] "
      "error filling message \ntopic is " +
          scalar_.GetDDS_Topic() + "\n");
  EXPECT_EQ(ScalarResult(math).val, 1);
}

TEST_F(OperationTest, ADeliveryToADeletedObjectEndsQuietly) {
  const Math_var math = Create(Average, {scalar_});
  const Corvanta::DDS_Sub_var subscriber = Manager().Subscriber(FakeTopicManager::kFirstHandle);
  Factory().DeleteMath(math->GetId());
  CORBA::Any any;
  Corvanta::RecordToAny(Corvanta::ViewOf(ScalarOf(9)), any);
  try {
    subscriber->DDS_Callback(any);
  } catch (const CORBA::OBJECT_NOT_EXIST&) {  // the servant is out of the POA
  }
  EXPECT_EQ(written_.Take(), "");
}

// --- NaN and infinity are values ----------------------------------------------------------------------------------

TEST_F(OperationTest, NanAndInfinityTravelThroughEveryOperationOnTraces) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  trace_ = TraceOf({nan, infinity, -infinity, 1});
  other_trace_ = TraceOf({1, 1, 1, nan});
  using testing::IsNan;
  EXPECT_THAT(SamplesOf(TraceResult(Create(Subtract, {trace_, other_trace_}))),
              ElementsAre(IsNan(), infinity, -infinity, IsNan()));
  const Math_var peak = Create(Peak, {trace_});
  Deliver(trace_, TraceOf({5, 5, 5, 5}));
  EXPECT_THAT(SamplesOf(TraceResult(peak)), ElementsAre(IsNan(), infinity, 5, 5)) << "a NaN is not smaller: it stays";
  stop_ = 3;
  EXPECT_TRUE(std::isnan(ScalarResult(Create(CumulativeAdd, {trace_, start_, stop_})).val));
}

}  // namespace
}  // namespace Lumenar::Test
