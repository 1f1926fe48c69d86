// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/table.h"

#include <algorithm>
#include <cstddef>

#include "platform/base/Diagnostic.h"

namespace Lumenar::Mathctl {
namespace {

// Characters, not bytes: continuation bytes of UTF-8 take no column.
std::size_t WidthOf(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::vector<std::size_t> ColumnWidths(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths;
  for (const Row& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], WidthOf(row[i]));
  }
  return widths;
}

}  // namespace

std::vector<std::string> AlignedLines(const std::vector<Row>& rows) {
  const auto widths = ColumnWidths(rows);
  std::vector<std::string> lines;
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i];
      line.append(widths[i] - WidthOf(row[i]) + 2, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    lines.push_back(std::move(line));
  }
  return lines;
}

void WriteTable(const Row& header, std::vector<Row> rows) {
  if (!header.empty()) rows.insert(rows.begin(), header);
  for (const std::string& line : AlignedLines(rows)) WriteOut(line);
}

}  // namespace Lumenar::Mathctl
