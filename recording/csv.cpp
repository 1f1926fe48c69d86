// SPDX-License-Identifier: Apache-2.0
#include "recording/csv.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <iterator>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <variant>

#include "recording/lines.h"
#include "recording/text_forms.h"

namespace Lumenar::Recording {
namespace {

using Corvanta::SampleRecord;
using Corvanta::BASIC_TRACE::BT_DATA;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

constexpr std::string_view kMark = "# ";
constexpr std::string_view kColumns =
    "time,reading,kind,present,units,units_fields,value,minus_err,plus_err,sequence_number,flags,header,x_step,points";
constexpr std::size_t kLongestRow = (std::size_t{1} << 24) * 17 + (std::size_t{1} << 20);
constexpr CORBA::ULong kMostPoints = CORBA::ULong{1} << 24;

template <class T>
using BitsOf = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;

constexpr std::uint64_t kQuietNaN32 = 0x7FC00000;
constexpr std::uint64_t kQuietNaN64 = 0x7FF8000000000000;

// The shortest decimal that reads back the same; "inf", "-inf", "nan", and "nan:BITS" of other not-a-numbers.
template <class T>
std::string NumberText(T number) {
  if (!std::isnan(number)) return fmt::format("{}", number);
  const auto bits = std::bit_cast<BitsOf<T>>(number);
  const bool usual = bits == (sizeof(T) == 4 ? kQuietNaN32 : kQuietNaN64);
  return usual ? "nan" : fmt::format("nan:{:0{}x}", bits, sizeof(T) * 2);
}

template <class T>
T NumberFrom(std::string_view text, int base = 10) {
  T number{};
  std::from_chars_result result{};
  if constexpr (std::is_integral_v<T>) {
    result = std::from_chars(text.data(), text.data() + text.size(), number, base);
  } else if (text.substr(0, 4) == "nan:") {
    return std::bit_cast<T>(NumberFrom<BitsOf<T>>(text.substr(4), 16));
  } else if (text == "nan") {
    return std::bit_cast<T>(static_cast<BitsOf<T>>(sizeof(T) == 4 ? kQuietNaN32 : kQuietNaN64));
  } else {
    result = std::from_chars(text.data(), text.data() + text.size(), number);
  }
  if (result.ec != std::errc() || result.ptr != text.data() + text.size())
    throw std::invalid_argument("a cell is not the number that it should be");
  return number;
}

std::string Cell(const std::string& text) {
  if (std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }))
    throw std::invalid_argument("a name with control characters cannot be written as CSV");
  if (text.find_first_of(",\"#") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

// Takes the cells of a row one by one.
class Cells {
 public:
  explicit Cells(std::string_view row) : rest_(row) {}

  std::string_view Next() {
    if (over_) throw std::invalid_argument("the row has too few cells");
    if (!rest_.empty() && rest_.front() == '"') return Quoted();
    const std::size_t end = rest_.find(',');
    const std::string_view cell = rest_.substr(0, end);
    Pass(cell.size());
    return cell;
  }

  template <class T>
  T Number() {
    return NumberFrom<T>(Next());
  }

  void RequireOver() const {
    if (!over_) throw std::invalid_argument("the row has too many cells");
  }

 private:
  std::string_view Quoted() {
    unquoted_.clear();
    std::size_t at = 1;
    for (; at < rest_.size(); ++at) {
      if (rest_[at] == '"' && (at + 1 == rest_.size() || rest_[at + 1] != '"')) break;
      if (rest_[at] == '"') ++at;
      unquoted_.push_back(rest_[at]);
    }
    if (at >= rest_.size() || (at + 1 < rest_.size() && rest_[at + 1] != ','))
      throw std::invalid_argument("a cell's quotation mark is not closed");
    Pass(at + 1);
    return unquoted_;
  }

  // Passes over a cell and the comma behind it.
  void Pass(std::size_t length) {
    over_ = length >= rest_.size();
    rest_.remove_prefix(over_ ? rest_.size() : length + 1);
  }

  std::string_view rest_;
  std::string unquoted_;
  bool over_ = false;
};

template <class Numbers>
std::string Words(const Numbers& numbers) {
  return fmt::format("{}", fmt::join(std::begin(numbers), std::end(numbers), " "));
}

std::vector<std::string_view> WordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    words.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return words;
}

std::string UnitsCells(const Corvanta::VALUE_UNITS::Units& units) {
  std::string fields;
  for (const auto& field : UnitsFields(units)) fields += (fields.empty() ? "" : " ") + field.dump();
  return Cell(UnitsText(units)) + ',' + fields;
}

Corvanta::VALUE_UNITS::Units UnitsFrom(const std::string& text, const std::string& fields) {
  if (fields.empty()) return UnitsFromText(text);
  auto numbers = nlohmann::json::array();
  for (const std::string_view word : WordsOf(fields)) numbers.push_back(NumberFrom<std::int32_t>(word));
  return UnitsFromFields(numbers);
}

// The cells from "kind" on, with `present` as the second.
std::string CellsOf(std::monostate, const std::string&) {
  throw std::invalid_argument("a record of no kind cannot be written");
}

std::string CellsOf(CORBA::Long number, const std::string& present) {
  return fmt::format("long,{},,,{},,,,,,,", present, number);
}

std::string CellsOf(bool truth, const std::string& present) {
  return fmt::format("boolean,{},,,{},,,,,,,", present, truth);
}

std::string CellsOf(const Scalar& value, const std::string& present) {
  return fmt::format("ValueDouble,{},{},{},{},{},,,,,", present, UnitsCells(value.units), NumberText(value.val),
                     NumberText(value.minus_err), NumberText(value.plus_err));
}

std::string CellsOf(const BT_DATA& trace, const std::string& present) {
  std::string cells =
      fmt::format("BasicTrace,{},{},,,,{},{},{},{},{}", present, UnitsCells(trace.units), trace.sequence_number,
                  trace.flags, Words(trace.header), NumberText(trace.x_step), trace.samples.length());
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) cells.append(1, ',').append(NumberText(trace.samples[i]));
  return cells;
}

