// SPDX-License-Identifier: Apache-2.0
#include "instruments/sim/SimInstrument.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "instruments/common/NumberReading.h"
#include "instruments/common/SampleDriver.h"
#include "instruments/common/TraceReading.h"
#include "platform/components/attributes/EngineAttribLong_i.h"
#include "platform/components/readings/EngineReadingLong_i.h"

namespace Lumenar::Sim {

using Instruments::Number;
using Instruments::NumberReading;
using Instruments::Place;
using Instruments::SampleDriver;
using Instruments::TraceReading;

class SimInstrument::Item {
 public:
  virtual ~Item() = default;
  virtual void Start() {}
  virtual void Stop() noexcept {}
};

namespace {

/// An item that produces samples: counts them.
class Source : public SimInstrument::Item {
 public:
  void Start() override { driver_->Start(); }
  void Stop() noexcept override { driver_->Stop(); }

 protected:
  explicit Source(const ItemConfig& config) : config_(config), waveform_(config.form) {}

  /// The last step of a derived class' construction: samples may be asked for from now on.
  void Drive(const Place& place) {
    driver_ = std::make_unique<SampleDriver>(place, config_.name, config_.rate_Hz, [this] {
      Publish(next_++);
      return true;
    });
  }

  virtual void Publish(std::uint64_t n) = 0;

  const ItemConfig& config_;
  const Waveform waveform_;

 private:
  std::uint64_t next_ = 0;  // the driver's calls alone
  std::unique_ptr<SampleDriver> driver_;
};

class TraceSource : public Source {
 public:
  TraceSource(const ItemConfig& config, const Place& place)
      : Source(config),
        points_(config.points),
        reading_(place, config.name, {config.units, config.x_step}, PointsOf(0)) {
    Drive(place);
  }

 private:
  const std::vector<float>& PointsOf(std::uint64_t n) {
    waveform_.Fill(n, points_);
    return points_;
  }

  void Publish(std::uint64_t n) override { reading_.Publish(PointsOf(n)); }

  std::vector<float> points_;
  TraceReading reading_;
};

class ValueSource : public Source {
 public:
  ValueSource(const ItemConfig& config, const Place& place)
      : Source(config), reading_(place, config.name, NumberOf(0)) {
    Drive(place);
  }

 private:
  Number NumberOf(std::uint64_t n) const { return {waveform_.At(n, 0), config_.units, -config_.error, config_.error}; }

  void Publish(std::uint64_t n) override { reading_.Publish(NumberOf(n)); }

  NumberReading reading_;
};

class LongSource : public Source {
 public:
  LongSource(const ItemConfig& config, const Place& place)
      : Source(config), reading_(place.namer, place.registration, config.name.c_str(), LongOf(0)) {
    Drive(place);
  }

 private:
  /// Rounded to the nearest whole number, halves away from zero, and kept within the 32-bit range.
  int LongOf(std::uint64_t n) const {
    constexpr double kLower = std::numeric_limits<std::int32_t>::min();
    constexpr double kUpper = std::numeric_limits<std::int32_t>::max();
    return static_cast<int>(std::round(std::clamp(waveform_.At(n, 0), kLower, kUpper)));
  }

  void Publish(std::uint64_t n) override { reading_ = LongOf(n); }

  Corvanta::EngineReadingLong_i reading_;
};

/// A long attribute; what clients set is stored and published.
class SettingItem : public SimInstrument::Item {
 public:
  SettingItem(const ItemConfig& config, const Place& place)
      : attribute_(place.namer, place.registration, config.name.c_str(), config.initial, {},
                   {config.lower, config.upper, 0}) {}

 private:
  Corvanta::EngineAttribLong_i attribute_;
};

std::unique_ptr<SimInstrument::Item> CreateItem(const ItemConfig& config, const Place& place) {
  switch (config.kind) {
    case Kind::Trace: return std::make_unique<TraceSource>(config, place);
    case Kind::Value: return std::make_unique<ValueSource>(config, place);
    case Kind::Long: return std::make_unique<LongSource>(config, place);
    case Kind::Setting: break;
  }
  return std::make_unique<SettingItem>(config, place);
}

}  // namespace

SimInstrument::SimInstrument(const Instruments::Settings& settings) : configs_(ReadSimConfig(settings)) {}

SimInstrument::~SimInstrument() = default;

void SimInstrument::Offer(const Place& place) {
  for (const ItemConfig& config : configs_) RunPart(*items_.emplace_back(CreateItem(config, place)));
}

}  // namespace Lumenar::Sim
