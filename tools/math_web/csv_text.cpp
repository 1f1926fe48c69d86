// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/csv_text.h"

#include <fmt/format.h>

#include <iterator>
#include <variant>

#include "client/Error.h"
#include "platform/records/Records.h"

namespace Lumenar::Web {
namespace {

/// A cell; quoted where a comma, a quote or a line end is in it.
std::string Cell(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char character : text) quoted += character == '"' ? "\"\"" : std::string(1, character);
  return quoted + '"';
}

std::string WithUnit(const std::string& name, const std::string& unit) {
  return Cell(unit.empty() ? name : fmt::format("{} [{}]", name, unit));
}

std::string TraceRows(const std::string& name, const Corvanta::BASIC_TRACE::BT_DATA& trace) {
  const auto samples = SamplesOf(trace);
  if (samples.size() > kMostCsvPoints)
    throw Client::Error(Client::ErrorKind::Refused,
                        fmt::format("{} has {} points, more than {}: mathctl record keeps it whole", name,
                                    samples.size(), kMostCsvPoints));
  const Axis axis = AxisOf(trace);
  std::string text =
      fmt::format("{},{}\n", WithUnit("x", AxisUnit(trace)), WithUnit(name, Value::Units_text(UnitsOf(trace))));
  text.reserve(text.size() + samples.size() * 24);
  for (std::size_t i = 0; i < samples.size(); ++i)
    fmt::format_to(std::back_inserter(text), "{},{}\n", axis.first + static_cast<double>(i) * axis.step, samples[i]);
  return text;
}

std::string ScalarRow(const std::string& name, double time_s, const Corvanta::VALUE_DOUBLE::VALUE& value) {
  const std::string unit = Value::Units_text(VALUE::UnitsFromCorba(value.units));
  return fmt::format("time [s],{},{},{}\n{},{},{},{}\n", WithUnit(name, unit), WithUnit("minus", unit),
                     WithUnit("plus", unit), time_s, value.val, value.minus_err, value.plus_err);
}

}  // namespace

std::string CsvText(const std::string& name, const Sample& sample) {
  if (const auto* trace = TraceIn(sample)) return TraceRows(name, *trace);
  if (const auto* scalar = std::get_if<Corvanta::VALUE_DOUBLE::VALUE>(&sample.record))
    return ScalarRow(name, sample.time_s, *scalar);
  long long number = 0;
  if (const auto* whole = std::get_if<CORBA::Long>(&sample.record)) number = *whole;
  if (const auto* truth = std::get_if<bool>(&sample.record)) number = *truth ? 1 : 0;
  return fmt::format("time [s],{}\n{},{}\n", Cell(name), sample.time_s, number);
}

std::string CsvFileName(const std::string& name) {
  std::string file;
  for (const char c : name) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
    file += plain ? c : '_';
  }
  return file + ".csv";
}

}  // namespace Lumenar::Web
