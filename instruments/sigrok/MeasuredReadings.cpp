// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/MeasuredReadings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "instruments/common/TraceReading.h"
#include "platform/base/Diagnostic.h"
#include "platform/components/readings/EngineBasicTrace_i.h"
#include "platform/components/readings/EngineReadingValueDouble_i.h"
#include "platform/records/Records.h"

namespace Lumenar::Sigrok {

using Corvanta::BASIC_TRACE::BT_DATA;
using Instruments::Place;

namespace {

std::string UnitsForPeople(const Value::Units& units) {
  const std::string text = Value::Units_text(units);
  return text.empty() ? "without unit" : "in " + text;
}

}  // namespace

/// A reading of single numbers.
class MeasuredReadings::Number {
 public:
  Number(const Place& place, const std::string& name, const Instruments::ErrorBand* band, const UnitRow& units,
         const MeasuredNumber& first)
      : band_(band), reading_(place.namer, place.registration, name.c_str(), RecordOf(units, first)) {
    WriteOut(fmt::format("SIGROK: {}: numbers {}", reading_.GetName(), UnitsForPeople(units.units)));
  }

  void Publish(const UnitRow& units, const MeasuredNumber& number) { reading_ = RecordOf(units, number); }

 private:
  Corvanta::VALUE_DOUBLE::VALUE RecordOf(const UnitRow& units, const MeasuredNumber& number) const {
    const double digit = std::isfinite(number.value) ? number.count.value_or(0) : 0;
    const double error = band_ != nullptr ? band_->Of(number.value) : digit;
    return VALUE::ValueToCorba(Value::Value_object<double>(number.value, units.units, 0 - error, error));
  }

  const Instruments::ErrorBand* const band_;  // null: one count of the last digit
  Corvanta::EngineReadingValueDouble_i reading_;
};

/// A reading of traces. Their unit may change from one to the next, as a device is set.
class MeasuredReadings::Trace {
 public:
  Trace(const Place& place, const std::string& name, const UnitRow& units, std::span<const float> samples,
        double step_s)
      : record_(First(units, samples, step_s)), reading_(place.namer, place.registration, name.c_str(), record_) {
    WriteOut(fmt::format("SIGROK: {}: traces of {} points {}", reading_.GetName(), samples.size(),
                         UnitsForPeople(units.units)));
  }

  void Publish(const UnitRow& units, std::span<const float> samples, double step_s) {
    Fill(record_, units, samples, step_s);
    record_.sequence_number = next_number_++;
    reading_ = std::move(record_);  // which comes back with the buffer of the sample before
  }

 private:
  static BT_DATA First(const UnitRow& units, std::span<const float> samples, double step_s) {
    BT_DATA record = DefaultRecord<BT_DATA>();
    Fill(record, units, samples, step_s);
    return record;
  }

  static void Fill(BT_DATA& record, const UnitRow& units, std::span<const float> samples, double step_s) {
    record.units = VALUE::UnitsToCorba(units.units);
    record.x_step = step_s;
    record.header[2] = static_cast<CORBA::ULong>(Value::U_Second);
    record.samples.length(static_cast<CORBA::ULong>(samples.size()));
    std::copy(samples.begin(), samples.end(), record.samples.get_buffer());
    Instruments::SetCaptureTime(record, Instruments::CaptureTimeNow());
  }

  std::uint32_t next_number_ = 1;  // the first is 0, when the reading is offered
  BT_DATA record_;
  Corvanta::EngineBasicTrace_i reading_;
};

MeasuredReadings::MeasuredReadings(const Place& place, std::vector<NamedErrorBand> errors)
    : place_(place), errors_(std::move(errors)) {}

MeasuredReadings::~MeasuredReadings() = default;

void MeasuredReadings::RequireRoom() const {
  if (numbers_.size() + traces_.size() < kMostReadings) return;
  throw std::length_error(fmt::format("there are {} readings, and no room for more", kMostReadings));
}

void MeasuredReadings::TakeNumber(const Meaning& meaning, const UnitRow& units, const MeasuredNumber& number) {
  const auto found = numbers_.find(meaning);
  if (found != numbers_.end()) return found->second->Publish(units, number);
  RequireRoom();
  const std::string name = meaning.ReadingName();
  auto reading = std::make_unique<Number>(place_, name, FindErrorBand(errors_, name), units, number);
  numbers_.emplace(meaning, std::move(reading));
}

void MeasuredReadings::TakeTrace(const Meaning& meaning, const UnitRow& units, std::span<const float> samples,
                                 double step_s) {
  const auto found = traces_.find(meaning);
  if (found != traces_.end()) return found->second->Publish(units, samples, step_s);
  RequireRoom();
  auto reading = std::make_unique<Trace>(place_, meaning.ReadingName(), units, samples, step_s);
  traces_.emplace(meaning, std::move(reading));
}

}  // namespace Lumenar::Sigrok
