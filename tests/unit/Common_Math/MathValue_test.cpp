// SPDX-License-Identifier: Apache-2.0
// The typed values: scalars, values built from references, and the result before anything is computed.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "Common_Math/src/MathBaseBasicTrace.h"
#include "Common_Math/src/MathBaseValueDouble.h"
#include "platform/components/attributes/EngineAttribLong_i.h"
#include "platform/components/attributes/EngineAttribValueDouble_i.h"
#include "platform/units/exceptions.h"
#include "tests/support/MathFixture.h"

namespace Lumenar::Test {
namespace {

using testing::ElementsAre;

MathScalar Number(double value, const Value::Units& unit, double minus = 0, double plus = 0) {
  return MathScalar(ScalarOf(value, unit, minus, plus));
}

TEST(ScalarValue, RemovingDecibelsLeavesPlainDecibelsAndLinearValues) {
  MathScalar plain = Number(20, kdB);
  EXPECT_FALSE(plain.Remove_dB());
  EXPECT_EQ(plain.value.Get_value(), 20);
  EXPECT_EQ(plain.value.Get_unit(), kdB);
  MathScalar linear = Number(20, kW);
  EXPECT_FALSE(linear.Remove_dB());
  MathScalar level = Number(20, kdBm);
  EXPECT_TRUE(level.Remove_dB());
  EXPECT_DOUBLE_EQ(level.value.Get_value(), 100);
  EXPECT_EQ(level.value.Get_unit(), kmW);
}

TEST(ScalarValue, AddingDecibelsGuardsNoNumberUnlikeThatOfATrace) {
  MathScalar zero = Number(0, kW);
  zero.Add_dB();
  EXPECT_EQ(zero.value.Get_value(), -std::numeric_limits<double>::infinity());
  MathScalar level = Number(100, kW);
  level.Add_dB();
  EXPECT_EQ(level.value.Get_value(), 20);
  level.Add_dB();
  EXPECT_EQ(level.value.Get_value(), 20) << "in dB already";
}

TEST(ScalarValue, ADifferenceStandsInTheFirstOperandsUnit) {
  const MathScalar difference = Number(5, kW) - Number(2000, kmW);
  EXPECT_DOUBLE_EQ(difference.value.Get_value(), 3);
  EXPECT_EQ(difference.value.Get_unit(), kW);
}

TEST(ScalarValue, RelativeSubNeedsALevel) {
  EXPECT_THROW(RelativeSub(Number(5, kW), Number(2, kW)), Value::OperationNotValid);
  EXPECT_THROW(RelativeSub(Number(5, kdB), Number(2, kdBW)), Value::MissingUnitInFirstParameter);
  const MathScalar distance = RelativeSub(Number(10, kdBW, -1, 2), Number(4, kdBW, -0.5, 1));
  EXPECT_EQ(distance.value.Get_value(), 6);
  EXPECT_EQ(distance.value.Get_minus_err(), -0.5);
  EXPECT_EQ(distance.value.Get_plus_err(), 1);
}

TEST(ScalarValue, ARecordRoundTripsAndMalformedUnitsAreRefused) {
  const Scalar record = ScalarOf(2, kdBm, -1, 3);
  const Scalar back = MathScalar(record).ToRecord();
  EXPECT_EQ(back.val, 2);
  EXPECT_EQ(back.minus_err, -1);
  EXPECT_EQ(back.plus_err, 3);
  EXPECT_EQ(UnitsOf(back), kdBm);
  EXPECT_THROW(MathScalar(ScalarOf(1, Value::Units{false, 0, {{{}, {Value::U_Watt, 1}}}})), Value::OperationNotValid);
}

class ValueFromReference : public MathFixture {
 protected:
  TraceInput trace_{namer_, registration_, TraceOf({1, 2})};
  ScalarInput scalar_{namer_, registration_, ScalarOf(5, kdBm, -1, 2)};
  LongInput long_{namer_, registration_, 7};
  Corvanta::EngineAttribValueDouble_i scalar_attribute_{namer_, registration_, "LIMIT", ScalarOf(8, kW), {}};
  Corvanta::EngineAttribLong_i long_attribute_{
      namer_, registration_, "INDEX", 9, {}, Corvanta::EngineAttribLongParams{0, 99, 0}};

