// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sstream>
#include <string>

#include "platform/records/SampleRecord.h"

namespace Corvanta::Test {

/// A record in words, every member of it, so that two processes can compare what they hold.
struct RecordText {
  std::string operator()(std::monostate) const { return "other"; }
  std::string operator()(CORBA::Long number) const { return "long " + std::to_string(number); }
  std::string operator()(bool truth) const { return truth ? "boolean true" : "boolean false"; }

  std::string operator()(const VALUE_DOUBLE::VALUE& value) const {
    std::ostringstream text;
    text << "value" << Units(value.units) << ' ' << value.minus_err << ' ' << value.plus_err << ' ' << value.val;
    return text.str();
  }

  std::string operator()(const BASIC_TRACE::BT_DATA& trace) const {
    std::ostringstream text;
    text << "trace " << trace.sequence_number << ' ' << trace.flags;
    for (CORBA::ULong word : trace.header) text << ' ' << word;
    text << Units(trace.units) << ' ' << trace.x_step << ' ' << trace.samples.length();
    double sum = 0;
    for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) sum += trace.samples[i] * (1.0 + i % 7);
    text << " sum " << sum;
    return text.str();
  }

 private:
  static std::string Units(const VALUE_UNITS::Units& units) {
    std::ostringstream text;
    text << " [" << units.is_dB << ' ' << units.base_power;
    for (const auto& slot : units.slots) text << ' ' << slot.unit << '^' << slot.exponent;
    text << ']';
    return text.str();
  }
};

inline std::string TextOf(const SampleRecord& record) { return std::visit(RecordText(), record); }

}  // namespace Corvanta::Test