void TakeHeaderWords(BT_DATA& trace, std::string_view cell) {
  const std::vector<std::string_view> words = WordsOf(cell);
  if (words.size() != std::size(trace.header)) throw std::invalid_argument("the header has not 12 words");
  for (std::size_t i = 0; i < words.size(); ++i) trace.header[i] = NumberFrom<std::uint32_t>(words[i]);
}

void TakePoints(BT_DATA& trace, Cells& cells) {
  const auto points = cells.Number<CORBA::ULong>();
  if (points > kMostPoints) throw std::invalid_argument("the trace has too many points");
  std::vector<float> samples;  // grows as the points are found to be there
  for (CORBA::ULong i = 0; i < points; ++i) samples.push_back(cells.Number<float>());
  trace.samples.length(points);
  std::copy(samples.begin(), samples.end(), trace.samples.get_buffer());
}

/// The cells of one row that are the same for all kinds.
struct Row {
  std::string kind, units, fields, value, minus_err, plus_err;
};

SampleRecord RecordFrom(const Row& row, Cells& cells) {
  if (row.kind == "BasicTrace") {
    BT_DATA trace{};
    trace.units = UnitsFrom(row.units, row.fields);
    trace.sequence_number = cells.Number<std::uint32_t>();
    trace.flags = cells.Number<std::uint32_t>();
    TakeHeaderWords(trace, cells.Next());
    trace.x_step = cells.Number<double>();
    TakePoints(trace, cells);
    return SampleRecord(std::in_place_type<BT_DATA>, trace);
  }
  for (int column = 0; column < 5; ++column) cells.Next();
  if (row.kind == "long") return SampleRecord(std::in_place_type<CORBA::Long>, NumberFrom<std::int32_t>(row.value));
  if (row.kind == "boolean" && (row.value == "true" || row.value == "false"))
    return SampleRecord(std::in_place_type<bool>, row.value == "true");
  if (row.kind != "ValueDouble") throw std::invalid_argument("the kind of the sample is not known");
  Scalar value{};
  value.units = UnitsFrom(row.units, row.fields);
  value.val = NumberFrom<double>(row.value);
  value.minus_err = NumberFrom<double>(row.minus_err);
  value.plus_err = NumberFrom<double>(row.plus_err);
  return SampleRecord(std::in_place_type<Scalar>, value);
}

std::string ColumnsLine(std::size_t points) {
  std::string line(kColumns);
  for (std::size_t i = 0; i < points; ++i) line += ",p" + std::to_string(i);
  return line + '\n';
}

}  // namespace

bool IsCsvRecording(std::string_view first_line) {
  return first_line.substr(0, kMark.size()) == kMark &&
         first_line.find("\"lumenar_recording\"") != std::string_view::npos;
}

CsvWriter::CsvWriter(const std::string& path, bool replace, const Header& header, std::size_t most_points)
    : file_(path, replace ? OutputFile::Existing::Replaced : OutputFile::Existing::Refused) {
  PutLine(LineOf(header));
  file_.Write(ColumnsLine(most_points));
}

