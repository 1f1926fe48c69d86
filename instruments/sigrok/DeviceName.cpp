// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/DeviceName.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace Lumenar::Sigrok {
namespace {

constexpr char kBetween = ':';

/// How connections over a network begin.
constexpr std::array<std::string_view, 4> kNetworks = {"tcp", "udp", "vxi", "visa"};

/// Takes the part in front of the next separator off a text.
std::string_view TakePart(std::string_view& rest) {
  const std::size_t end = std::min(rest.find(kBetween), rest.size());
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return part;
}

bool IsNetwork(std::string_view connection) {
  std::string lower(connection);
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return std::any_of(kNetworks.begin(), kNetworks.end(), [&](std::string_view begin) {
    return lower.size() > begin.size() && lower.compare(0, begin.size(), begin) == 0;
  });
}

DeviceOption ParseOption(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos || equals == 0)
    throw std::invalid_argument(fmt::format("expected KEY=VALUE, found \"{}\"", text));
  const std::string_view name = text.substr(0, equals);
  const std::size_t dot = name.rfind('.');
  DeviceOption option;
  if (dot != std::string_view::npos) option.group = name.substr(0, dot);
  option.key = dot == std::string_view::npos ? name : name.substr(dot + 1);
  option.value = text.substr(equals + 1);
  if (option.key.empty()) throw std::invalid_argument(fmt::format("expected KEY=VALUE, found \"{}\"", text));
  return option;
}

}  // namespace

std::string DeviceOption::Text() const {
  return group.empty() ? fmt::format("{}={}", key, value) : fmt::format("{}.{}={}", group, key, value);
}

std::string DeviceName::Text() const {
  std::string text = driver;
  for (const DeviceOption& option : options) text += kBetween + option.Text();
  return text;
}

std::string DeviceName::Connection() const {
  const auto found =
      std::find_if(options.begin(), options.end(), [](const DeviceOption& option) { return option.key == "conn"; });
  return found == options.end() ? std::string() : found->value;
}

DeviceName ParseDeviceName(std::string_view text) {
  DeviceName name;
  name.driver = TakePart(text);
  if (name.driver.empty()) throw std::invalid_argument("names no driver: expected DRIVER or DRIVER:KEY=VALUE...");
  name.options = ParseDeviceOptions(text);
  if (IsNetwork(name.Connection())) {
    throw std::invalid_argument(fmt::format(
        "conn={} is on a network, where this instrument reads nothing: the instrument scpi does", name.Connection()));
  }
  return name;
}

std::vector<DeviceOption> ParseDeviceOptions(std::string_view text) {
  std::vector<DeviceOption> options;
  while (!text.empty()) {
    const std::string_view part = TakePart(text);
    if (!part.empty()) options.push_back(ParseOption(part));
  }
  return options;
}

}  // namespace Lumenar::Sigrok
