// SPDX-License-Identifier: Apache-2.0
// Values of options as numbers.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "instruments/sigrok/DeviceSettings.h"

namespace Lumenar::Sigrok {
namespace {

struct OptionUnit {
  std::uint32_t key;
  Value::Units units;
};

constexpr std::array kOptionUnits = {
    OptionUnit{SR_CONF_SAMPLERATE, Value::Make_unit(Value::U_Hertz)},
    OptionUnit{SR_CONF_OUTPUT_FREQUENCY, Value::Make_unit(Value::U_Hertz)},
    OptionUnit{SR_CONF_OUTPUT_FREQUENCY_TARGET, Value::Make_unit(Value::U_Hertz)},
    OptionUnit{SR_CONF_VOLTAGE_TARGET, Value::Make_unit(Value::U_Volt)},
    OptionUnit{SR_CONF_OVER_VOLTAGE_PROTECTION_THRESHOLD, Value::Make_unit(Value::U_Volt)},
    OptionUnit{SR_CONF_CURRENT_LIMIT, Value::Make_unit(Value::U_Ampere)},
    OptionUnit{SR_CONF_OVER_CURRENT_PROTECTION_THRESHOLD, Value::Make_unit(Value::U_Ampere)},
};

/// The key under which a sample rate's range is listed: least, greatest, step.
constexpr const char* kRateRange = "samplerate-steps";
constexpr const char* kRateList = "samplerates";

std::optional<NumberLimits> LimitsOf(const std::vector<double>& numbers) {
  if (numbers.empty()) return std::nullopt;
  const auto [least, greatest] = std::minmax_element(numbers.begin(), numbers.end());
  return NumberLimits{*least, *greatest};
}

/// The numbers of an array or a tuple; none where an item is no number.
std::vector<double> NumbersIn(GVariant* container) {
  std::vector<double> numbers;
  for (gsize i = 0; i < g_variant_n_children(container); ++i) {
    const VariantPtr item(g_variant_get_child_value(container, i));
    const auto number = NumberFrom(item.get());
    if (!number) return {};
    numbers.push_back(*number);
  }
  return numbers;
}

std::optional<NumberLimits> LimitsOfRate(GVariant* dictionary) {
  const VariantPtr range(g_variant_lookup_value(dictionary, kRateRange, G_VARIANT_TYPE_ARRAY));
  if (range) {
    const std::vector<double> numbers = NumbersIn(range.get());
    if (numbers.size() < 2) return std::nullopt;
    return NumberLimits{numbers[0], numbers[1]};
  }
  const VariantPtr rates(g_variant_lookup_value(dictionary, kRateList, G_VARIANT_TYPE_ARRAY));
  return rates ? LimitsOf(NumbersIn(rates.get())) : std::nullopt;
}

}  // namespace

std::optional<double> NumberFrom(GVariant* value) {
  if (value == nullptr) return std::nullopt;
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_UINT64)) return static_cast<double>(g_variant_get_uint64(value));
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_DOUBLE)) return g_variant_get_double(value);
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_INT32)) return static_cast<double>(g_variant_get_int32(value));
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN)) return g_variant_get_boolean(value) != FALSE ? 1 : 0;
  return std::nullopt;
}

std::optional<NumberLimits> LimitsFrom(GVariant* list) {
  if (list == nullptr) return std::nullopt;
  if (g_variant_is_of_type(list, G_VARIANT_TYPE_VARDICT)) return LimitsOfRate(list);
  if (g_variant_is_of_type(list, G_VARIANT_TYPE_ARRAY)) return LimitsOf(NumbersIn(list));
  if (!g_variant_is_of_type(list, G_VARIANT_TYPE_TUPLE)) return std::nullopt;
  const std::vector<double> range = NumbersIn(list);  // least, greatest, step
  if (range.size() < 2) return std::nullopt;
  return NumberLimits{range[0], range[1]};
}

VariantPtr ValueFromNumber(const sr_key_info& info, double number) {
  constexpr double kBelowUint64 = 18446744073709549568.0;  // the greatest double below 2^64
  constexpr double kInt32 = std::numeric_limits<std::int32_t>::max();
  const double whole = std::round(number);
  GVariant* value = nullptr;
  if (info.datatype == SR_T_FLOAT && std::isfinite(number)) value = g_variant_new_double(number);
  if (info.datatype == SR_T_UINT64 && whole >= 0 && whole <= kBelowUint64)
    value = g_variant_new_uint64(static_cast<std::uint64_t>(whole));
  if (info.datatype == SR_T_INT32 && std::abs(whole) <= kInt32)
    value = g_variant_new_int32(static_cast<std::int32_t>(whole));
  if (info.datatype == SR_T_BOOL && (number == 0 || number == 1)) value = g_variant_new_boolean(number == 1);
  return VariantPtr(value != nullptr ? g_variant_ref_sink(value) : nullptr);
}

Value::Units UnitsOfOption(std::uint32_t key) noexcept {
  const auto* found =
      std::find_if(kOptionUnits.begin(), kOptionUnits.end(), [=](const OptionUnit& row) { return row.key == key; });
  return found == kOptionUnits.end() ? Value::Units() : found->units;
}

}  // namespace Lumenar::Sigrok
