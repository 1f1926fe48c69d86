// SPDX-License-Identifier: Apache-2.0
#include "recording/text_forms.h"

#include <fmt/format.h>
#include <openssl/evp.h>

#include <bit>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "platform/records/Records.h"
#include "platform/units/Units.h"

namespace Lumenar::Recording {
namespace {

static_assert(std::endian::native == std::endian::little, "samples are written as they stand in memory");

using nlohmann::json;
using nlohmann::ordered_json;

constexpr std::size_t kTimeLength = 30;  // 2024-05-06T07:08:09.123456789Z
constexpr std::int64_t kSecond_ns = 1'000'000'000;
constexpr std::size_t kUnitFields = 2 + 2 * Value::kUnitSlots;

std::int64_t DigitsAt(std::string_view text, std::size_t at, std::size_t count) {
  std::int64_t number = 0;
  const char* begin = text.data() + at;
  const auto [stop, error] = std::from_chars(begin, begin + count, number);
  if (error != std::errc() || stop != begin + count || *begin == '-') throw std::invalid_argument("is not a time");
  return number;
}

bool HasFormOfTime(std::string_view text) {
  constexpr std::string_view kForm = "0000-00-00T00:00:00.000000000Z";
  if (text.size() != kTimeLength) return false;
  for (std::size_t i = 0; i < kTimeLength; ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (kForm[i] == '0' ? !digit : text[i] != kForm[i]) return false;
  }
  return true;
}

std::int32_t IntegerFrom(const json& field) {
  const bool whole = field.is_number_integer();
  const auto number = whole ? field.get<std::int64_t>() : std::numeric_limits<std::int64_t>::max();
  if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::int32_t>::max())
    throw std::invalid_argument("a field of the units is not a whole number of 32 bits");
  return static_cast<std::int32_t>(number);
}

}  // namespace

std::string TimeText(std::int64_t time_ns) {
  using namespace std::chrono;
  const sys_time<nanoseconds> time{nanoseconds(time_ns)};
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:09}Z", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), clock.hours().count(),
                     clock.minutes().count(), clock.seconds().count(), clock.subseconds().count());
}

std::int64_t TimeFromText(std::string_view text) {
  using namespace std::chrono;
  if (!HasFormOfTime(text)) throw std::invalid_argument("is not a time as 2024-05-06T07:08:09.123456789Z");
  const year_month_day date(year(static_cast<int>(DigitsAt(text, 0, 4))),
                            month(static_cast<unsigned>(DigitsAt(text, 5, 2))),
                            day(static_cast<unsigned>(DigitsAt(text, 8, 2))));
  const std::int64_t hour = DigitsAt(text, 11, 2);
  const std::int64_t minute = DigitsAt(text, 14, 2);
  const std::int64_t second = DigitsAt(text, 17, 2);
  const bool in_range = date.year() >= year(1970) && date.year() <= year(2261);  // differences, too, fit into 64 bits
  if (!date.ok() || !in_range || hour > 23 || minute > 59 || second > 59)
    throw std::invalid_argument("is not a time that there was");
  const std::int64_t seconds_of_day = hour * 3600 + minute * 60 + second;
  return (sys_days(date).time_since_epoch().count() * std::int64_t{86400} + seconds_of_day) * kSecond_ns +
         DigitsAt(text, 20, 9);
}

ordered_json NumberJson(double number) {
  if (std::isfinite(number)) return number;
  const char* name = std::isnan(number) ? "NaN" : number > 0 ? "Infinity" : "-Infinity";
  return fmt::format("{}:{:016x}", name, std::bit_cast<std::uint64_t>(number));
}

double NumberFromJson(const json& value) {
  if (value.is_number()) return value.get<double>();
  if (!value.is_string()) throw std::invalid_argument("is not a number");
  const auto& text = value.get_ref<const std::string&>();
  const std::size_t colon = text.find(':');
  std::uint64_t bits = 0;
  const char* begin = text.data() + (colon == std::string::npos ? text.size() : colon + 1);
  const auto [stop, error] = std::from_chars(begin, text.data() + text.size(), bits, 16);
  const auto number = std::bit_cast<double>(bits);
  if (error != std::errc() || stop != text.data() + text.size() || NumberJson(number) != text)
    throw std::invalid_argument("is not a number");
  return number;
}

std::string SamplesText(const float* samples, std::size_t count) {
  const std::size_t bytes = count * sizeof(float);
  std::string text((bytes + 2) / 3 * 4 + 1, '\0');  // and the zero that the library puts behind
  if (count > 0) {
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), reinterpret_cast<const unsigned char*>(samples),
                    static_cast<int>(bytes));
  }
  text.pop_back();
  return text;
}

std::vector<float> SamplesFromText(const std::string& text) {
  if (text.empty()) return {};
  std::vector<unsigned char> bytes(text.size() / 4 * 3);
  const int padding = text.size() < 2 || text.back() != '=' ? 0 : text[text.size() - 2] == '=' ? 2 : 1;
  const int written = text.size() % 4 != 0 || text.size() > std::numeric_limits<int>::max()
                          ? -1
                          : EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                                            static_cast<int>(text.size()));
  const auto length = static_cast<std::size_t>(std::max(written - padding, 0));
  if (written != static_cast<int>(bytes.size()) || length % sizeof(float) != 0)
    throw std::invalid_argument("the trace is not base64 of numbers of 32 bits");
  std::vector<float> samples(length / sizeof(float));
  if (!samples.empty()) std::memcpy(samples.data(), bytes.data(), length);
  return samples;
}

std::string UnitsText(const Corvanta::VALUE_UNITS::Units& units) {
  return Value::Units_text(VALUE::UnitsFromCorba(units));
}

ordered_json UnitsFields(const Corvanta::VALUE_UNITS::Units& record) {
  const Value::Units units = VALUE::UnitsFromCorba(record);
  try {
    if (Value::Units_from_text(Value::Units_text(units)) == units) return nullptr;
  } catch (const std::exception&) {  // no text that can be read: the fields tell
  }
  ordered_json fields{units.is_dB ? 1 : 0, units.base_power};
  for (const Value::Unit_slot& slot : units.slots) {
    fields.push_back(static_cast<std::int32_t>(slot.unit));
    fields.push_back(slot.exponent);
  }
  return fields;
}

Corvanta::VALUE_UNITS::Units UnitsFromText(const std::string& text) {
  return VALUE::UnitsToCorba(Value::Units_from_text(text));
}

Corvanta::VALUE_UNITS::Units UnitsFromFields(const json& fields) {
  if (!fields.is_array() || fields.size() != kUnitFields)
    throw std::invalid_argument(fmt::format("the units need {} fields", kUnitFields));
  Value::Units units;
  units.is_dB = IntegerFrom(fields[0]) != 0;
  units.base_power = IntegerFrom(fields[1]);
  for (std::size_t i = 0; i < Value::kUnitSlots; ++i) {
    units.slots[i] = {static_cast<Value::Units_list>(IntegerFrom(fields[2 + 2 * i])), IntegerFrom(fields[3 + 2 * i])};
  }
  return VALUE::UnitsToCorba(units);
}

}  // namespace Lumenar::Recording
