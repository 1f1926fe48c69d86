// SPDX-License-Identifier: Apache-2.0
#include "tests/stress/StressClients.h"

#include <utility>

#include "platform/orb/CorbaText.h"

namespace Lumenar::Test {
namespace {

using Corvanta::EngineReadingBase;
using Corvanta::EngineReadingBase_var;

constexpr std::size_t kMostObjects = 40;

}  // namespace

StressClients::StressClients(Corvanta::MathFactory::Interfaces_ptr factory, Inputs inputs, EndOfTheEngine end)
    : factory_(Corvanta::MathFactory::Interfaces::_duplicate(factory)), inputs_(std::move(inputs)), end_(end) {
  using Step = void (StressClients::*)(Random&);
  unsigned seed = 0;
  for (Step step : {&StressClients::CreateOne, &StressClients::CreateOne, &StressClients::DeleteOne,
                    &StressClients::LookAtOne, &StressClients::SetAttributesOfOne}) {
    threads_.emplace_back(
        [this, step, thread_seed = ++seed] { Repeat(thread_seed, [this, step](Random& r) { (this->*step)(r); }); });
  }
}

StressClients::~StressClients() { Stop(); }

void StressClients::Stop() {
  stop_ = true;
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
  factory_ = Corvanta::MathFactory::Interfaces::_nil();
  inputs_.clear();
}

/// Calls `step` until the end. What a client may see is a result,
/// OBJECT_NOT_EXIST for an object that was deleted meanwhile, and, once the
/// engine goes, the ORB's exceptions.
void StressClients::Repeat(unsigned seed, const std::function<void(Random&)>& step) {
  Random random(seed);
  while (!stop_) {
    try {
      step(random);
    } catch (const CORBA::OBJECT_NOT_EXIST&) {
    } catch (const CORBA::SystemException& error) {
      if (end_ == EndOfTheEngine::IsAFault) Fault("a client got " + CorbaText(error));
    } catch (const CORBA::Exception& error) {
      Fault("a client got " + CorbaText(error));
    } catch (const std::exception& error) {
      Fault(std::string("a client got ") + error.what());
    }
  }
}

Corvanta::MathFactory::ReadingAttribSeq StressClients::RandomInputs(Random& random) {
  Corvanta::MathFactory::ReadingAttribSeq inputs;
  const int count = Between(random, 1, 3);
  inputs.length(static_cast<CORBA::ULong>(count));
  const int first_kind = Between(random, 0, 2);
  for (int i = 0; i < count; ++i) {
    // As CumulativeAdd takes them, or all of one kind; now and then any.
    int kind = count == 3 ? (i == 0 ? 0 : 2) : first_kind;
    if (Between(random, 0, 9) == 0) kind = Between(random, 0, 2);
    inputs[static_cast<CORBA::ULong>(i)] =
        EngineReadingBase::_duplicate(inputs_[static_cast<std::size_t>(3 * (i % 2) + kind)]);
  }
  return inputs;
}

void StressClients::CreateOne(Random& random) {
  {
    Lock lock(mutex_);
    if (live_.size() >= kMostObjects) return;
  }
  const Corvanta::EngineAttribEnum_var type = factory_->AttrType();
  type->Set(Between(random, 0, 5));  // 5 names no operation; another thread may
                                     // set another one before the next call
  try {
    const Corvanta::MathFactory::Math_var math = factory_->CreateMath(RandomInputs(random));
    NoteCreated(math->GetId());
  } catch (const Corvanta::MathFactory::MathFactoryException&) {
    ++refused_;
  } catch (const CORBA::UNKNOWN&) {  // a first computation that the value library refuses
    ++refused_;
  }
}

void StressClients::NoteCreated(CORBA::Long id) {
  Lock lock(mutex_);
  if (!given_.insert(id).second) faults_.push_back("id " + std::to_string(id) + " was given twice");
  live_.insert(id);
  ++created_;
}

/// One of the live ids; -1 when there is none.
long StressClients::RandomId(Random& random) const {
  Lock lock(mutex_);
  if (live_.empty()) return -1;
  return *std::next(live_.begin(), Between(random, 0, static_cast<int>(live_.size()) - 1));
}

void StressClients::DeleteOne(Random& random) {
  const CORBA::Long id = static_cast<CORBA::Long>(RandomId(random));
  factory_->DeleteMath(id);
  if (id < 0) return;
  const Corvanta::MathFactory::Math_var gone = factory_->GetMath(id);
  if (!CORBA::is_nil(gone)) Fault("a deleted object was found");
  Lock lock(mutex_);
  live_.erase(id);
  ++deleted_;
}

void StressClients::LookAtOne(Random& random) {
  const Corvanta::MathFactory::Math_var math = factory_->GetMath(static_cast<CORBA::Long>(RandomId(random)));
  if (CORBA::is_nil(math)) return;
  const CORBA::String_var type = math->GetType();
  const EngineReadingBase_var result = math->AttrResult();
  const CORBA::String_var topic = result->DDS_Value();
  const Corvanta::EngineBasicTrace_var trace = Corvanta::EngineBasicTrace::_narrow(result);
  if (!CORBA::is_nil(trace)) {
    const Corvanta::BASIC_TRACE::BT_DATA_var record = trace->Get();
    ++looked_at_;
    return;
  }
  const Corvanta::EngineReadingValueDouble_var scalar = Corvanta::EngineReadingValueDouble::_narrow(result);
  if (CORBA::is_nil(scalar)) {  // narrowing asks the object, which may have gone
    const Corvanta::MathFactory::Math_var again = factory_->GetMath(math->GetId());
    if (!CORBA::is_nil(again)) Fault("a result is neither trace nor scalar");
    return;
  }
  static_cast<void>(scalar->Get());
  ++looked_at_;
}

void StressClients::SetAttributesOfOne(Random& random) {
  const Corvanta::MathFactory::Math_var math = factory_->GetMath(static_cast<CORBA::Long>(RandomId(random)));
  const Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  if (!CORBA::is_nil(average)) {
    const Corvanta::EngineAttribLong_var size = average->AttrSize();
    try {
      size->Set(Between(random, -1, 101));
    } catch (const Corvanta::LimitsExceeded&) {}
    const Corvanta::EngineReadingBoolean_var full = average->AttrFull();
    static_cast<void>(full->Get());
    const Corvanta::EngineAttribVoid_var reset = average->AttrReset();
    reset->Set();
    return;
  }
  const Corvanta::MathFactory::Peak_var peak = Corvanta::MathFactory::Peak::_narrow(math);
  if (CORBA::is_nil(peak)) return;
  const Corvanta::EngineAttribVoid_var reset = peak->AttrReset();
  reset->Set();
}

std::vector<std::string> StressClients::Faults() const {
  Lock lock(mutex_);
  return faults_;
}

void StressClients::Fault(const std::string& text) {
  Lock lock(mutex_);
  if (faults_.size() < 20) faults_.push_back(text);
}

StressClients::Counts StressClients::Done() const { return {created_, refused_, deleted_, looked_at_}; }

}  // namespace Lumenar::Test
