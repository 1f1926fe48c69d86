// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/ProbeInstrument.h"

#include "instruments/common/steady_rate.h"

namespace Lumenar::Probe {

using Instruments::AtSteadyRate;
using Instruments::PeriodOf;
using Instruments::TraceForm;
using Instruments::TraceReading;

namespace {

constexpr double kScalarSamples_Hz = 20;
constexpr unsigned kSamplesPerPublication = 10;
constexpr double kPeriod_s = 1e-3;
constexpr int kLastPoint = static_cast<int>(WakeupHistory::kPeriods) - 1;
constexpr Corvanta::EngineAttribLongParams kPoints{0, kLastPoint, 0};

constexpr TraceForm kWakeupForm{Value::Make_unit(Value::U_Second, 1, -6), kPeriod_s, Value::U_Second};
constexpr TraceForm kLevelForm{Value::Make_unit(Value::U_Second, 1, -6, true), kPeriod_s, Value::U_Second};
constexpr TraceForm kSpreadForm{Value::Make_unit(Value::U_Percent), 1e-6, Value::U_Second};

}  // namespace

void ProbeInstrument::Offer(const Instruments::Place& place) {
  const std::vector<float> lateness_us = history_.Lateness_us();
  wakeup_ = std::make_unique<TraceReading>(place, "WAKEUP", kWakeupForm, lateness_us);
  wakeup_dB_ = std::make_unique<TraceReading>(place, "WAKEUP_DB", kLevelForm, LevelsOf(lateness_us));
  lateness_ = std::make_unique<TraceReading>(place, "LATENESS", kSpreadForm, SpreadOf(history_.Measured_us()));
  start_ = std::make_unique<Attribute>(place.namer, place.registration, "START", 0, Attribute::Callback(), kPoints);
  stop_ =
      std::make_unique<Attribute>(place.namer, place.registration, "STOP", kLastPoint, Attribute::Callback(), kPoints);
  scalars_ = std::make_unique<ScalarReadings>(place, "/");
  const auto publish_traces = [this] {
    PublishTraces();
    return true;
  };
  const auto watch_scalars = [this] {
    WatchScalars();
    return true;
  };
  traces_task_ = std::make_unique<PeriodicTask>(AtSteadyRate(PeriodOf(rate_Hz_), publish_traces));
  scalars_task_ = std::make_unique<PeriodicTask>(AtSteadyRate(PeriodOf(kScalarSamples_Hz), watch_scalars));
}

void ProbeInstrument::Start() {
  timer_.Start();
  traces_task_->Start();
  scalars_task_->Start();
}

void ProbeInstrument::Stop() noexcept {
  if (traces_task_) traces_task_->Stop();
  if (scalars_task_) scalars_task_->Stop();
  timer_.Stop();
}

void ProbeInstrument::PublishTraces() {
  const std::vector<float> lateness_us = history_.Lateness_us();
  wakeup_->Publish(lateness_us);
  wakeup_dB_->Publish(LevelsOf(lateness_us));
  lateness_->Publish(SpreadOf(history_.Measured_us()));
}

void ProbeInstrument::WatchScalars() {
  scalars_->Sample();
  if (++scalar_samples_ % kSamplesPerPublication == 0) scalars_->Publish();
}

std::unique_ptr<Instruments::Instrument> CreateProbe(const Instruments::Settings& settings) {
  return std::make_unique<ProbeInstrument>(Instruments::NumberSetting(settings, "PROBE_RATE", 20, 0.001, 1000));
}

}  // namespace Lumenar::Probe
