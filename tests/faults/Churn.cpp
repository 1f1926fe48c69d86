// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/Churn.h"

namespace Lumenar::Test {
namespace {

using Corvanta::MathFactory::ReadingAttribSeq;

/// Inputs that live as long as their object, on topics that nobody uses again.
struct ShortLivedInputs {
  explicit ShortLivedInputs(Testbench& bench)
      : first(bench, "SHORT", NumberedTrace(0)),
        second(bench, "SHORT", NumberedTrace(0)),
        start(bench, "START", 1),
        stop(bench, "STOP", 50) {}

  ReadingAttribSeq Of(MathType type) {
    const auto traces = [this](CORBA::ULong count) {
      ReadingAttribSeq inputs;
      inputs.length(count);
      inputs[0] = first._this();
      if (count > 1) inputs[1] = second._this();
      return inputs;
    };
    if (type == Average || type == Peak) return traces(1);
    ReadingAttribSeq inputs = traces(2);
    if (type != CumulativeAdd) return inputs;
    inputs.length(3);
    inputs[1] = start._this();
    inputs[2] = stop._this();
    return inputs;
  }

  TraceInput first, second;
  LongInput start, stop;
};

void SetAttributes(Corvanta::MathFactory::Math_ptr math) {
  Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  if (CORBA::is_nil(average)) return;
  Corvanta::EngineAttribLong_var size = average->AttrSize();
  size->Set(3);
  Corvanta::EngineAttribVoid_var reset = average->AttrReset();
  reset->Set();
}

void Use(Corvanta::MathFactory::Math_ptr math, ShortLivedInputs& inputs) {
  SetAttributes(math);
  Corvanta::EngineReadingBase_var result = math->AttrResult();
  CORBA::String_var topic = result->DDS_Value();
  Corvanta::EngineBasicTrace_var trace = Corvanta::EngineBasicTrace::_narrow(result);
  std::unique_ptr<SequenceFollower> follower;
  if (!CORBA::is_nil(trace)) follower = std::make_unique<SequenceFollower>(topic.in());
  for (unsigned number = 1; number <= 5; ++number) inputs.first = NumberedTrace(number);
  if (follower) follower->WaitForMore(std::chrono::milliseconds(200));
}

}  // namespace

Churn::Churn(std::function<void()> action) : action_(std::move(action)), thread_([this] { Run(); }) {}

Churn::~Churn() {
  ended_ = true;
  thread_.join();
}

void Churn::Run() {
  while (!ended_) {
    try {
      action_();
      ++done_;
    } catch (const CORBA::Exception&) {
      ++refused_;
    } catch (...) {
      ++foreign_;
    }
  }
}

void LiveOnce(Testbench& bench, Corvanta::MathFactory::Interfaces_ptr factory, MathType type) {
  ShortLivedInputs inputs(bench);
  Corvanta::EngineAttribEnum_var selector = factory->AttrType();
  selector->Set(type);
  Corvanta::MathFactory::Math_var math = factory->CreateMath(inputs.Of(type));
  const CORBA::Long id = math->GetId();
  try {
    Use(math, inputs);
  } catch (...) {
    factory->DeleteMath(id);
    throw;
  }
  factory->DeleteMath(id);
}

}  // namespace Lumenar::Test
