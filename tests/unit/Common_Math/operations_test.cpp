// The operations as objects: present values, samples, restored inputs, published results.
#include <gmock/gmock.h>

#include <limits>

#include "tests/unit/Common_Math/MathFixture.h"

namespace Lumenar::Test {
namespace {

using testing::ElementsAre;
using testing::FloatEq;
using testing::IsEmpty;
using Corvanta::MathFactory::Math_var;

class OperationTest : public MathFixture {
 protected:
  ScalarInput scalar_{namer_, registration_, ScalarOf(1)};
  ScalarInput other_scalar_{namer_, registration_, ScalarOf(1)};
  TraceInput trace_{namer_, registration_, TraceOf({1})};
  TraceInput other_trace_{namer_, registration_, TraceOf({1})};
  LongInput start_{namer_, registration_, 0};
  LongInput stop_{namer_, registration_, 0};

  bool Full(Corvanta::MathFactory::Math_ptr math) {
    const Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
    const Corvanta::EngineReadingBoolean_var full = average->AttrFull();
    return full->Get();
  }

  void SetSize(Corvanta::MathFactory::Math_ptr math, int size) {
    const Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
    const Corvanta::EngineAttribLong_var attribute = average->AttrSize();
    attribute->Set(size);
  }

  template <class Object>
  void Reset(Corvanta::MathFactory::Math_ptr math) {
    const typename Object::_var_type object = Object::_narrow(math);
    const Corvanta::EngineAttribVoid_var reset = object->AttrReset();
    reset->Set();
  }
};

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
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(FloatEq(19.956352f))) << "100 W - 1 W: the first was in dB again";
}

TEST_F(OperationTest, RelativeSubtractDropsUnitExceptionsWhereSubtractLetsThemPass) {
  const Math_var relative = Create(RelativeSubtract, {scalar_, other_scalar_});  // both linear: OperationNotValid, dropped
  EXPECT_EQ(ScalarResult(relative).val, 0) << "the default";
  EXPECT_THAT(NumbersPublished(ResultTopic(relative)), IsEmpty());
  EXPECT_NO_THROW(Deliver(other_scalar_, ScalarOf(3, kdBW)));
  EXPECT_EQ(ScalarResult(relative).val, -2);
  EXPECT_NO_THROW(Deliver(scalar_, ScalarOf(3, kdB))) << "a first operand without unit";
  EXPECT_EQ(ScalarResult(relative).val, -2);
}

TEST_F(OperationTest, TracesOfDifferentSizesGiveTheFirstWithALine) {
  trace_ = TraceOf({1, 2, 3});
  other_trace_ = TraceOf({1, 1});
  const Math_var math = Create(Subtract, {trace_, other_trace_});
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(1, 2, 3));
  EXPECT_EQ(written_.Take(), "Common_Math/src/MathValueBasicTrace:DoValueEqualOp Error: traces are different sizes! 2, 3\n");
}

TEST_F(OperationTest, TheHeaderOfAResultIsThatOfTheFirstOperand) {
  trace_ = TraceOf({1});
  const BT_DATA result = TraceResult(Create(Subtract, {trace_, other_trace_}));
  EXPECT_EQ(result.sequence_number, 17u);
  EXPECT_EQ(result.flags, 3u);
  EXPECT_EQ(result.header[11], 111u);
  EXPECT_EQ(result.x_step, 0.125);
}

/// Gives the value of its second look when asked again: what changed between construction and subscription.
class LateReading : public POA_Corvanta::EngineReadingValueDouble {
 public:
  char* DDS_Value() override { return CORBA::string_dup("LATE"); }
  char* Name() override { return CORBA::string_dup("LATE"); }
  Corvanta::TypeInfo* CORBA_Type() override {
    return new Corvanta::TypeInfo{CORBA::string_dup("LATE"), CORBA::string_dup("ValueDouble")};
  }
  Scalar Get() override { return ScalarOf(++asked); }
  int asked = 0;
};

