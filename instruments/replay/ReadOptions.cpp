// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/ReadOptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "instruments/replay/LineReader.h"
#include "instruments/replay/XyTable.h"

namespace Lumenar::Replay {
namespace {

constexpr double kLowestRate_Hz = 1e-9;
constexpr double kHighestRate_Hz = 1e15;

Value::Units UnitsFromSetting(std::string_view text) {
  try {
    return Value::Units_from_text(text);
  } catch (const std::invalid_argument& error) {
    throw std::invalid_argument(fmt::format("{}={}: {}", kUnitsSetting, text, error.what()));
  }
}

/// The whole parts of a sweep, in order.
std::vector<std::vector<float>> Pieces(const std::vector<float>& sweep, std::size_t points) {
  std::vector<std::vector<float>> pieces;
  for (auto begin = sweep.begin(); static_cast<std::size_t>(sweep.end() - begin) >= points;) {
    const auto end = begin + static_cast<std::ptrdiff_t>(points);
    pieces.emplace_back(begin, end);
    begin = end;
  }
  return pieces;
}

}  // namespace

std::optional<Value::Units> ToldUnits(const ReadOptions& options, const std::string& channel) {
  std::optional<Value::Units> general;
  std::optional<std::string_view> rest = options.units;
  while (const auto item = TakeField(rest, ';')) {
    if (item->empty()) continue;
    const std::size_t equals = item->find('=');
    if (equals == std::string_view::npos) {
      general = UnitsFromSetting(*item);
    } else if (Trim(item->substr(0, equals)) == channel) {
      return UnitsFromSetting(Trim(item->substr(equals + 1)));
    }
  }
  return general;
}

double RateFromText(std::string_view text, std::size_t line) {
  std::string_view rest = text;
  const double number = ParseNumber(TakeWord(rest), line);
  const Value::Units units = ParseUnits(Trim(rest), line);
  const double rate_Hz = number * std::pow(10, units.base_power);
  const bool is_hertz = Value::Units_library::Compare_units(units, Value::Make_unit(Value::U_Hertz), false);
  if (!is_hertz || units.is_dB || !(rate_Hz >= kLowestRate_Hz && rate_Hz <= kHighestRate_Hz))
    throw FormatError(line, Quoted(text) + " is no sample rate");
  return rate_Hz;
}

void CutSweeps(RecordedFile& file, std::size_t points) {
  std::size_t count = kMaxPoints;
  for (Recording& recording : file.recordings) {
    std::vector<std::vector<float>> pieces;
    for (const auto& sweep : recording.sweeps)
      for (auto& piece : Pieces(sweep, points)) pieces.push_back(std::move(piece));
    recording.sweeps = std::move(pieces);
    count = std::min(count, recording.sweeps.size());
  }
  if (count == 0) throw FormatError(1, fmt::format("there are fewer than {} samples", points));
  for (Recording& recording : file.recordings) recording.sweeps.resize(count);
  const double step = file.recordings.front().x_step;
  const double rate_Hz = 1 / (step * static_cast<double>(points));
  if (step > 0 && std::isfinite(rate_Hz)) file.sweeps_per_s = rate_Hz;
}

}  // namespace Lumenar::Replay
