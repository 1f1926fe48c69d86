// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "client/Text.h"
#include "tests/fuzz/Violation.h"
#include "tests/fuzz/units_input.h"
#include "tools/mathctl/character_chart.h"
#include "tools/mathctl/plot_script.h"
#include "tools/mathctl/sample_text.h"
#include "tools/mathctl/table.h"

namespace Lumenar::Fuzz {
namespace {

using Corvanta::SampleRecord;
using nlohmann::ordered_json;

bool IsOneLine(const std::string& text) {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
}

Corvanta::BASIC_TRACE::BT_DATA TakeTrace(Input& input) {
  constexpr CORBA::ULong kMostSamples = 64;
  Corvanta::BASIC_TRACE::BT_DATA trace{};
  trace.units = TakeUnits(input);
  trace.sequence_number = input.Take<CORBA::ULong>();
  trace.header[0] = input.Take<CORBA::ULong>();
  trace.header[1] = input.Take<CORBA::ULong>();
  trace.x_step = input.Take<double>();
  trace.samples.length(input.Take<std::uint8_t>() % kMostSamples);
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) trace.samples[i] = input.Take<float>();
  return trace;
}

SampleRecord TakeRecord(Input& input) {
  switch (input.Take<std::uint8_t>() % 5) {
    case 0: return SampleRecord(std::in_place_type<CORBA::Long>, input.Take<CORBA::Long>());
    case 1: return SampleRecord(std::in_place_type<bool>, input.TakeBool());
    case 2: {
      Corvanta::VALUE_DOUBLE::VALUE value{TakeUnits(input), input.Take<double>(), input.Take<double>(),
                                          input.Take<double>()};
      return value;
    }
    case 3: return TakeTrace(input);
    default: return {};
  }
}

/// The number behind its form in JSON.
double NumberOf(const ordered_json& json) {
  if (json.is_number()) return json.get<double>();
  if (json == "Infinity") return INFINITY;
  if (json == "-Infinity") return -INFINITY;
  Require(json == "NaN", "a number is a number or one of three texts");
  return NAN;
}

void RequireSame(const ordered_json& json, double number) {
  const double read = NumberOf(json);
  Require((std::isnan(read) && std::isnan(number)) || (read == number && std::signbit(read) == std::signbit(number)),
          "a number comes out of JSON as it went in");
}

void CheckNumbers(const ordered_json& json, const SampleRecord& record) {
  if (const auto* number = std::get_if<CORBA::Long>(&record))
    Require(json["value"] == *number, "a long stays as it is");
  if (const auto* value = std::get_if<Corvanta::VALUE_DOUBLE::VALUE>(&record)) {
    RequireSame(json["value"], value->val);
    RequireSame(json["minus_err"], value->minus_err);
    RequireSame(json["plus_err"], value->plus_err);
  }
  if (const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&record)) {
    RequireSame(json["x_step"], trace->x_step);
    Require(json["samples"].size() == trace->samples.length(), "all samples are there");
    for (CORBA::ULong i = 0; i < trace->samples.length(); ++i) RequireSame(json["samples"][i], trace->samples[i]);
  }
}

void CheckRecord(const SampleRecord& record, const std::string& name) {
  Require(IsOneLine(Mathctl::TextOf(record)), "a sample is one line");
  ordered_json json = Mathctl::JsonOf(record, true);
  json["name"] = name;
  const std::string line = Mathctl::OneLine(json);
  Require(line.find('\n') == std::string::npos, "JSON is one line");
  Require(ordered_json::accept(line), "JSON is valid");
  CheckNumbers(ordered_json::parse(line), record);
}

/// The bytes behind a printable name.
std::string BytesOf(const std::string& printable) {
  std::string bytes;
  for (std::size_t at = 0; at < printable.size(); ++at) {
    if (printable[at] != '\\') {
      bytes += printable[at];
      continue;
    }
    bytes += static_cast<char>(std::stoi(printable.substr(at + 2, 2), nullptr, 16));
    at += 3;
  }
  return bytes;
}

void CheckName(const std::string& name) {
  const std::string printable = Client::Printable(name);
  Require(IsOneLine(printable), "a printable name has no control characters");
  Require(BytesOf(printable) == name, "no two names look alike");
  const ordered_json json = printable;
  Require(ordered_json::parse(json.dump()) == json, "a printable name is UTF-8");
}

std::string WithoutBlanks(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
  return text;
}

void CheckTable(const std::vector<Mathctl::Row>& rows) {
  const auto lines = Mathctl::AlignedLines(rows);
  Require(lines.size() == rows.size(), "a row is a line");
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::string cells;
    for (const std::string& cell : rows[i]) cells += cell;
    Require(lines[i].empty() || lines[i].back() != ' ', "no blanks at the end of a line");
    Require(WithoutBlanks(lines[i]) == WithoutBlanks(cells), "a line has all of its cells");
  }
}

/// A script without what stands in quotation marks.
std::string Skeleton(const std::string& script) {
  std::string rest;
  bool quoted = false;
  for (const char c : script) {
    if (c == '\'') quoted = !quoted;
    if (c != '\'' && !quoted) rest += c;
  }
  Require(!quoted, "quotation marks come in pairs");
  return rest;
}

void CheckPlot(std::vector<Mathctl::Curve> curves) {
  const std::string script = Mathctl::PlotScript(Mathctl::ChartOf(curves), Mathctl::PictureKind::Png);
  for (Mathctl::Curve& curve : curves) curve.name = "name";
  const std::string plain = Mathctl::PlotScript(Mathctl::ChartOf(curves), Mathctl::PictureKind::Png);
  Require(Skeleton(script) == Skeleton(plain), "no name becomes a command");
}

void CheckCharacters(const std::vector<Mathctl::Curve>& curves, Input& input) {
  Mathctl::CharacterForm form;
  form.columns = input.Take<std::uint8_t>();
  form.rows = input.Take<std::uint8_t>() % 64;
  form.utf8 = input.TakeBool();
  for (const std::string& line : Mathctl::CharacterChart(Mathctl::ChartOf(curves), form)) {
    Require(IsOneLine(line), "a line of a picture is one line");
    Require(ordered_json::accept(ordered_json(line).dump()), "a line of a picture is UTF-8");
  }
}

}  // namespace

void ToolOutput(Bytes input) {
  Input rest(input);
  const std::string name = rest.TakeText();
  const std::string other = rest.TakeText();
  CheckRecord(TakeRecord(rest), name);
  CheckName(name);
  CheckTable({{Client::Printable(name), Client::Printable(other), "x"}, {"y", Client::Printable(name)}, {}});
  const std::vector<Mathctl::Curve> curves{Mathctl::CurveOfTrace(Client::Printable(name), TakeTrace(rest)),
                                           Mathctl::CurveOfTrace(Client::Printable(other), TakeTrace(rest))};
  CheckPlot(curves);
  constexpr std::int64_t kLongest_s = 9'000'000'000;  // in nanoseconds the clock ends not far beyond
  const std::chrono::seconds since(rest.Take<std::int64_t>() % kLongest_s);
  const std::chrono::system_clock::time_point time =
      std::chrono::system_clock::time_point() + since + std::chrono::microseconds(rest.Take<std::uint16_t>());
  Require(Mathctl::UtcText(time).size() == 27, "a time has its fixed form");
  Require(Mathctl::ClockText(time).size() == 12, "a time of day has its fixed form");
  CheckCharacters(curves, rest);
}

}  // namespace Lumenar::Fuzz
