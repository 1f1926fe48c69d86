// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/ScopeReader.h"

#include "instruments/replay/XyTable.h"

namespace Lumenar::Replay {
namespace {

Line Header(LineReader& lines, const char* what) {
  const auto line = lines.Next();
  if (!line) throw FormatError(lines.Number(), std::string("expected the line with the columns' ") + what);
  return *line;
}

}  // namespace

RecordedFile ReadScope(std::string_view text) {
  LineReader lines(text);
  TwoFields(Header(lines, "names"));
  const Line units = Header(lines, "units");
  const auto [x, y] = TwoFields(units);
  const Value::Units x_units = ParseUnits(x, units.number);
  const Value::Units y_units = ParseUnits(y, units.number);
  return OneSweep(ReadXyTable(lines), x_units, y_units);
}

}  // namespace Lumenar::Replay
