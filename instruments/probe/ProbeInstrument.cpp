// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/ProbeInstrument.h"

namespace Lumenar::Probe {

using Instruments::TraceForm;

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

ProbeInstrument::ProbeInstrument(const Instruments::Settings& settings)
    : rate_Hz_(Instruments::NumberSetting(settings, "PROBE_RATE", 20, 0.001, 1000)) {}

void ProbeInstrument::Offer(const Instruments::Place& place) {
  const std::vector<float> lateness_us = history_.Lateness_us();
  wakeup_.emplace(place, "WAKEUP", kWakeupForm, lateness_us);
  wakeup_dB_.emplace(place, "WAKEUP_DB", kLevelForm, LevelsOf(lateness_us));
  lateness_.emplace(place, "LATENESS", kSpreadForm, SpreadOf(history_.Measured_us()));
  start_ = place.Create<Attribute>("START", 0, Attribute::Callback(), kPoints);
  stop_ = place.Create<Attribute>("STOP", kLastPoint, Attribute::Callback(), kPoints);
  scalars_.emplace(place, "/");
  RunPart(timer_);
  RunAtRate(rate_Hz_, [this] { PublishTraces(); });
  RunAtRate(kScalarSamples_Hz, [this] { WatchScalars(); });
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

}  // namespace Lumenar::Probe
