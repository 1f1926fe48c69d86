// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/mathctl/command.h"
#include "tools/mathctl/table.h"

namespace Lumenar::Mathctl {

/// Results of one kind on standard output, in the format that was asked for.
///
/// JSON (one object a line) and CSV are written row by row as they come; a table, whose columns are as wide as their
/// widest cell, when all are there. The CSV columns are the keys of the first object; nested objects give
/// "outer.inner", lists are joined by blanks, texts are quoted where CSV needs it.
class RowWriter {
 public:
  /// `header` is the table's.
  RowWriter(const Options& options, Row header);
  RowWriter(const RowWriter&) = delete;
  RowWriter& operator=(const RowWriter&) = delete;

  /// The columns of CSV instead of those of the first object; to be called before the first row.
  void UseColumns(std::vector<std::string> columns);

  /// One result: as an object, and as the cells of a table.
  void Add(const nlohmann::ordered_json& object, Row cells);

  /// Writes the table. To be called once, after the last row.
  void Finish();

 private:
  void WriteCsv(const nlohmann::ordered_json& object);

  const Format format_;
  const Row header_;
  std::vector<Row> rows_;
  std::vector<std::string> csv_columns_;
  bool csv_begun_ = false;
};

}  // namespace Lumenar::Mathctl
