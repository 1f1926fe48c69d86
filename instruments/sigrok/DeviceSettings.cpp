// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/DeviceSettings.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

#include "platform/base/Diagnostic.h"
#include "platform/components/attributes/EngineAttribValueDouble_i.h"
#include "platform/records/Records.h"
#include "platform/units/exceptions.h"

namespace Lumenar::Sigrok {

using Instruments::Place;
using Record = Corvanta::VALUE_DOUBLE::VALUE;

namespace {

constexpr std::chrono::milliseconds kSettingLimit{4000};  // less than clients wait

/// GROUP.KEY or KEY, as an option without a value.
DeviceOption OptionNamed(const std::string& text) {
  const std::size_t dot = text.rfind('.');
  if (dot == std::string::npos) return {"", text, ""};
  return {text.substr(0, dot), text.substr(dot + 1), ""};
}

std::string ItemNameOf(const DeviceOption& option) {
  std::string name = option.group.empty() ? option.key : option.group + '_' + option.key;
  for (char& c : name) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    const bool good = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!good) c = '_';
  }
  return name;
}

[[noreturn]] void RefuseSetting(const std::string& item, const std::string& reason) {
  WriteOut(fmt::format("SIGROK: {} is not set: {}", item, reason));
  throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
}

}  // namespace

class DeviceSettings::Setting {
 public:
  Setting(const Place& place, SessionContext& context, const std::string& name)
      : place_(place),
        context_(context),
        option_(OptionNamed(name)),
        info_(OptionInfo(option_.key)),
        units_(UnitsOfOption(info_.key)) {
    if (!ValueFromNumber(info_, 0)) throw DeviceError(fmt::format("{} is no number that clients could set", name));
  }

  void Learn(const OpenDevice& device, const std::function<void()>& changed) {
    const sr_channel_group* group = device.Group(option_.group);
    const int can = sr_dev_config_capabilities_list(device.Instance(), group, static_cast<int>(info_.key));
    if ((can & static_cast<int>(SR_CONF_SET)) == 0)
      throw DeviceError(fmt::format("{}: the device lets nobody set this", ItemNameOf(option_)));
    limits_ = LimitsFrom(device.List(group, info_.key).get());
    const Record record = RecordOf(NumberFrom(device.Get(group, info_.key).get()).value_or(0));
    device_ = &device;
    changed_ = changed;
    if (attribute_) {
      *attribute_ = record;
    } else {
      attribute_ = std::make_unique<Corvanta::EngineAttribValueDouble_i>(place_.namer, place_.registration,
                                                                         ItemNameOf(option_).c_str(), record,
                                                                         [this](const Record& wanted) { Set(wanted); });
    }
  }

  void Forget() noexcept { device_ = nullptr; }

 private:
  Record RecordOf(double number) const {
    return VALUE::ValueToCorba(Value::Value_object<double>(number, units_, 0, 0));
  }

  /// A client's Set, on a thread of the ORB.
  void Set(const Record& wanted) {
    const double number = InOwnUnits(wanted);
    if (context_.Do([this, number] { SetAtDevice(number); }, kSettingLimit)) return;
    throw CORBA::NO_RESPONSE(0, CORBA::COMPLETED_NO);
  }

  double InOwnUnits(const Record& wanted) const {
    const Value::Value_object<double> value = VALUE::ValueFromCorba(wanted);
    if (value.Get_unit() == Value::C_Empty || value.Get_unit() == units_) return value.Get_value();
    try {
      return value.Convert_to(units_).Get_value();
    } catch (const Value::Value_exception&) {
      RefuseSetting(ItemNameOf(option_), "it has another unit");
    }
  }

  /// On the session's thread.
  void SetAtDevice(double number) {
    const std::string item = ItemNameOf(option_);
    if (device_ == nullptr) throw CORBA::NO_RESPONSE(0, CORBA::COMPLETED_NO);
    if (limits_ && !(number >= limits_->least && number <= limits_->greatest))
      RefuseSetting(item, fmt::format("{} is not from {} to {}", number, limits_->least, limits_->greatest));
    const VariantPtr value = ValueFromNumber(info_, number);
    if (!value) RefuseSetting(item, fmt::format("{} is no number for it", number));
    const sr_channel_group* group = device_->Group(option_.group);
    try {
      Require(sr_config_set(device_->Instance(), group, info_.key, value.get()), item);
      sr_config_commit(device_->Instance());
    } catch (const DeviceError& error) {
      RefuseSetting(item, error.what());
    }
    changed_();
    *attribute_ = RecordOf(NumberFrom(device_->Get(group, info_.key).get()).value_or(number));
  }

  const Place place_;
  SessionContext& context_;
  const DeviceOption option_;
  const sr_key_info& info_;
  const Value::Units units_;
  // The session's thread alone:
  const OpenDevice* device_ = nullptr;
  std::function<void()> changed_;
  std::optional<NumberLimits> limits_;
  std::unique_ptr<Corvanta::EngineAttribValueDouble_i> attribute_;
};

DeviceSettings::DeviceSettings(const Place& place, SessionContext& context, const std::vector<std::string>& names) {
  for (const std::string& name : names) settings_.push_back(std::make_unique<Setting>(place, context, name));
}

DeviceSettings::~DeviceSettings() = default;

void DeviceSettings::Learn(const OpenDevice& device, const std::function<void()>& changed) {
  for (const auto& setting : settings_) setting->Learn(device, changed);
}

void DeviceSettings::Forget() noexcept {
  for (const auto& setting : settings_) setting->Forget();
}

}  // namespace Lumenar::Sigrok
