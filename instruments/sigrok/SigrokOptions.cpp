// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/SigrokOptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string_view>

namespace Lumenar::Sigrok {

using Instruments::NumberSetting;
using Instruments::Settings;
using Instruments::TextSetting;

namespace {

constexpr double kMostPoints_double = 1 << 24;
constexpr double kLongest_s = 86400;
constexpr double kHighestLog = 5;

/// What `parse` makes of a setting; what is wrong with it begins with its name.
template <class ParseText>
auto Parsed(const Settings& settings, const std::string& name, ParseText parse) {
  const std::string text = TextSetting(settings, name);
  try {
    return parse(text);
  } catch (const std::invalid_argument& error) {
    throw std::invalid_argument(fmt::format("{}={}: {}", name, text, error.what()));
  }
}

std::vector<std::string> Listed(const std::string& text) {
  std::vector<std::string> names;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find_first_of(",:", begin), text.size());
    if (end > begin) names.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return names;
}

double WholeSetting(const Settings& settings, const std::string& name, double absent, double lower, double upper) {
  const double number = NumberSetting(settings, name, absent, lower, upper);
  if (number == std::floor(number)) return number;
  throw std::invalid_argument(fmt::format("{}={}: expected a whole number", name, TextSetting(settings, name)));
}

std::chrono::milliseconds TimeSetting(const Settings& settings, const std::string& name, double absent_s,
                                      double lower_s) {
  const double time_s = NumberSetting(settings, name, absent_s, lower_s, kLongest_s);
  return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(time_s));
}

}  // namespace

bool SigrokOptions::HasEnd() const {
  const auto is_limit = [](const DeviceOption& option) { return option.key.rfind("limit_", 0) == 0; };
  return std::any_of(config.begin(), config.end(), is_limit) ||
         std::any_of(device.options.begin(), device.options.end(), is_limit);
}

SigrokOptions ParseSigrokOptions(const Settings& settings) {
  constexpr double kShortestRetry_s = 0.1;
  SigrokOptions options;
  if (TextSetting(settings, "SIGROK_DEVICE").empty())
    throw std::invalid_argument("SIGROK_DEVICE names no device: expected DRIVER or DRIVER:KEY=VALUE..., as demo");
  options.device = Parsed(settings, "SIGROK_DEVICE", [](const std::string& text) { return ParseDeviceName(text); });
  options.config = Parsed(settings, "SIGROK_CONFIG", [](const std::string& text) { return ParseDeviceOptions(text); });
  options.errors = Parsed(settings, "SIGROK_ERROR", [](const std::string& text) { return ErrorBandsFromText(text); });
  options.channels = Listed(TextSetting(settings, "SIGROK_CHANNELS"));
  options.attributes = Listed(TextSetting(settings, "SIGROK_ATTRIBUTES"));
  const double points = WholeSetting(settings, "SIGROK_POINTS", 0, 1, kMostPoints_double);
  if (points > 0) options.points = static_cast<std::size_t>(points);
  options.scan_limit = TimeSetting(settings, "SIGROK_SCAN_LIMIT", 10, kShortestRetry_s);
  options.retry = TimeSetting(settings, "SIGROK_RETRY", 3, kShortestRetry_s);
  if (!TextSetting(settings, "SIGROK_SILENCE").empty()) options.silence = TimeSetting(settings, "SIGROK_SILENCE", 0, 0);
  options.log_level = static_cast<int>(WholeSetting(settings, "SIGROK_LOG", 0, 0, kHighestLog));
  return options;
}

}  // namespace Lumenar::Sigrok
