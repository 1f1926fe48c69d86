// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/ScpiInstrument.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "instruments/scpi/Device.h"
#include "instruments/scpi/DeviceFile.h"
#include "instruments/scpi/ready_files.h"
#include "instruments/scpi/words.h"

namespace Lumenar::Scpi {
namespace {

constexpr const char* kSetting = "SCPI_DEVICES";

/// Takes "NAME=" off a text. A path may have that sign too, but not behind a name alone.
std::string TakePrefix(std::string_view& text) {
  constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";
  const std::size_t end = std::min(text.find_first_not_of(kLetters), text.size());
  if (end == 0 || end == text.size() || text[end] != '=') return {};
  const std::string name(text.substr(0, end));
  text.remove_prefix(end + 1);
  return name + '_';
}

NamedDevice DeviceOf(std::string_view text) {
  NamedDevice device;
  device.prefix = TakePrefix(text);
  const std::size_t at = std::min(text.rfind('@'), text.size());
  device.config = DeviceFromFile(PathOfDeviceFile(std::string(Trimmed(text.substr(0, at)))));
  if (at < text.size()) device.config.address = AddressFromText(Trimmed(text.substr(at + 1)));
  if (!device.config.address)
    throw std::invalid_argument(device.config.file + ": has no connect: write the address behind it, FILE@HOST:PORT");
  return device;
}

std::vector<std::string> NamesOf(const DeviceConfig& config) {
  std::vector<std::string> names;
  for (const ReadingConfig& reading : config.readings) names.push_back(reading.name);
  for (const SettingConfig& setting : config.settings) names.push_back(setting.name);
  return names;
}

void RequireNamesOnce(const std::vector<NamedDevice>& devices) {
  std::map<std::string, std::string> files;
  for (const NamedDevice& device : devices) {
    for (const std::string& name : NamesOf(device.config)) {
      const auto [at, is_new] = files.emplace(device.prefix + name, device.config.file);
      if (!is_new)
        throw std::invalid_argument(fmt::format("{} and {} both have an item {}: put a name before one, as DMM=FILE",
                                                at->second, device.config.file, at->first));
    }
  }
}

}  // namespace

std::vector<NamedDevice> DevicesFromSettings(const Instruments::Settings& settings) {
  const std::string setting = Instruments::TextSetting(settings, kSetting);
  std::vector<NamedDevice> devices;
  std::string_view rest = setting;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(';'), rest.size());
    const std::string_view text = Trimmed(rest.substr(0, end));
    if (!text.empty()) devices.push_back(DeviceOf(text));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  if (devices.empty())
    throw std::invalid_argument(fmt::format("{} names no device: expected FILE or FILE@HOST:PORT", kSetting));
  RequireNamesOnce(devices);
  return devices;
}

ScpiInstrument::ScpiInstrument(const Instruments::Settings& settings) : configs_(DevicesFromSettings(settings)) {}

ScpiInstrument::~ScpiInstrument() = default;

void ScpiInstrument::Offer(const Instruments::Place& place) {
  for (const auto& [config, prefix] : configs_)
    RunPart(*devices_.emplace_back(std::make_unique<Device>(config, prefix, place)));
}

}  // namespace Lumenar::Scpi
