// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/OpenDevice.h"

#include <fmt/format.h>

#include <algorithm>

namespace Lumenar::Sigrok {
namespace {

void RequireChannel(const std::vector<std::string>& channels, const std::string& name) {
  if (std::find(channels.begin(), channels.end(), name) != channels.end()) return;
  throw DeviceError(fmt::format("it has no analog channel \"{}\" but {}", name, fmt::join(channels, ", ")));
}

/// Gives up what a driver has found, also where the device cannot be used.
class FoundDevices {
 public:
  explicit FoundDevices(const sr_dev_driver* driver) : driver_(driver) {}
  ~FoundDevices() {
    if (driver_ == nullptr) return;
    if (open_ != nullptr) sr_dev_close(open_);
    sr_dev_clear(driver_);
  }
  FoundDevices(const FoundDevices&) = delete;
  FoundDevices& operator=(const FoundDevices&) = delete;
  void IsOpen(sr_dev_inst* device) noexcept { open_ = device; }
  void Keep() noexcept { driver_ = nullptr; }

 private:
  const sr_dev_driver* driver_;
  sr_dev_inst* open_ = nullptr;
};

}  // namespace

OpenDevice::OpenDevice(const SigrokLibrary& library, const Wanted& wanted)
    : driver_(library.Driver(wanted.name.driver)) {
  FoundDevices found(driver_);
  instance_ = Choose(wanted.name, Scan(library, wanted.name).get());
  Require(sr_dev_open(instance_), "it cannot be opened");
  found.IsOpen(instance_);
  UseChannels(wanted.channels);
  for (const DeviceOption& option : wanted.options) Set(option);
  sr_config_commit(instance_);  // of devices that take their settings together; the others say that they do not
  found.Keep();
}

OpenDevice::~OpenDevice() {
  sr_dev_close(instance_);
  sr_dev_clear(driver_);
}

sr_dev_inst* OpenDevice::Choose(const DeviceName& name, const GSList* found) const {
  const unsigned count = g_slist_length(const_cast<GSList*>(found));
  if (count == 0) throw DeviceError("no device answers");
  if (count > 1)
    throw DeviceError(fmt::format("{} devices answer: mathctl discover {} shows how to name one", count, name.Text()));
  return static_cast<sr_dev_inst*>(found->data);
}

const sr_channel_group* OpenDevice::Group(const std::string& name) const {
  if (name.empty()) return nullptr;
  for (const GSList* item = sr_dev_inst_channel_groups_get(instance_); item != nullptr; item = item->next) {
    const auto* group = static_cast<const sr_channel_group*>(item->data);
    if (name == group->name) return group;
  }
  throw DeviceError(fmt::format("it has no group of channels \"{}\"", name));
}

VariantPtr OpenDevice::Get(const sr_channel_group* group, std::uint32_t key) const {
  GVariant* value = nullptr;
  return VariantPtr(sr_config_get(driver_, instance_, group, key, &value) == SR_OK ? value : nullptr);
}

VariantPtr OpenDevice::List(const sr_channel_group* group, std::uint32_t key) const {
  GVariant* value = nullptr;
  return VariantPtr(sr_config_list(driver_, instance_, group, key, &value) == SR_OK ? value : nullptr);
}

void OpenDevice::Set(const DeviceOption& option) const {
  const sr_channel_group* group = Group(option.group);
  const sr_key_info& info = OptionInfo(option.key);
  if ((sr_dev_config_capabilities_list(instance_, group, static_cast<int>(info.key)) & static_cast<int>(SR_CONF_SET)) ==
      0)
    throw DeviceError(fmt::format("{}: the device lets nobody set this", option.Text()));
  const VariantPtr value = ValueFromText(info, option.value);
  Require(sr_config_set(instance_, group, info.key, value.get()), option.Text());
}

double OpenDevice::SampleRate_Hz() const {
  const VariantPtr value = Get(nullptr, SR_CONF_SAMPLERATE);
  if (!value || g_variant_is_of_type(value.get(), G_VARIANT_TYPE_UINT64) == FALSE) return 0;
  return static_cast<double>(g_variant_get_uint64(value.get()));
}

void OpenDevice::UseChannels(const std::vector<std::string>& names) const {
  const std::vector<std::string> analog = AnalogChannels(instance_);
  if (analog.empty()) throw DeviceError("it has no analog channel");
  for (const std::string& name : names) RequireChannel(analog, name);
  for (const GSList* item = sr_dev_inst_channels_get(instance_); item != nullptr; item = item->next) {
    auto* channel = static_cast<sr_channel*>(item->data);
    const bool wanted = names.empty() || std::find(names.begin(), names.end(), channel->name) != names.end();
    const bool on = channel->type == SR_CHANNEL_ANALOG && wanted;
    Require(sr_dev_channel_enable(channel, on ? TRUE : FALSE), fmt::format("channel {}", channel->name));
  }
}

std::vector<std::string> AnalogChannels(const sr_dev_inst* device) {
  std::vector<std::string> names;
  for (const GSList* item = sr_dev_inst_channels_get(device); item != nullptr; item = item->next) {
    const auto* channel = static_cast<const sr_channel*>(item->data);
    if (channel->type == SR_CHANNEL_ANALOG) names.emplace_back(channel->name);
  }
  return names;
}

}  // namespace Lumenar::Sigrok
