// SPDX-License-Identifier: Apache-2.0
#include "tests/model/datum_text.h"

#include <fmt/format.h>

#include "platform/records/Records.h"
#include "platform/units/Units.h"

namespace Lumenar::Model {
namespace {

std::string UnitsText(const Corvanta::VALUE_UNITS::Units& units) {
  return Value::Units_text(VALUE::UnitsFromCorba(units));
}

struct Writer {
  std::string operator()(CORBA::Long number) const { return std::to_string(number); }
  std::string operator()(const Corvanta::VALUE_DOUBLE::VALUE& value) const {
    return fmt::format("{} ({}, {}) {}", value.val, value.minus_err, value.plus_err, UnitsText(value.units));
  }
  std::string operator()(const Corvanta::BASIC_TRACE::BT_DATA& trace) const {
    std::string samples;
    for (CORBA::ULong i = 0; i < trace.samples.length(); ++i)
      samples += fmt::format("{}{}", i == 0 ? "" : " ", trace.samples[i]);
    return fmt::format("#{} [{}] {}", trace.sequence_number, samples, UnitsText(trace.units));
  }
};

}  // namespace

std::string TextOf(const Judge::Datum& datum) { return std::visit(Writer{}, datum); }

}  // namespace Lumenar::Model