TEST_F(OperationTest, AValueThatChangedBeforeTheSubscriptionStoodIsNotLost) {
  PortableServer::Servant_var<LateReading> late(new LateReading);
  const Corvanta::EngineReadingBase_var reading = late->_this();
  other_scalar_ = ScalarOf(0);
  EXPECT_EQ(ScalarResult(Create(Subtract, {reading, other_scalar_})).val, 2);
  Corvanta::ORB_base::DeactivateObject(late.in());
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

// --- average ------------------------------------------------------------------------------------------------------

TEST_F(OperationTest, AverageOfSizeOnePublishesEverySampleAndIsFull) {
  const Math_var math = Create(Average, {scalar_});
  EXPECT_TRUE(Full(math));
  Deliver(scalar_, ScalarOf(5, kW, -1, 1));
  Deliver(scalar_, ScalarOf(-2));
  EXPECT_THAT(NumbersPublished(ResultTopic(math)), ElementsAre(1, 5, -2));
  EXPECT_TRUE(Full(math));
}

TEST_F(OperationTest, AverageOfSizeThreeFillsAndThenSlides) {
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 3);
  EXPECT_TRUE(Full(math)) << "a new SIZE counts from the next sample on";
  std::vector<double> results;
  std::vector<bool> full;
  for (const double sample : {2.0, 3.0, 4.0}) {
    Deliver(scalar_, ScalarOf(sample));
    results.push_back(ScalarResult(math).val);
    full.push_back(Full(math));
  }
  EXPECT_THAT(results, ElementsAre(1.5, 2, 3));
  EXPECT_THAT(full, ElementsAre(false, true, true));
}

TEST_F(OperationTest, AverageOfLevelsIsTheLevelOfTheMean) {
  trace_ = TraceOf({10, 0}, kdBm);
  const Math_var math = Create(Average, {trace_});
  SetSize(math, 2);
  Deliver(trace_, TraceOf({7, 0}, kdBm));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(FloatEq(8.754049f), testing::FloatNear(0, 1e-6f)));
  EXPECT_EQ(UnitsOf(TraceResult(math)), kdBm);
  Deliver(trace_, TraceOf({20, 20}, kmW));
  EXPECT_EQ(UnitsOf(TraceResult(math)), kmW) << "the newest sample decides the form";
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(testing::FloatNear(12.505936f, 2e-5f), testing::FloatNear(10.5f, 1e-5f)));
}

TEST_F(OperationTest, ResetOfAverageShowsTheNewestSampleAndBeginsAgain) {
  scalar_ = ScalarOf(5);
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 4);
  Deliver(scalar_, ScalarOf(7));
  EXPECT_EQ(ScalarResult(math).val, 6);
  Reset<Corvanta::MathFactory::Average>(math);
  EXPECT_EQ(ScalarResult(math).val, 7);
  EXPECT_FALSE(Full(math));
  Reset<Corvanta::MathFactory::Average>(math);  // nothing is held: nothing is published
  Deliver(scalar_, ScalarOf(9));
  EXPECT_THAT(NumbersPublished(ResultTopic(math)), ElementsAre(5, 6, 7, 9));
}

TEST_F(OperationTest, ResetOfAverageShowsALevelInLinearUnits) {
  scalar_ = ScalarOf(20, kdBW);
  const Math_var math = Create(Average, {scalar_});
  EXPECT_DOUBLE_EQ(ScalarResult(math).val, 20);
  Reset<Corvanta::MathFactory::Average>(math);
  EXPECT_DOUBLE_EQ(ScalarResult(math).val, 100);
  EXPECT_EQ(UnitsOf(ScalarResult(math)), kW);
}

TEST_F(OperationTest, ASmallerSizeTrimsWithTheNextSample) {
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 4);
  for (const double sample : {2.0, 3.0, 4.0}) Deliver(scalar_, ScalarOf(sample));
  SetSize(math, 2);
  EXPECT_EQ(ScalarResult(math).val, 2.5);
  EXPECT_TRUE(Full(math));
  Deliver(scalar_, ScalarOf(10));
  EXPECT_EQ(ScalarResult(math).val, 7) << "the mean of 4 and 10";
  EXPECT_TRUE(Full(math));
}

TEST_F(OperationTest, ALargerSizeClearsFullWithTheNextSample) {
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 9);
  EXPECT_TRUE(Full(math));
  Deliver(scalar_, ScalarOf(3));
  EXPECT_FALSE(Full(math));
}

TEST_F(OperationTest, SizeIsRefusedOutsideOneToNinetyNine) {
  const Math_var math = Create(Average, {scalar_});
  EXPECT_THROW(SetSize(math, 0), Corvanta::LimitsExceeded);
  EXPECT_THROW(SetSize(math, 100), Corvanta::LimitsExceeded);
  EXPECT_NO_THROW(SetSize(math, 99));
}

TEST_F(OperationTest, AMeanThatIsNotFiniteIsRefusedAndResultKeepsItsValue) {
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 2);
  EXPECT_THROW(Deliver(scalar_, ScalarOf(std::numeric_limits<double>::infinity())), CORBA::UNKNOWN);
  EXPECT_EQ(ScalarResult(math).val, 1);
}

TEST_F(OperationTest, AverageErrorsAreTheMeanOfTheErrors) {
  scalar_ = ScalarOf(1, kW, -1, 3);
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 2);
  Deliver(scalar_, ScalarOf(3, kW, -3, 1));
  EXPECT_EQ(ScalarResult(math).val, 2);
  EXPECT_EQ(ScalarResult(math).minus_err, -2);
  EXPECT_EQ(ScalarResult(math).plus_err, 2);
}