void CsvWriter::Write(const Entry& entry) {
  std::visit([this](const auto& held) { Put(held); }, entry);
}

void CsvWriter::PutLine(const std::string& line) {
  digest_.Add(line);
  ++lines_;
  file_.Write(std::string(kMark) + line);
}

void CsvWriter::Put(const ReadingInfo& reading) {
  names_.push_back(Cell(reading.name));
  PutLine(LineOf(reading));
}

// The digest is that of the recording, of which each row stands for a line.
void CsvWriter::Put(const Sample& sample) {
  const std::string present = sample.present ? "1" : "";
  digest_.Add(LineOf(sample));
  ++lines_;
  ++samples_;
  file_.Write(fmt::format("{},{},{}\n", TimeText(sample.time_ns), names_.at(sample.reading),
                          std::visit([&](const auto& held) { return CellsOf(held, present); }, sample.record)));
}

void CsvWriter::Put(const Event& event) { PutLine(LineOf(event)); }

void CsvWriter::Finish(std::int64_t now_ns, std::uint64_t lost, const std::string& next) {
  file_.Write(std::string(kMark) + LineOf(End{now_ns, lines_, samples_, lost, next, digest_.Text()}));
  file_.Close();
}

CsvReader::CsvReader(const std::string& path) : path_(path), file_(path, kLongestRow) {
  if (!ReadLine() || !IsCsvRecording(line_)) Fail("is no recording as CSV");
  const auto take_header = [&] {
    try {
      return std::get<Header>(ParseLine(std::string_view(line_).substr(kMark.size())));
    } catch (const std::exception& reason) {
      Fail(reason.what());
    }
  };
  header_ = take_header();
  digest_.Add(LineOf(header_));
  if (!ReadLine() || line_.compare(0, kColumns.size(), kColumns) != 0) Fail("is not the line of the columns' names");
}

void CsvReader::Fail(const std::string& reason) const {
  throw RecordingError(path_, std::max<std::size_t>(line_number_, 1), reason);
}

bool CsvReader::ReadLine() {
  ++line_number_;
  switch (file_.Next(line_)) {
    case LineFile::Result::Line: break;
    case LineFile::Result::Unended: Fail("breaks off here");
    case LineFile::Result::NoMore: return false;
    case LineFile::Result::TooLong: Fail(fmt::format("is longer than {} bytes", kLongestRow));
    case LineFile::Result::Damaged: Fail("the compressed data is damaged");
  }
  if (!line_.empty() && line_.back() == '\r') line_.pop_back();
  return true;
}

std::optional<Entry> CsvReader::Next() {
  if (end_) return std::nullopt;
  if (!ReadLine()) Fail("the recording breaks off here: it has no last line");
  try {
    if (line_.compare(0, kMark.size(), kMark) == 0) return FromComment();
    Sample sample = FromRow();
    digest_.Add(LineOf(sample));
    return Entry(std::move(sample));
  } catch (const std::invalid_argument& reason) {
    Fail(reason.what());
  }
}

std::optional<Entry> CsvReader::FromComment() {
  const ParsedLine parsed = ParseLine(std::string_view(line_).substr(kMark.size()));
  if (const auto* end = std::get_if<End>(&parsed)) {
    end_ = *end;
    return std::nullopt;
  }
  if (const auto* reading = std::get_if<ReadingInfo>(&parsed)) {
    if (reading->index != names_.size()) throw std::invalid_argument("is not the reading that follows");
    names_.push_back(reading->name);
    digest_.Add(LineOf(*reading));
    return Entry(*reading);
  }
  const auto* event = std::get_if<Event>(&parsed);
  if (event == nullptr) throw std::invalid_argument("does not belong here");
  digest_.Add(LineOf(*event));
  return Entry(*event);
}

Sample CsvReader::FromRow() const {
  Cells cells(line_);
  Sample sample;
  sample.time_ns = TimeFromText(cells.Next());
  const std::string name(cells.Next());
  const auto found = std::find(names_.begin(), names_.end(), name);
  if (found == names_.end()) throw std::invalid_argument("is of a reading that was not introduced");
  sample.reading = static_cast<std::uint32_t>(found - names_.begin());
  Row row;
  row.kind = cells.Next();
  sample.present = !cells.Next().empty();
  for (std::string* cell : {&row.units, &row.fields, &row.value, &row.minus_err, &row.plus_err}) *cell = cells.Next();
  sample.record = RecordFrom(row, cells);
  cells.RequireOver();
  return sample;
}

}  // namespace Lumenar::Recording
