// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/sample_text.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <limits>
#include <variant>

#include "platform/records/Records.h"
#include "platform/units/Units.h"
#include "platform/wire/record_kinds.h"

namespace Lumenar::Mathctl {
namespace {

using Corvanta::RecordKind;
using Corvanta::BASIC_TRACE::BT_DATA;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;
using nlohmann::ordered_json;

std::string UnitsText(const Corvanta::VALUE_UNITS::Units& units) {
  return Value::Units_text(VALUE::UnitsFromCorba(units));
}

TraceSummary SummaryOf(const BT_DATA& trace) { return Summarise(trace.samples.get_buffer(), trace.samples.length()); }

std::atomic<int> digits_of_numbers{6};

/// A number for people.
std::string NumberForPeople(double number, bool with_sign = false) {
  return with_sign ? fmt::format("{:+.{}g}", number, digits_of_numbers.load())
                   : fmt::format("{:.{}g}", number, digits_of_numbers.load());
}

/// Of the first samples of a trace; 0 means all.
CORBA::ULong CountOf(const BT_DATA& trace, unsigned elements) {
  return elements == 0 ? trace.samples.length() : std::min<CORBA::ULong>(elements, trace.samples.length());
}

ordered_json FirstSamples(const BT_DATA& trace, unsigned elements) {
  ordered_json samples = ordered_json::array();
  for (CORBA::ULong i = 0; i < CountOf(trace, elements); ++i) samples.push_back(JsonNumber(trace.samples[i]));
  return samples;
}

/// How a kind of record is written: for people, and as a JSON object; `with_samples` for kinds that have any.
template <class T>
struct KindText;

template <>
struct KindText<std::monostate> {
  static std::string Words(std::monostate) { return "a record of unknown kind"; }
  static ordered_json Json(std::monostate, bool) { return {{"kind", "unknown"}}; }
};

template <>
struct KindText<CORBA::Long> {
  static std::string Words(CORBA::Long number) { return std::to_string(number); }
  static ordered_json Json(CORBA::Long number, bool) {
    return {{"kind", RecordKind<CORBA::Long>::kTypeName}, {"value", number}};
  }
};

template <>
struct KindText<bool> {
  static std::string Words(bool truth) { return truth ? "true" : "false"; }
  static ordered_json Json(bool truth, bool) { return {{"kind", RecordKind<bool>::kTypeName}, {"value", truth}}; }
};

template <>
struct KindText<Scalar> {
  static std::string Words(const Scalar& value) {
    const std::string units = UnitsForPeople(value.units);
    return fmt::format("{} {}  {} {} {}", NumberForPeople(value.val), units, NumberForPeople(value.minus_err, true),
                       NumberForPeople(value.plus_err, true), units);
  }

  static ordered_json Json(const Scalar& value, bool) {
    return {{"kind", RecordKind<Scalar>::kTypeName},
            {"units", UnitsText(value.units)},
            {"value", JsonNumber(value.val)},
            {"minus_err", JsonNumber(value.minus_err)},
            {"plus_err", JsonNumber(value.plus_err)}};
  }
};

template <>
struct KindText<BT_DATA> {
  static std::string Words(const BT_DATA& trace) {
    const TraceSummary summary = SummaryOf(trace);
    const std::string units = UnitsForPeople(trace.units);
    std::string text =
        fmt::format("{} points  min {} {}  max {} {}  mean {} {}", summary.points, NumberForPeople(summary.min), units,
                    NumberForPeople(summary.max), units, NumberForPeople(summary.mean), units);
    if (summary.not_numbers > 0) text += fmt::format("  {} not a number", summary.not_numbers);
    return text;
  }

