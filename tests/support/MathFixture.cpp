// SPDX-License-Identifier: Apache-2.0
#include "tests/support/MathFixture.h"

#include <algorithm>

namespace Lumenar::Test {

Scalar ScalarOf(double value, const Value::Units& units, double minus_err, double plus_err) {
  return {VALUE::UnitsToCorba(units), minus_err, plus_err, value};
}

Value::Units UnitsOf(const Scalar& scalar) { return VALUE::UnitsFromCorba(scalar.units); }

Value::Units UnitsOf(const BT_DATA& trace) { return VALUE::UnitsFromCorba(trace.units); }

Corvanta::TypeInfo* NewTypeInfo(const std::string& name, const std::string& type_name) {
  Corvanta::TypeInfo_var info = new Corvanta::TypeInfo;
  info->name = name.c_str();
  info->type_name = type_name.c_str();
  return info._retn();
}

MathFixture::MathFixture() : factory_(new MathFactory_i(registration_, &Orb())) {}

void MathFixture::CloseAndRelease::operator()(MathFactory_i* factory) const noexcept {
  factory->Close();
  factory->_remove_ref();
}

void MathFixture::DropFactory() { factory_.reset(); }

Corvanta::MathFactory::ReadingAttribSeq MathFixture::Inputs(
    const std::vector<Corvanta::EngineReadingBase_ptr>& inputs) {
  Corvanta::MathFactory::ReadingAttribSeq attribs;
  attribs.length(static_cast<CORBA::ULong>(inputs.size()));
  for (CORBA::ULong i = 0; i < attribs.length(); ++i) attribs[i] = Corvanta::EngineReadingBase::_duplicate(inputs[i]);
  return attribs;
}

Corvanta::MathFactory::Math_var MathFixture::Create(int type,
                                                    const std::vector<Corvanta::EngineReadingBase_ptr>& inputs) {
  Factory().TypeCallback(type);
  return Factory().CreateMath(Inputs(inputs));
}

void MathFixture::DeliverAny(const std::string& topic, const CORBA::Any& any) {
  const auto ended = Manager().Unsubscribed();
  for (const auto& subscription : Manager().Subscribed()) {
    if (subscription.topic != topic || std::find(ended.begin(), ended.end(), subscription) != ended.end()) continue;
    const Corvanta::DDS_Sub_var subscriber = Manager().Subscriber(subscription.handle);
    subscriber->DDS_Callback(any);
  }
}

Scalar MathFixture::ScalarResult(Corvanta::MathFactory::Math_ptr math) {
  const Corvanta::EngineReadingBase_var result = math->AttrResult();
  const Corvanta::EngineReadingValueDouble_var scalar = Corvanta::EngineReadingValueDouble::_narrow(result);
  return scalar->Get();
}

BT_DATA MathFixture::TraceResult(Corvanta::MathFactory::Math_ptr math) {
  const Corvanta::EngineReadingBase_var result = math->AttrResult();
  const Corvanta::EngineBasicTrace_var trace = Corvanta::EngineBasicTrace::_narrow(result);
  const Corvanta::BASIC_TRACE::BT_DATA_var record = trace->Get();
  return record.in();
}

std::string MathFixture::ResultTopic(Corvanta::MathFactory::Math_ptr math) {
  const Corvanta::EngineReadingBase_var result = math->AttrResult();
  const CORBA::String_var topic = result->DDS_Value();
  return topic.in();
}

std::vector<double> MathFixture::NumbersPublished(const std::string& topic) {
  std::vector<double> numbers;
  for (const auto& record : Manager().PublishedOn(topic)) numbers.push_back(std::get<Scalar>(record).val);
  return numbers;
}

std::vector<std::string> MathFixture::StandingTopics() {
  std::vector<std::string> topics;
  const auto ended = Manager().Unsubscribed();
  for (const auto& subscription : Manager().Subscribed()) {
    if (std::find(ended.begin(), ended.end(), subscription) == ended.end()) topics.push_back(subscription.topic);
  }
  return topics;
}

}  // namespace Lumenar::Test
