// SPDX-License-Identifier: Apache-2.0
#include "bench/objects/ObjectsRig.h"

#include <time.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

#include "tests/support/ProcessFigures.h"

namespace Lumenar::Bench {
namespace {

using namespace Lumenar::Test;
using Clock = std::chrono::steady_clock;

constexpr auto kLongest = std::chrono::seconds(60);
constexpr auto kLook = std::chrono::milliseconds(5);

double Seconds(Clock::duration time) { return std::chrono::duration<double>(time).count(); }

IsolatedPlatform& InThisProcess(IsolatedPlatform& platform) {
  platform.UseInThisProcess();
  return platform;
}

BT_DATA Sample() {
  std::vector<float> samples(ObjectsRig::kPoints);
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = 1.0f + static_cast<float>(i) / 16;
  return Trace(samples, kMilliwatt);
}

template <class Reading>
void FillInputs(Corvanta::MathFactory::ReadingAttribSeq& inputs, CORBA::ULong count, const Reading& reading) {
  inputs.length(count);
  for (CORBA::ULong i = 0; i < count; ++i) inputs[i] = reading._this();
}

}  // namespace

double CpuSecondsOf(pid_t process) {
  clockid_t clock;
  timespec time{};
  if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0)
    throw std::runtime_error("no CPU clock");
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

double ResidentBytesOf(pid_t process) { return 1024.0 * static_cast<double>(Test::ResidentMemory_kB(process)); }

ObjectsRig::ObjectsRig()
    : engine_(InThisProcess(platform_).StartEngine("math_factory_hh")),
      factory_(bench_.Factory()),
      sample_(Sample()),
      input_(bench_, "INPUT", sample_),
      scalar_(bench_, "SCALAR", ScalarOf(1, kMilliwatt)) {
  for (CORBA::ULong count = 1; count <= 2; ++count) {
    FillInputs(trace_inputs_[count - 1], count, input_);
    FillInputs(scalar_inputs_[count - 1], count, scalar_);
  }
}

double ObjectsRig::Create(MathType type, const Inputs& inputs) {
  Corvanta::EngineAttribEnum_var selector = factory_->AttrType();
  selector->Set(type);
  const auto begin = Clock::now();
  Corvanta::MathFactory::Math_var math = factory_->CreateMath(inputs[HasTwoInputs(type) ? 1 : 0]);
  const double time = Seconds(Clock::now() - begin);
  ids_.push_back(math->GetId());
  return time;
}

double ObjectsRig::DeleteNewest() {
  const auto begin = Clock::now();
  factory_->DeleteMath(ids_.back());
  ids_.pop_back();
  return Seconds(Clock::now() - begin);
}

double ObjectsRig::List() {
  const auto begin = Clock::now();
  const Corvanta::MathFactory::MathStatusSeq_var list = factory_->ListMathStatus();
  const double time = Seconds(Clock::now() - begin);
  if (list->length() != ids_.size()) throw std::runtime_error("the list has not all objects");
  return time;
}

void ObjectsRig::SetSize(int size) {
  Corvanta::MathFactory::Math_var math = factory_->GetMath(ids_.back());
  Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  Corvanta::EngineAttribLong_var attribute = average->AttrSize();
  attribute->Set(size);
}

void ObjectsRig::Publish(int samples) {
  for (int i = 0; i < samples; ++i) input_ = sample_;
  WaitUntilDelivered();
}

double ObjectsRig::CpuSeconds() { return CpuSecondsOf(engine_.Pid()) + CpuSecondsOf(platform_.TopicManager().Pid()); }

/// Looks at the clocks of the processes, which costs them nothing, until they rest.
void ObjectsRig::WaitUntilDelivered() {
  constexpr double kAtRest = 1e-4;
  const auto end = Clock::now() + kLongest;
  for (double before = CpuSeconds(); Clock::now() < end;) {
    std::this_thread::sleep_for(kLook);
    const double now = CpuSeconds();
    if (now - before < kAtRest) return;
    before = now;
  }
  throw std::runtime_error("the samples were not delivered in time");
}

}  // namespace Lumenar::Bench
