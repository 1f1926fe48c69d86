// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/SampleDriver.h"

#include <limits>
#include <utility>

#include "instruments/common/steady_rate.h"

namespace Lumenar::Instruments {
namespace {

constexpr Corvanta::EngineAttribLongParams kAnyNumber{std::numeric_limits<int>::min(), std::numeric_limits<int>::max(),
                                                      0};

}  // namespace

SampleDriver::SampleDriver(const Place& place, const std::string& name, double rate_Hz, std::function<bool()> next)
    : next_(std::move(next)) {
  if (rate_Hz > 0) {
    task_ = std::make_unique<PeriodicTask>(AtSteadyRate(PeriodOf(rate_Hz), next_));
    return;
  }
  const std::string item = name + "_STEP";
  step_ = std::make_unique<Corvanta::EngineAttribLong_i>(
      place.namer, place.registration, item.c_str(), 0, [this](const int& value) { Step(value); }, kAnyNumber);
}

SampleDriver::~SampleDriver() { Stop(); }

void SampleDriver::Start() {
  if (task_) {
    task_->Start();
  } else {
    Next();
  }
}

void SampleDriver::Stop() noexcept {
  if (task_) task_->Stop();
}

void SampleDriver::Step(int value) {
  Next();
  *step_ = value;
}

void SampleDriver::Next() {
  Lock lock(order_);
  if (!ended_) ended_ = !next_();
}

}  // namespace Lumenar::Instruments
