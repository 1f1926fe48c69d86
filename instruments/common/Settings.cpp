// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/Settings.h"

#include <fmt/format.h>
#include <unistd.h>

#include <charconv>
#include <stdexcept>
#include <string_view>

namespace Lumenar::Instruments {

Settings SettingsFromEnvironment(const std::string& prefix) {
  Settings settings;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    const std::string_view text = *variable;
    const auto equals = text.find('=');
    if (text.substr(0, prefix.size()) != prefix || equals == std::string_view::npos) continue;
    settings.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  return settings;
}

std::string TextSetting(const Settings& settings, const std::string& name) {
  const auto found = settings.find(name);
  return found == settings.end() ? std::string() : found->second;
}

double NumberSetting(const Settings& settings, const std::string& name, double absent, double lower, double upper) {
  const std::string text = TextSetting(settings, name);
  if (text.empty()) return absent;
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool good = error == std::errc() && end == text.data() + text.size() && number >= lower && number <= upper;
  if (!good)
    throw std::invalid_argument(fmt::format("{}={}: expected a number from {} to {}", name, text, lower, upper));
  return number;
}

}  // namespace Lumenar::Instruments