  static ordered_json Json(const BT_DATA& trace, bool with_samples) {
    const TraceSummary summary = SummaryOf(trace);
    ordered_json json{{"kind", RecordKind<BT_DATA>::kTypeName},   {"units", UnitsText(trace.units)},
                      {"sequence_number", trace.sequence_number}, {"captured", CaptureTime(trace)},
                      {"x_step", JsonNumber(trace.x_step)},       {"points", summary.points},
                      {"not_numbers", summary.not_numbers},       {"min", JsonNumber(summary.min)},
                      {"max", JsonNumber(summary.max)},           {"mean", JsonNumber(summary.mean)}};
    if (with_samples) json["samples"] = FirstSamples(trace, 0);
    return json;
  }
};

std::chrono::system_clock::time_point WholeSeconds(std::chrono::system_clock::time_point time) {
  return std::chrono::floor<std::chrono::seconds>(time);
}

}  // namespace

TraceSummary Summarise(const float* samples, std::size_t count) {
  TraceSummary summary{count, 0, std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(), 0};
  for (std::size_t i = 0; i < count; ++i) {
    const double sample = samples[i];
    if (std::isnan(sample)) {
      ++summary.not_numbers;
      continue;
    }
    summary.min = std::min(summary.min, sample);
    summary.max = std::max(summary.max, sample);
    summary.mean += sample;
  }
  const std::size_t numbers = count - summary.not_numbers;
  summary.mean /= static_cast<double>(numbers);
  if (numbers == 0) summary.min = summary.max = summary.mean = std::numeric_limits<double>::quiet_NaN();
  return summary;
}

std::string UnitsForPeople(const Corvanta::VALUE_UNITS::Units& units) {
  std::string text = UnitsText(units);
  return text.empty() ? "(no unit)" : text;
}

std::string TextOf(const Corvanta::SampleRecord& record) {
  return std::visit([]<class T>(const T& held) { return KindText<T>::Words(held); }, record);
}

std::string TextOf(const Corvanta::SampleRecord& record, const std::optional<unsigned>& elements) {
  std::string text = TextOf(record);
  const auto* trace = std::get_if<BT_DATA>(&record);
  if (trace == nullptr || !elements) return text;
  text += "  samples";
  for (CORBA::ULong i = 0; i < CountOf(*trace, *elements); ++i) text += ' ' + NumberForPeople(trace->samples[i]);
  return text;
}

void UsePrecision(int digits) noexcept { digits_of_numbers = digits; }

ordered_json JsonOf(const Corvanta::SampleRecord& record, const std::optional<unsigned>& elements) {
  ordered_json json = JsonOf(record, false);
  const auto* trace = std::get_if<BT_DATA>(&record);
  if (trace != nullptr && elements) json["samples"] = FirstSamples(*trace, *elements);
  return json;
}

std::vector<std::string> ValueColumns(bool with_samples) {
  std::vector<std::string> columns{"kind",     "units",  "value",  "minus_err",   "plus_err", "sequence_number",
                                   "captured", "x_step", "points", "not_numbers", "min",      "max",
                                   "mean"};
  if (with_samples) columns.push_back("samples");
  return columns;
}

ordered_json CaptureTime(const BT_DATA& trace) {
  constexpr std::uint64_t kSecond = 1000000000;
  const std::uint64_t time = std::uint64_t{trace.header[0]} << 32 | trace.header[1];
  if (time == 0) return nullptr;
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:09}Z", fmt::gmtime(static_cast<std::time_t>(time / kSecond)),
                     time % kSecond);
}

ordered_json JsonOf(const Corvanta::SampleRecord& record, bool with_samples) {
  return std::visit([&]<class T>(const T& held) { return KindText<T>::Json(held, with_samples); }, record);
}

ordered_json JsonNumber(double number) {
  if (std::isnan(number)) return "NaN";
  if (std::isinf(number)) return number > 0 ? "Infinity" : "-Infinity";
  return number;
}

std::string OneLine(const ordered_json& json) {
  return json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::string UtcText(std::chrono::system_clock::time_point time) {
  const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(time - WholeSeconds(time)).count();
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:06}Z", fmt::gmtime(WholeSeconds(time)), micros);
}

std::string ClockText(std::chrono::system_clock::time_point time) {
  const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(time - WholeSeconds(time)).count();
  return fmt::format("{:%H:%M:%S}.{:03}", fmt::localtime(std::chrono::system_clock::to_time_t(time)), millis);
}

}  // namespace Lumenar::Mathctl
