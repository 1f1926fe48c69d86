// SPDX-License-Identifier: Apache-2.0
// An instrument: how many processes of this machine want to run, as a number and as a trace of its last
// 60 values. LOAD_RATE: values a second, 1 by default.
#include <cstdlib>
#include <memory>
#include <vector>

#include "instruments/common/Instrument.h"
#include "instruments/common/TraceReading.h"
#include "instruments/common/steady_rate.h"
#include "platform/components/readings/EngineReadingValueDouble_i.h"
#include "platform/records/Records.h"

namespace {

using namespace Lumenar::Instruments;

Corvanta::VALUE_DOUBLE::VALUE LoadNow() {
  double load = 0;
  getloadavg(&load, 1);
  return VALUE::ValueToCorba({load, Lumenar::Value::C_Empty, -0.005, 0.005});  // the kernel tells two decimals
}

class LoadMeter : public Instrument {
 public:
  explicit LoadMeter(double rate_Hz)
      : step_s_(1 / rate_Hz), task_(AtSteadyRate(PeriodOf(rate_Hz), [this] { return Measure(); })) {}
  ~LoadMeter() override { Stop(); }

  void Offer(const Place& place) override {
    load_ = std::make_unique<Corvanta::EngineReadingValueDouble_i>(place.namer, place.registration, "LOAD", LoadNow());
    trace_ = std::make_unique<TraceReading>(place, "HISTORY", TraceForm{Lumenar::Value::C_Empty, step_s_}, history_);
  }
  void Start() override { task_.Start(); }
  void Stop() noexcept override { task_.Stop(); }

 private:
  bool Measure() {
    const auto load = LoadNow();
    history_.erase(history_.begin());
    history_.push_back(static_cast<float>(load.val));
    *load_ = load;
    trace_->Publish(history_);
    return true;  // go on
  }

  const double step_s_;
  std::vector<float> history_ = std::vector<float>(60);  // the task's own, once it runs
  std::unique_ptr<Corvanta::EngineReadingValueDouble_i> load_;
  std::unique_ptr<TraceReading> trace_;
  Lumenar::PeriodicTask task_;
};

std::unique_ptr<Instrument> Create(const Settings& settings) {
  return std::make_unique<LoadMeter>(NumberSetting(settings, "LOAD_RATE", 1, 0.1, 100));
}

}  // namespace

const InstrumentKind& Lumenar::Instruments::ThisInstrument() {
  static const InstrumentKind kind{"LOADMETER", "LoadMeter", "load_meter.engine", "LOAD_", Create};
  return kind;
}