// --- peak ---------------------------------------------------------------------------------------------------------

TEST_F(OperationTest, PeakPublishesTheLargestForEverySampleUntilReset) {
  scalar_ = ScalarOf(3);
  const Math_var math = Create(Peak, {scalar_});
  for (const double sample : {1.0, 5.0, 2.0}) Deliver(scalar_, ScalarOf(sample));
  const std::size_t before = NumbersPublished(ResultTopic(math)).size();
  Reset<Corvanta::MathFactory::Peak>(math);
  EXPECT_EQ(NumbersPublished(ResultTopic(math)).size(), before) << "RESET publishes nothing";
  Deliver(scalar_, ScalarOf(1));
  EXPECT_THAT(NumbersPublished(ResultTopic(math)), ElementsAre(3, 3, 5, 5, 1));
}

TEST_F(OperationTest, PeakOfTracesIsHeldPointByPoint) {
  trace_ = TraceOf({1, 4, 2});
  const Math_var math = Create(Peak, {trace_});
  Deliver(trace_, TraceOf({3, 0, 2}));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(3, 4, 2));
}

TEST_F(OperationTest, APeakHeldInDecibelsStaysInDecibels) {
  trace_ = TraceOf({10, 10}, kdBm);
  const Math_var traces = Create(Peak, {trace_});
  Deliver(trace_, TraceOf({0.02f, 0.001f}, kW));
  EXPECT_EQ(UnitsOf(TraceResult(traces)), kdBm);
  EXPECT_THAT(SamplesOf(TraceResult(traces)), ElementsAre(FloatEq(13.0103f), FloatEq(10)));

  scalar_ = ScalarOf(10, kdBm);
  const Math_var scalars = Create(Peak, {scalar_});
  Deliver(scalar_, ScalarOf(0.02, kW));
  EXPECT_EQ(UnitsOf(ScalarResult(scalars)), kdBW) << "a larger scalar comes with its own unit";
  EXPECT_NEAR(ScalarResult(scalars).val, -16.989700043360188, 1e-12);
}

TEST_F(OperationTest, ALinearPeakStaysLinearWhenALevelComes) {
  scalar_ = ScalarOf(3, kW);
  const Math_var math = Create(Peak, {scalar_});
  Deliver(scalar_, ScalarOf(10, kdBW));
  EXPECT_DOUBLE_EQ(ScalarResult(math).val, 10);
  EXPECT_EQ(UnitsOf(ScalarResult(math)), kW);
}

TEST_F(OperationTest, EqualScalarsKeepTheHeldOneWithItsErrors) {
  scalar_ = ScalarOf(3, kW, -1, 1);
  const Math_var math = Create(Peak, {scalar_});
  Deliver(scalar_, ScalarOf(3, kW, -9, 9));
  EXPECT_EQ(ScalarResult(math).plus_err, 1);
}

TEST_F(OperationTest, APeakTraceOfAnotherSizeIsRefusedUntilReset) {
  trace_ = TraceOf({1, 2});
  const Math_var math = Create(Peak, {trace_});
  EXPECT_EQ(RefusalOf([&] { Deliver(trace_, TraceOf({5, 6, 7})); }), "Doing Peak search: traces are different sizes! ");
  EXPECT_EQ(written_.Take(), "Common_Math/src/MathValueBasicTrace:DoPeak Error: traces are different sizes! 3, 2\n");
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(1, 2));
  Reset<Corvanta::MathFactory::Peak>(math);
  Deliver(trace_, TraceOf({0, 0, 0}));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(0, 0, 0));
}

TEST_F(OperationTest, AMismatchOfUnitsLeavesThePeak) {
  const Math_var math = Create(Peak, {scalar_});
  EXPECT_THROW(Deliver(scalar_, ScalarOf(9, kSecond)), CORBA::UNKNOWN);
  EXPECT_EQ(ScalarResult(math).val, 1);
}

// --- deliveries ---------------------------------------------------------------------------------------------------

TEST_F(OperationTest, ASampleOfAnotherKindIsDroppedWithTwoLines) {
  const Math_var math = Create(Average, {scalar_});
  Deliver(scalar_, TraceOf({1, 2}));
  EXPECT_EQ(written_.Take(),
            "void Corvanta::DDS_Subscriber<T>::DDS_Callback(const CORBA::Any&) [with T = Corvanta::VALUE_DOUBLE::VALUE] "
            "error filling message \ntopic is " + scalar_.GetDDS_Topic() + "\n");
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
