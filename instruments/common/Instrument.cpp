// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/Instrument.h"

#include "instruments/common/steady_rate.h"

namespace Lumenar::Instruments {

void Instrument::Start() {
  for (const RunningPart& part : parts_) part.start();
}

void Instrument::Stop() noexcept {
  for (auto part = parts_.rbegin(); part != parts_.rend(); ++part) part->stop();
}

void Instrument::RunAtRate(double rate_Hz, std::function<void()> task) {
  const auto go_on = [task = std::move(task)] {
    task();
    return true;
  };
  RunPart(tasks_.emplace_back(AtSteadyRate(PeriodOf(rate_Hz), go_on)));
}

}  // namespace Lumenar::Instruments
