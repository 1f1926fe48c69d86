// SPDX-License-Identifier: Apache-2.0
#include "tests/support/EngineFixture.h"

namespace Lumenar::Test {

namespace {

// The environment must point at the platform before the testbench makes its ORB.
Process& StartMathEngine(IsolatedPlatform& platform) {
  platform.UseInThisProcess();
  return platform.StartEngine("math_factory_hh");
}

template <class Typed>
typename Typed::_var_type ResultReading(Corvanta::MathFactory::Math_ptr math) {
  Corvanta::EngineReadingBase_var result = math->AttrResult();
  return typename Typed::_var_type(Typed::_narrow(result));
}

}  // namespace

BT_DATA Trace(const std::vector<float>& samples, const Value::Units& units, unsigned sequence_number) {
  BT_DATA trace = DefaultRecord<BT_DATA>();
  trace.sequence_number = sequence_number;
  trace.units = VALUE::UnitsToCorba(units);
  trace.samples.length(static_cast<CORBA::ULong>(samples.size()));
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) trace.samples[i] = samples[i];
  return trace;
}

Scalar ScalarOf(double value, const Value::Units& units, double minus_err, double plus_err) {
  return VALUE::ValueToCorba(Value::Value_object<double>(value, units, minus_err, plus_err));
}

std::vector<float> SamplesOf(const BT_DATA& trace) {
  std::vector<float> samples;
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) samples.push_back(trace.samples[i]);
  return samples;
}

Value::Units UnitsOf(const BT_DATA& trace) { return VALUE::UnitsFromCorba(trace.units); }
Value::Units UnitsOf(const Scalar& scalar) { return VALUE::UnitsFromCorba(scalar.units); }

Testbench::Testbench() : orb_("TESTBENCH", "Lumenar/local"), registration_(), namer_(orb_.EngineName()) {
  orb_.Activate();
}

Corvanta::MathFactory::Interfaces_ptr Testbench::Factory(const std::string& instance) {
  CORBA::Object_var object = orb_.Resolve({"Lumenar", "local", "MATHFACTORY", instance});
  return Corvanta::MathFactory::Interfaces::_narrow(object);
}

std::vector<std::string> OperationNames(Corvanta::MathFactory::Interfaces_ptr factory) {
  Corvanta::EngineAttribEnum_var selector = factory->AttrType();
  Corvanta::EnumElementSeq_var elements = selector->Elements();
  std::vector<std::string> names(elements->length());
  for (CORBA::ULong i = 0; i < elements->length(); ++i) names.at(elements[i].number) = elements[i].name;
  return names;
}

EngineFixture::EngineFixture(const IsolatedPlatform::Options& options)
    : platform_(options), engine_(StartMathEngine(platform_)), bench_(), factory_(bench_.Factory()) {}

Corvanta::MathFactory::Math_ptr EngineFixture::Create(MathType type,
                                                      const Corvanta::MathFactory::ReadingAttribSeq& inputs) {
  Corvanta::EngineAttribEnum_var selector = factory_->AttrType();
  selector->Set(type);
  return factory_->CreateMath(inputs);
}

std::string EngineFixture::ResultTopic(Corvanta::MathFactory::Math_ptr math) {
  Corvanta::EngineReadingBase_var result = math->AttrResult();
  CORBA::String_var topic = result->DDS_Value();
  return std::string(topic);
}

BT_DATA EngineFixture::TraceResult(Corvanta::MathFactory::Math_ptr math) {
  Corvanta::BASIC_TRACE::BT_DATA_var record = ResultReading<Corvanta::EngineBasicTrace>(math)->Get();
  return record.in();
}

Scalar EngineFixture::ScalarResult(Corvanta::MathFactory::Math_ptr math) {
  return ResultReading<Corvanta::EngineReadingValueDouble>(math)->Get();
}

std::string EngineFixture::Refusal(MathType type, const Corvanta::MathFactory::ReadingAttribSeq& inputs) {
  try {
    Corvanta::MathFactory::Math_var math = Create(type, inputs);
    return "none";
  } catch (const Corvanta::MathFactory::MathFactoryException& refusal) {
    return std::string(refusal.text);
  }
}

}  // namespace Lumenar::Test
