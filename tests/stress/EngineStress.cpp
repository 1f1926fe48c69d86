// SPDX-License-Identifier: Apache-2.0
#include "tests/stress/EngineStress.h"

#include "platform/records/Records.h"

namespace Lumenar::Test {
namespace {

using Corvanta::EngineReadingBase;
using Corvanta::EngineReadingBase_var;
using Corvanta::BASIC_TRACE::BT_DATA;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

constexpr Value::Units kdBm = Value::Make_unit(Value::U_Watt, 1, -3, true);

BT_DATA TraceOf(int points, float sample) {
  BT_DATA trace = DefaultRecord<BT_DATA>();
  trace.units = VALUE::UnitsToCorba(kdBm);
  trace.samples.length(static_cast<CORBA::ULong>(points));
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) trace.samples[i] = sample;
  return trace;
}

Scalar ScalarOf(double value) {
  return VALUE::ValueToCorba(Value::Value_object<double>(value, Value::C_Watts, -0.1, 0.1));
}

template <class Reading>
EngineReadingBase_var ReferenceOf(Reading& reading) {
  const auto typed = reading._this();
  EngineReadingBase_var base = EngineReadingBase::_duplicate(typed);
  CORBA::release(typed);
  return base;
}

}  // namespace

EngineStress::EngineStress() : engine_(new MathInit), registration_(new GUI_Able_i) {
  Corvanta::ORB_wrapper_base& orb = dynamic_cast<Corvanta::ORB_wrapper_base&>(Corvanta::ORB_base::Current());
  orb.AddShutdownListener([this] { EndSamples(); });
  orb.Activate();
  for (int i = 0; i < 2; ++i) {
    traces_[i].reset(new Corvanta::EngineBasicTrace_i(namer_, *registration_, "TRACE", TraceOf(67, 1)));
    scalars_[i].reset(new Corvanta::EngineReadingValueDouble_i(namer_, *registration_, "SCALAR", ScalarOf(1)));
    longs_[i].reset(new Corvanta::EngineReadingLong_i(namer_, *registration_, "LONG", 10 * i));
    inputs_.push_back(ReferenceOf(*traces_[i]));
    inputs_.push_back(ReferenceOf(*scalars_[i]));
    inputs_.push_back(ReferenceOf(*longs_[i]));
  }
  CORBA::Object_var object = orb.Resolve({"Lumenar", "local", "MATHFACTORY", "1"});
  factory_ = Corvanta::MathFactory::Interfaces::_narrow(object);
  for (unsigned seed : {1, 2}) threads_.emplace_back([this, seed] { Publish(seed); });
}

EngineStress::~EngineStress() {
  EndSamples();
  factory_ = Corvanta::MathFactory::Interfaces::_nil();
  inputs_.clear();
  engine_.reset();  // before the readings: what it still holds of them ends first
  for (int i = 0; i < 2; ++i) {
    traces_[i].reset();
    scalars_[i].reset();
    longs_[i].reset();
  }
  registration_.reset();
}

void EngineStress::ShutDown() { Corvanta::ORB_base::Current().Shutdown(); }

std::vector<std::string> EngineStress::References() const {
  const CORBA::ORB_ptr orb = Corvanta::ORB_base::Current().Orb();
  const auto text = [orb](CORBA::Object_ptr object) {
    return std::string(CORBA::String_var(orb->object_to_string(object)));
  };
  std::vector<std::string> references{text(factory_)};
  for (const EngineReadingBase_var& input : inputs_) references.push_back(text(input));
  return references;
}

void EngineStress::Publish(unsigned seed) {
  std::minstd_rand random(seed);
  while (!stop_) PublishOne(random);
}

void EngineStress::PublishOne(std::minstd_rand& random) {
  const int which = Between(random, 0, 1);
  switch (Between(random, 0, 2)) {
    case 0:
      *traces_[which] = TraceOf(Between(random, 0, 3) == 0 ? Between(random, 0, 67) : 67, static_cast<float>(which));
      break;
    case 1: *scalars_[which] = ScalarOf(Between(random, -5, 5)); break;
    default: *longs_[which] = Between(random, -10, 80);
  }
  ++published_;
}

void EngineStress::EndSamples() {
  stop_ = true;
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
}

}  // namespace Lumenar::Test
