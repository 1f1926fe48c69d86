// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/OtdrReader.h"

#include "instruments/replay/XyTable.h"

namespace Lumenar::Replay {
namespace {

/// The unit in a heading like "Distance [m]".
Value::Units UnitsOfHeading(std::string_view heading, std::size_t line) {
  const std::size_t open = heading.rfind('[');
  if (open == std::string_view::npos || heading.back() != ']') {
    throw FormatError(line, "expected a heading like \"Distance [m]\", found " + Quoted(heading));
  }
  return ParseUnits(heading.substr(open + 1, heading.size() - open - 2), line);
}

}  // namespace

RecordedFile ReadOtdr(std::string_view text) {
  LineReader lines(text);
  const auto header = lines.Next();
  if (!header) throw FormatError(lines.Number(), "expected the line with the columns' names");
  const auto [x, y] = TwoFields(*header);
  const Value::Units x_units = UnitsOfHeading(x, header->number);
  const Value::Units y_units = UnitsOfHeading(y, header->number);
  return OneSweep(ReadXyTable(lines), x_units, y_units);
}

}  // namespace Lumenar::Replay