  template <class T>
  std::string Refusal(Corvanta::EngineReadingBase_ptr reading) {
    return RefusalOf([&] { MathValue<T> value(reading); });
  }
};

TEST_F(ValueFromReference, ATraceComesFromATraceReadingOnly) {
  EXPECT_THAT(SamplesOf(MathTrace(trace_).record), ElementsAre(1, 2));
  for (const Corvanta::EngineReadingBase_ptr reading :
       {Corvanta::EngineReadingBase::_nil(), Corvanta::EngineReadingBase_ptr(scalar_),
        Corvanta::EngineReadingBase_ptr(long_)}) {
    EXPECT_EQ(Refusal<BT_DATA>(reading), "Invalid Corvanta::BASIC_TRACE::BT_DATA Attrib type");
    EXPECT_EQ(written_.Take(),
              "Common_Math/src/MathValueBasicTrace:MathValue Error: could not narrow attrib to BasicTrace type!\n");
  }
}

TEST_F(ValueFromReference, AScalarComesFromAReadingOrAnAttribute) {
  EXPECT_EQ(MathScalar(scalar_).value.Get_value(), 5);
  EXPECT_EQ(MathScalar(scalar_).value.Get_plus_err(), 2);
  const Corvanta::EngineAttribValueDouble_var attribute = scalar_attribute_._this();
  EXPECT_EQ(MathScalar(Corvanta::EngineReadingBase_ptr(attribute.in())).value.Get_value(), 8);
  for (const Corvanta::EngineReadingBase_ptr reading :
       {Corvanta::EngineReadingBase::_nil(), Corvanta::EngineReadingBase_ptr(trace_),
        Corvanta::EngineReadingBase_ptr(long_)}) {
    EXPECT_EQ(Refusal<Scalar>(reading), "Invalid ::Corvanta::VALUE_DOUBLE::VALUE Attrib type");
    EXPECT_EQ(written_.Take(),
              "Common_Math/src/MathValueValueDouble:MathValue Error: could not narrow attrib to ValueDouble type!\n");
  }
}

TEST_F(ValueFromReference, ALongComesFromAReadingOrAnAttribute) {
  EXPECT_EQ(MathValue<int>(Corvanta::EngineReadingBase_ptr(long_)).value, 7);
  const Corvanta::EngineAttribLong_var attribute = long_attribute_._this();
  EXPECT_EQ(MathValue<int>(Corvanta::EngineReadingBase_ptr(attribute.in())).value, 9);
  for (const Corvanta::EngineReadingBase_ptr reading :
       {Corvanta::EngineReadingBase::_nil(), Corvanta::EngineReadingBase_ptr(trace_),
        Corvanta::EngineReadingBase_ptr(scalar_)}) {
    EXPECT_EQ(Refusal<int>(reading), "Invalid ::CORBA::Long type");
    EXPECT_EQ(written_.Take(),
              "Common_Math/src/MathValueLong:MathValue Error: could not narrow attrib to long type!\n");
  }
}

template <class T>
class IdleMath final : virtual public MathBaseTemplate<T, ValReadingMap<T>> {
 public:
  IdleMath(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui) : MathBaseTemplate<T, ValReadingMap<T>>(namer, gui) {}
  char* GetType() override { return CORBA::string_dup("Idle"); }
};

TEST_F(ValueFromReference, AResultThatWasNeverComputedIsTheDefault) {
  const boost::shared_ptr<MathBase> trace = MathBase::Own(new IdleMath<BT_DATA>(namer_, registration_));
  trace->Activate();
  const BT_DATA record = TraceResult(Corvanta::MathFactory::Math_var(trace->Reference()));
  EXPECT_EQ(record.samples.length(), 0u);
  EXPECT_EQ(record.sequence_number + record.flags + record.header[0] + record.header[11], 0u);
  EXPECT_EQ(record.x_step, 0);
  EXPECT_EQ(UnitsOf(record), kNone);

  const boost::shared_ptr<MathBase> scalar = MathBase::Own(new IdleMath<Scalar>(namer_, registration_));
  scalar->Activate();
  const Scalar value = ScalarResult(Corvanta::MathFactory::Math_var(scalar->Reference()));
  EXPECT_EQ(value.val, 0);
  EXPECT_EQ(value.minus_err, 0);
  EXPECT_EQ(value.plus_err, 0);
  EXPECT_EQ(UnitsOf(value), kNone);
  EXPECT_EQ(scalar->Id(), trace->Id() + 1);
  for (const auto& object : {trace, scalar}) Corvanta::ORB_base::DeactivateObject(object.get());
}

}  // namespace
}  // namespace Lumenar::Test
