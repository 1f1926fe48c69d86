// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/RowWriter.h"

#include <fmt/format.h>

#include <utility>

#include "platform/base/Diagnostic.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using Json = nlohmann::ordered_json;
using Fields = std::vector<std::pair<std::string, std::string>>;

std::string PlainText(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  return value.is_null() ? "" : value.dump();
}

std::string CellOf(const Json& value) {
  if (!value.is_array()) return PlainText(value);
  std::string text;
  for (const Json& element : value) text += (text.empty() ? "" : " ") + PlainText(element);
  return text;
}

void AddFields(const std::string& prefix, const Json& object, Fields& fields) {
  for (const auto& [key, value] : object.items()) {
    if (value.is_object()) {
      AddFields(prefix + key + ".", value, fields);
    } else {
      fields.emplace_back(prefix + key, CellOf(value));
    }
  }
}

// As RFC 4180 has it.
std::string Quoted(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

std::string CsvLine(const std::vector<std::string>& cells) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) line += (i == 0 ? "" : ",") + Quoted(cells[i]);
  return line;
}

std::string ValueOf(const Fields& fields, const std::string& column) {
  for (const auto& [key, value] : fields) {
    if (key == column) return value;
  }
  return "";
}

}  // namespace

RowWriter::RowWriter(const Options& options, Row header) : format_(options.format), header_(std::move(header)) {}

void RowWriter::Add(const Json& object, Row cells) {
  switch (format_) {
    case Format::Json: return WriteOut(OneLine(object));
    case Format::Csv: return WriteCsv(object);
    case Format::Table: rows_.push_back(std::move(cells));
  }
}

void RowWriter::WriteCsv(const Json& object) {
  Fields fields;
  AddFields("", object, fields);
  if (csv_columns_.empty()) {
    for (const auto& [key, value] : fields) csv_columns_.push_back(key);
  }
  if (!csv_begun_) WriteOut(CsvLine(csv_columns_));
  csv_begun_ = true;
  std::vector<std::string> cells;
  for (const std::string& column : csv_columns_) cells.push_back(ValueOf(fields, column));
  WriteOut(CsvLine(cells));
}

void RowWriter::UseColumns(std::vector<std::string> columns) { csv_columns_ = std::move(columns); }

void RowWriter::Finish() {
  if (format_ == Format::Table) WriteTable(header_, std::move(rows_));
}

}  // namespace Lumenar::Mathctl
