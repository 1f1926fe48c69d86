// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/MathBase.h"

#include <atomic>
#include <utility>

namespace Lumenar {
namespace {

std::atomic<CORBA::Long> idCounter{0};

}  // namespace

MathBase::MathBase() : id_(idCounter++), refused_(id_), gate_(Corvanta::UpcallGate::Create(this)) {}

// When construction failed, deliveries may be waiting for its end.
MathBase::~MathBase() { gate_->Close(); }

CORBA::Long MathBase::GetId() {
  RequireOpen();
  return id_;
}

Corvanta::MathFactory::RefusalStatus* MathBase::Refusals() {
  RequireOpen();
  return new Corvanta::MathFactory::RefusalStatus(refused_.Status());
}

Corvanta::MathFactory::ReadingAttribSeq* MathBase::AttrInputs() {
  RequireOpen();
  return inputs_.NewValue();
}

Corvanta::MathFactory::MathReport* MathBase::Report() {
  RequireOpen();
  Corvanta::MathFactory::MathReport_var report = new Corvanta::MathFactory::MathReport;
  Describe(report.inout());
  if (mark_away_) mark_away_(report.inout());
  return report._retn();
}

void MathBase::Keep(const Corvanta::MathFactory::ReadingAttribSeq& inputs, MarkAway mark_away) {
  mark_away_ = std::move(mark_away);
  inputs_ = Corvanta::MarshalledValue(inputs);
}

void MathBase::Describe(Corvanta::MathFactory::MathStatus& status) {
  status.id = id_;
  status.type = CORBA::String_var(GetType());
  const std::vector<std::string> topics = InputTopics();
  status.inputs.length(static_cast<CORBA::ULong>(topics.size()));
  for (CORBA::ULong i = 0; i < status.inputs.length(); ++i) status.inputs[i] = topics[i].c_str();
  status.refusals = refused_.Status();
}

void MathBase::Describe(Corvanta::MathFactory::MathReport& report) {
  const SampleFigures::Time now = SampleFigures::Time::clock::now();
  report.id = id_;
  report.type = CORBA::String_var(GetType());
  const std::vector<std::string> topics = InputTopics();
  report.inputs.length(static_cast<CORBA::ULong>(topics.size()));
  for (CORBA::ULong i = 0; i < report.inputs.length(); ++i) {
    const SampleFigures::Counted samples = figures_.Samples(i, now);
    report.inputs[i] = {topics[i].c_str(), samples.number, samples.age_us, false,
                        handles_.at(i) ? handles_[i]->load() : 0};
  }
  report.size = 0;
  report.filled = 0;
  const SampleFigures::Counted results = figures_.Results(now);
  report.results = results.number;
  report.age_us = results.age_us;
  report.interval_us = figures_.IntervalMicroseconds();
  report.refusing = refused_.Refusing();
  report.refusals = refused_.Status();
}

std::string MathBase::AskTopic(Corvanta::EngineReadingBase_ptr input) {
  const CORBA::String_var topic = input->DDS_Value();
  refused_.AddInput(topic.in());
  return topic.in();
}

boost::shared_ptr<MathBase> MathBase::Own(MathBase* object) {
  const boost::shared_ptr<MathBase> owner(object, [](MathBase* closing) {
    closing->Close();
    closing->_remove_ref();
  });
  owner->gate_->Open();
  return owner;
}

void MathBase::Activate() { reference_ = _this(); }

Corvanta::MathFactory::Math_ptr MathBase::Reference() const {
  return Corvanta::MathFactory::Math::_duplicate(reference_);
}

void MathBase::Close() noexcept {
  CountedServant::Close();
  gate_->Close();
  CloseParts();
  reference_ = Corvanta::MathFactory::Math::_nil();  // the servant may outlive the ORB's use for it
}

}  // namespace Lumenar
