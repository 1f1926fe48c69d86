// SPDX-License-Identifier: Apache-2.0
#include "platform/value/conversion_table.h"

namespace Lumenar::Value {
namespace {

using Conversion = Value_object<float> (*)(const Value_object<float>&, const Units&);

Conversion Function_of(Number_rule rule) {
  switch (rule) {
    case Number_rule::Keep: return Value_object<float>::Power_conversion;
    case Number_rule::Degree_C_to_F: return Value_object<float>::Convert_degreeC_to_degreeF;
    case Number_rule::Degree_F_to_C: return Value_object<float>::Convert_degreeF_to_degreeC;
    case Number_rule::Degree_C_to_K: return Value_object<float>::Convert_degreeC_to_kelvin;
    case Number_rule::Degree_F_to_K: return Value_object<float>::Convert_degreeF_to_kelvin;
    case Number_rule::Kelvin_to_C: return Value_object<float>::Convert_kelvin_to_degreeC;
    case Number_rule::Kelvin_to_F: return Value_object<float>::Convert_kelvin_to_degreeF;
  }
  return nullptr;
}

std::vector<Units_conversion<float>> Rows_for_values() {
  std::vector<Units_conversion<float>> rows;
  rows.reserve(kConversionRows.size());
  for (const Conversion_row& row : kConversionRows) rows.push_back({row.source, row.target, Function_of(row.rule)});
  return rows;
}

}  // namespace

template <>
const std::vector<Units_conversion<float>> Units_conv<float>::Unit_conv_vect = Rows_for_values();

}  // namespace Lumenar::Value
