// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/items.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

#include "instruments/common/NumberReading.h"
#include "instruments/common/TraceReading.h"
#include "instruments/scpi/numbers.h"
#include "platform/components/attributes/EngineAttribValueDouble_i.h"
#include "platform/components/readings/EngineBasicTrace_i.h"
#include "platform/records/Records.h"
#include "platform/units/exceptions.h"

namespace Lumenar::Scpi {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using Instruments::Place;
using ScalarRecord = Corvanta::VALUE_DOUBLE::VALUE;

/// What traces and scalars have in common.
class MeasuredItem : public DeviceItem {
 public:
  MeasuredItem(const ReadingConfig& config, const Place& place, std::string name, Milliseconds timeout)
      : config_(config), place_(place), name_(std::move(name)), timeout_(config.timeout.value_or(timeout)) {}

  void Prepare(Session& session) override {
    scaling_.zero = session.ValueOf(config_.zero);
    scaling_.scale = session.ValueOf(config_.scale);
    scaling_.offset = session.ValueOf(config_.offset);
  }

 protected:
  Answer Take(Session& session) const {
    session.Send(config_.single, timeout_);
    return session.Ask(config_.query, timeout_);
  }

  const ReadingConfig& config_;
  const Place place_;
  const std::string name_;
  Scaling scaling_;

 private:
  const Milliseconds timeout_;
};

class TraceItem : public MeasuredItem {
 public:
  TraceItem(const ReadingConfig& config, const Place& place, std::string name, Milliseconds timeout)
      : MeasuredItem(config, place, std::move(name), timeout), record_(DefaultRecord<BT_DATA>()) {
    record_.units = VALUE::UnitsToCorba(config.units);
    record_.header[2] = static_cast<CORBA::ULong>(config.x_unit);
  }

  void Prepare(Session& session) override {
    MeasuredItem::Prepare(session);
    axis_.clear();
    for (const Figure& figure : config_.x) axis_.push_back(session.ValueOf(figure) * config_.x_factor);
  }

  void Measure(Session& session) override {
    const std::vector<float> samples = SamplesOf(Take(session), config_.form, scaling_);
    record_.samples.length(static_cast<CORBA::ULong>(samples.size()));
    std::copy(samples.begin(), samples.end(), record_.samples.get_buffer());
    record_.x_step = StepOf(samples.size());
    record_.sequence_number = next_number_++;
    Instruments::SetCaptureTime(record_, Instruments::CaptureTimeNow());
    if (!reading_)
      reading_ =
          std::make_unique<Corvanta::EngineBasicTrace_i>(place_.namer, place_.registration, name_.c_str(), record_);
    *reading_ = std::move(record_);  // which comes back with the buffer of the sample before
  }

 private:
  double StepOf(std::size_t points) const {
    double step = axis_.size() == 1 ? axis_[0] : 0;
    if (axis_.size() == 2 && points > 1) step = (axis_[1] - axis_[0]) / static_cast<double>(points - 1);
    return std::isfinite(step) ? step : 0;
  }

  std::vector<double> axis_;
  BT_DATA record_;
  std::uint32_t next_number_ = 0;
  std::unique_ptr<Corvanta::EngineBasicTrace_i> reading_;
};

class ScalarItem : public MeasuredItem {
 public:
  using MeasuredItem::MeasuredItem;

  void Measure(Session& session) override {
    const double number = scaling_.Of(NumberOf(Take(session), config_.form));
    const double band = config_.error.Of(number);
    const Instruments::Number value(number, config_.units, 0 - band, band);
    if (!reading_) reading_ = std::make_unique<Instruments::NumberReading>(place_, name_, value);
    reading_->Publish(value);
  }

 private:
  std::unique_ptr<Instruments::NumberReading> reading_;
};

/// What clients set is told to the device, and what the device then says is the value.
class SettingItem : public DeviceItem {
 public:
  SettingItem(const SettingConfig& config, const Place& place, std::string name, SetNumber set, Refuse refuse)
      : config_(config), place_(place), name_(std::move(name)), set_(std::move(set)), refuse_(std::move(refuse)) {}

  void Prepare(Session& session) override {
    const double number = NumberOf(session.Ask(config_.get), NumberForm{});
    const ScalarRecord record = VALUE::ValueToCorba({number, config_.units, 0, 0});
    if (attribute_) {
      *attribute_ = record;
      return;
    }
    attribute_ = place_.Create<Corvanta::EngineAttribValueDouble_i>(name_, record,
                                                                    [this](const ScalarRecord& wish) { Set(wish); });
  }

  void Measure(Session&) override {}

 private:
  void Set(const ScalarRecord& wish) {
    const auto number = InOwnUnit(wish);
    if (!number) RefuseWish("the unit does not fit");
    const auto& limits = config_.limits;
    if (!std::isfinite(*number)) RefuseWish("it is not finite");
    if (limits && (*number < limits->first || *number > limits->second))
      RefuseWish(fmt::format("{} is outside the limits, {} to {} {}", *number, limits->first, limits->second,
                             Value::Units_text(config_.units)));
    set_(*number);
  }

  std::optional<double> InOwnUnit(const ScalarRecord& wish) const {
    try {
      return VALUE::ValueFromCorba(wish).Convert_to(config_.units).Get_value();
    } catch (const Value::Value_exception&) {
      return std::nullopt;
    }
  }

  [[noreturn]] void RefuseWish(const std::string& why) const {
    refuse_(fmt::format("{} is not set: {}", name_, why));
    throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
  }

  const SettingConfig& config_;
  const Place place_;
  const std::string name_;
  const SetNumber set_;
  const Refuse refuse_;
  std::unique_ptr<Corvanta::EngineAttribValueDouble_i> attribute_;
};

}  // namespace

std::unique_ptr<DeviceItem> MakeReading(const ReadingConfig& config, const Place& place, std::string name,
                                        Milliseconds timeout) {
  if (config.is_trace) return std::make_unique<TraceItem>(config, place, std::move(name), timeout);
  return std::make_unique<ScalarItem>(config, place, std::move(name), timeout);
}

std::unique_ptr<DeviceItem> MakeSetting(const SettingConfig& config, const Place& place, std::string name,
                                        SetNumber set, Refuse refuse) {
  return std::make_unique<SettingItem>(config, place, std::move(name), std::move(set), std::move(refuse));
}

std::string CommandWith(const SettingConfig& config, double number) {
  std::string command = config.set;
  return command.replace(command.find("{}"), 2, fmt::format("{}", number));
}

}  // namespace Lumenar::Scpi
