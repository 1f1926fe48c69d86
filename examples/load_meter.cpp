// SPDX-License-Identifier: Apache-2.0
// An instrument: how many processes of this machine want to run, as a number and as a trace of its last
// 60 values. LOAD_RATE: values a second, 1 by default.
#include <cstdlib>
#include <optional>
#include <vector>

#include "instruments/common/NumberReading.h"
#include "instruments/common/TraceReading.h"

namespace {

using namespace Lumenar::Instruments;
using Lumenar::Value::C_Empty;

Number LoadNow() {
  double load = 0;
  getloadavg(&load, 1);
  return {load, C_Empty, -0.005, 0.005};  // the kernel tells two decimals
}

class LoadMeter : public Instrument {
 public:
  explicit LoadMeter(const Settings& settings) : rate_Hz_(NumberSetting(settings, "LOAD_RATE", 1, 0.1, 100)) {}

  void Offer(const Place& place) override {
    load_.emplace(place, "LOAD", LoadNow());
    trace_.emplace(place, "HISTORY", TraceForm{C_Empty, 1 / rate_Hz_}, history_);
    RunAtRate(rate_Hz_, [this] { Measure(); });
  }

 private:
  void Measure() {
    const Number load = LoadNow();
    history_.erase(history_.begin());
    history_.push_back(static_cast<float>(load.Get_value()));
    load_->Publish(load);
    trace_->Publish(history_);
  }

  const double rate_Hz_;
  std::vector<float> history_ = std::vector<float>(60);  // Measure's own, once it runs
  std::optional<NumberReading> load_;
  std::optional<TraceReading> trace_;
};

}  // namespace

const InstrumentKind& Lumenar::Instruments::ThisInstrument() {
  static const InstrumentKind kind{"LOADMETER", "LoadMeter", "load_meter.engine", "LOAD_", CreateInstrument<LoadMeter>};
  return kind;
}
