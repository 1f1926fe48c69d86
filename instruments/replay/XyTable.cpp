// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/XyTable.h"

#include <fmt/format.h>

#include <cmath>
#include <stdexcept>
#include <utility>

namespace Lumenar::Replay {

std::pair<std::string_view, std::string_view> TwoFields(const Line& line) {
  std::optional<std::string_view> rest = line.text;
  const auto first = TakeField(rest, ',');
  const auto second = TakeField(rest, ',');
  if (!second || rest)
    throw FormatError(line.number, "expected two fields with a comma between, found " + Quoted(line.text));
  return {*first, *second};
}

XyTable ReadXyTable(LineReader& lines) {
  XyTable table;
  while (const auto line = lines.Next()) {
    if (Trim(line->text).empty()) continue;
    const auto [x, y] = TwoFields(*line);
    const double position = ParseNumber(x, line->number);
    if (!table.x.empty() && position <= table.x.back()) {
      throw FormatError(line->number, fmt::format("{} does not follow {}", position, table.x.back()));
    }
    if (table.x.size() == kMaxPoints) throw FormatError(line->number, fmt::format("more than {} points", kMaxPoints));
    table.x.push_back(position);
    table.y.push_back(ParseSample(y, line->number));
  }
  if (table.x.empty()) throw FormatError(lines.Number(), "there are no points");
  return table;
}

Value::Units ParseUnits(std::string_view text, std::size_t line) {
  try {
    return Value::Units_from_text(text);
  } catch (const std::invalid_argument&) {
    throw FormatError(line, Quoted(text) + " is not a unit");
  }
}

double StepOf(std::span<const double> axis, double scale) {
  if (axis.size() < 2) return 0;
  const double step = (axis.back() - axis.front()) / static_cast<double>(axis.size() - 1);
  for (std::size_t i = 0; i < axis.size(); ++i) {
    const bool even = std::abs(axis[i] - (axis.front() + static_cast<double>(i) * step)) <= std::abs(step) / 10;
    if (!even) return 0;
  }
  return std::isfinite(step * scale) ? step * scale : 0;
}

RecordedFile OneSweep(XyTable table, const Value::Units& x, const Value::Units& y) {
  Recording recording;
  recording.units = y;
  recording.x_step = StepOf(table.x, std::pow(Value::Units_library::Get_unit_base(x), x.base_power));
  recording.x_unit = x.slots[0].exponent == 1 ? x.slots[0].unit : Value::U_None;
  recording.sweeps.push_back(std::move(table.y));
  RecordedFile file;
  file.recordings.push_back(std::move(recording));
  return file;
}

}  // namespace Lumenar::Replay
