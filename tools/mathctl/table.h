// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace Lumenar::Mathctl {

using Row = std::vector<std::string>;

/// Rows as lines with aligned columns, two blanks apart, without trailing blanks. Rows may differ in length.
std::vector<std::string> AlignedLines(const std::vector<Row>& rows);

/// Writes a header and the rows to standard output, aligned; just the rows when the header is empty.
void WriteTable(const Row& header, std::vector<Row> rows);

}  // namespace Lumenar::Mathctl
