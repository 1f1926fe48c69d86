// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/Traffic.h"

#include <cstdlib>

namespace Lumenar::Test {

using std::chrono::steady_clock;

BT_DATA NumberedTrace(unsigned sequence_number) {
  return Trace(std::vector<float>(kPoints, 1.0f), kMilliwatt, sequence_number);
}

Feeder::Feeder(TraceInput& input, double rate_Hz)
    : thread_(
          [this, &input, rate_Hz] { Run(input, std::chrono::nanoseconds(static_cast<long long>(1e9 / rate_Hz))); }) {}

Feeder::~Feeder() { Stop(); }

unsigned Feeder::Stop() {
  ended_ = true;
  if (thread_.joinable()) thread_.join();
  return published_;
}

void Feeder::Run(TraceInput& input, std::chrono::nanoseconds period) {
  BT_DATA trace = NumberedTrace(0);
  auto due = steady_clock::now();
  while (!ended_) {
    trace.sequence_number = published_;
    input = trace;
    ++published_;
    due = std::max(due + period, steady_clock::now() - period);  // what a fault held up is not made up for
    std::this_thread::sleep_until(due);
  }
}

struct SequenceFollower::State {
  mutable Mutex mutex;
  Counts counts GUARDED_BY(mutex);

  void Take(unsigned long number) {
    Lock lock(mutex);
    if (counts.received++ > 0) {
      if (number > counts.last) counts.missing += number - counts.last - 1;
      if (number <= counts.last) ++counts.out_of_order;
    }
    counts.last = number;
  }
};

SequenceFollower::SequenceFollower(const std::string& topic)
    : state_(std::make_shared<State>()),
      subscriber_(topic.c_str(),
                  [state = state_](const char*, const BT_DATA& trace) { state->Take(trace.sequence_number); }) {}

SequenceFollower::Counts SequenceFollower::Now() const {
  Lock lock(state_->mutex);
  return state_->counts;
}

bool SequenceFollower::WaitForNumber(unsigned long number, std::chrono::milliseconds limit) const {
  return WaitUntil(
      [&] {
        const Counts counts = Now();
        return counts.received > 0 && counts.last >= number;
      },
      limit);
}

bool SequenceFollower::WaitForMore(std::chrono::milliseconds limit) const {
  const unsigned long before = Now().received;
  return WaitUntil([&] { return Now().received > before; }, limit);
}

BusyClient::BusyClient(Corvanta::MathFactory::Interfaces_ptr factory,
                       const Corvanta::MathFactory::ReadingAttribSeq& inputs)
    : factory_(Corvanta::MathFactory::Interfaces::_duplicate(factory)), inputs_(inputs), thread_([this] { Run(); }) {}

BusyClient::~BusyClient() { Stop(); }

BusyClient::Counts BusyClient::Stop() {
  ended_ = true;
  if (thread_.joinable()) thread_.join();
  return {done_, refused_, foreign_};
}

void BusyClient::Run() {
  while (!ended_) {
    try {
      CallOnce();
      ++done_;
    } catch (const CORBA::SystemException&) {
      ++refused_;
    } catch (const Corvanta::MathFactory::MathFactoryException&) {
      ++refused_;
    } catch (...) {
      ++foreign_;
    }
  }
}

void BusyClient::CallOnce() {
  Corvanta::MathFactory::Math_var math = factory_->CreateMath(inputs_);
  const CORBA::Long id = math->GetId();
  try {
    Corvanta::EngineReadingBase_var result = math->AttrResult();
    Corvanta::EngineBasicTrace_var typed = Corvanta::EngineBasicTrace::_narrow(result);
    Corvanta::BASIC_TRACE::BT_DATA_var record = typed->Get();
  } catch (...) {
    factory_->DeleteMath(id);
    throw;
  }
  factory_->DeleteMath(id);
}

double SettingOr(const char* name, double otherwise) {
  const char* text = std::getenv(name);
  return text == nullptr ? otherwise : std::stod(text);
}

}  // namespace Lumenar::Test
