// SPDX-License-Identifier: Apache-2.0
#include "instruments/sim/SimConfig.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>

#include "platform/base/TextFile.h"

namespace Lumenar::Sim {
namespace {

constexpr std::uint32_t kMaxPoints = 1u << 24;
constexpr double kMaxRate_Hz = 10000;

struct KindName {
  std::string_view name;
  Kind kind;
};
constexpr std::array kKinds = {KindName{"trace", Kind::Trace}, KindName{"value", Kind::Value},
                               KindName{"long", Kind::Long}, KindName{"setting", Kind::Setting}};

struct WaveName {
  std::string_view name;
  Wave wave;
};
constexpr std::array kWaves = {WaveName{"constant", Wave::Constant}, WaveName{"count", Wave::Count},
                               WaveName{"ramp", Wave::Ramp},         WaveName{"sine", Wave::Sine},
                               WaveName{"square", Wave::Square},     WaveName{"noise", Wave::Noise}};

constexpr std::string_view kBlanks = " \t\r";

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// Takes the part in front of the first of `separators` off a text, trimmed.
std::string_view TakePart(std::string_view& rest, std::string_view separators) {
  const std::size_t end = rest.find_first_of(separators);
  const std::string_view part = Trim(rest.substr(0, end));
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  return part;
}

/// A whole text as a number from lower to upper.
template <class Number>
Number ParseNumber(std::string_view text, Number lower, Number upper) {
  Number number{};
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool good = error == std::errc() && stop == text.data() + text.size() && number >= lower && number <= upper;
  if (!good) throw std::invalid_argument(fmt::format("expected a number from {} to {}", lower, upper));
  return number;
}

double ParseFinite(std::string_view text) {
  constexpr double kLargest = std::numeric_limits<double>::max();
  return ParseNumber<double>(text, -kLargest, kLargest);
}

int ParseLong(std::string_view text) {
  return ParseNumber<std::int32_t>(text, std::numeric_limits<std::int32_t>::min(),
                                   std::numeric_limits<std::int32_t>::max());
}

Wave ParseWave(std::string_view text) {
  for (const auto& [name, wave] : kWaves) {
    if (text == name) return wave;
  }
  throw std::invalid_argument("expected constant, count, ramp, sine, square or noise");
}

using Setter = void (*)(ItemConfig&, std::string_view);

/// A key, the kinds that have it, and what it does.
struct Key {
  std::string_view name;
  std::string_view kinds;  ///< first letters
  Setter set;
};

constexpr std::array kKeys = {
    Key{"rate", "tvl",
        [](ItemConfig& item, std::string_view text) { item.rate_Hz = ParseNumber<double>(text, 0, kMaxRate_Hz); }},
    Key{"units", "tv", [](ItemConfig& item, std::string_view text) { item.units = Value::Units_from_text(text); }},
    Key{"wave", "tvl", [](ItemConfig& item, std::string_view text) { item.form.wave = ParseWave(text); }},
    Key{"amplitude", "tvl", [](ItemConfig& item, std::string_view text) { item.form.amplitude = ParseFinite(text); }},
    Key{"offset", "tvl", [](ItemConfig& item, std::string_view text) { item.form.offset = ParseFinite(text); }},
    Key{"period", "tvl",
        [](ItemConfig& item, std::string_view text) {
          item.form.period = ParseNumber<std::uint32_t>(text, 1, kMaxPoints);
        }},
    Key{"seed", "tvl",
        [](ItemConfig& item, std::string_view text) {
          item.form.seed = ParseNumber<std::uint64_t>(text, 0, std::numeric_limits<std::uint64_t>::max());
        }},
    Key{"points", "t",
        [](ItemConfig& item, std::string_view text) { item.points = ParseNumber<std::uint32_t>(text, 1, kMaxPoints); }},
    Key{"xstep", "t", [](ItemConfig& item, std::string_view text) { item.x_step = ParseFinite(text); }},
    Key{"error", "v",
        [](ItemConfig& item, std::string_view text) {
          item.error = ParseNumber<double>(text, 0, std::numeric_limits<double>::max());
        }},
    Key{"value", "s", [](ItemConfig& item, std::string_view text) { item.initial = ParseLong(text); }},
    Key{"lower", "s", [](ItemConfig& item, std::string_view text) { item.lower = ParseLong(text); }},
    Key{"upper", "s", [](ItemConfig& item, std::string_view text) { item.upper = ParseLong(text); }},
};

const Key* FindKey(std::string_view name, char kind) {
  const auto* found = std::find_if(kKeys.begin(), kKeys.end(), [&](const Key& key) {
    return key.name == name && key.kinds.find(kind) != std::string_view::npos;
  });
  return found == kKeys.end() ? nullptr : found;
}

void SetKey(ItemConfig& item, std::string_view kind, std::string_view field) {
  const std::size_t equals = field.find('=');
  const std::string_view name = Trim(field.substr(0, equals));
  const Key* key = FindKey(name, kind[0]);
  if (key == nullptr) throw std::invalid_argument(fmt::format("a {} has no key \"{}\"", kind, name));
  if (equals == std::string_view::npos) throw std::invalid_argument(fmt::format("expected {}=VALUE", name));
  try {
    key->set(item, Trim(field.substr(equals + 1)));
  } catch (const std::invalid_argument& error) {
    throw std::invalid_argument(fmt::format("{}: {}", name, error.what()));
  }
}

bool IsName(std::string_view name) {
  const auto is_good = [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
  };
  return !name.empty() && std::all_of(name.begin(), name.end(), is_good);
}

Kind ParseKind(std::string_view text) {
  for (const auto& [name, kind] : kKinds) {
    if (text == name) return kind;
  }
  throw std::invalid_argument("expected trace, value, long or setting in front");
}

ItemConfig ParseItem(std::string_view text) {
  ItemConfig item;
  std::string_view rest = text;
  const std::string_view kind = TakePart(rest, ":");
  item.kind = ParseKind(kind);
  item.form.period = 0;  // not set yet
  item.name = TakePart(rest, ":");
  if (!IsName(item.name)) throw std::invalid_argument("expected a name of letters, digits and \"_\"");
  while (!rest.empty()) SetKey(item, kind, TakePart(rest, ":"));
  if (item.form.period == 0) item.form.period = item.kind == Kind::Trace ? item.points : WaveForm().period;
  if (item.lower > item.upper) throw std::invalid_argument("lower is greater than upper");
  return item;
}

}  // namespace

std::vector<ItemConfig> ParseItems(std::string_view text) {
  std::vector<ItemConfig> items;
  while (!text.empty()) {
    const std::string_view item = TakePart(text, ";\n");
    if (item.empty() || item[0] == '#') continue;
    try {
      items.push_back(ParseItem(item));
    } catch (const std::invalid_argument& error) {
      throw std::invalid_argument(fmt::format("item \"{}\": {}", item, error.what()));
    }
  }
  return items;
}

namespace {

/// The items of a file, line by line.
/// Errors   std::invalid_argument, "SIM_CONFIG=PATH:LINE: reason".
std::vector<ItemConfig> ItemsOfFile(const std::string& path) {
  constexpr std::size_t kLongestLine = 65536;
  std::vector<ItemConfig> items;
  std::string place = "SIM_CONFIG=";
  try {
    TextFile file(path);
    int number = 0;
    for (std::string line; file.NextLine(line, kLongestLine);) {
      place = fmt::format("SIM_CONFIG={}:{}: ", path, ++number);
      if (line.size() > kLongestLine)
        throw std::invalid_argument(fmt::format("a line has at most {} bytes", kLongestLine));
      for (ItemConfig& item : ParseItems(line)) items.push_back(std::move(item));
    }
  } catch (const std::exception& error) {
    throw std::invalid_argument(place + error.what());
  }
  return items;
}

}  // namespace

std::vector<ItemConfig> ReadSimConfig(const Instruments::Settings& settings) {
  std::vector<ItemConfig> items = ParseItems(Instruments::TextSetting(settings, "SIM_READINGS"));
  const std::string path = Instruments::TextSetting(settings, "SIM_CONFIG");
  if (!path.empty()) {
    for (ItemConfig& item : ItemsOfFile(path)) items.push_back(std::move(item));
  }
  if (items.empty()) throw std::invalid_argument("SIM_READINGS and SIM_CONFIG name no reading");
  return items;
}

}  // namespace Lumenar::Sim
