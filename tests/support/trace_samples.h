// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <iostream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "BASIC_TRACE.hh"
#include "platform/records/Records.h"
#include "platform/value/Value_object.h"

namespace Lumenar::Test {

using Corvanta::BASIC_TRACE::BT_DATA;

/// A record with telling header fields.
inline BT_DATA TraceOf(const std::vector<float>& samples, const Value::Units& units = Value::C_Watts) {
  BT_DATA record = DefaultRecord<BT_DATA>();
  record.sequence_number = 17;
  record.flags = 3;
  for (int i = 0; i < 12; ++i) record.header[i] = static_cast<CORBA::ULong>(100 + i);
  record.x_step = 0.125;
  record.units = VALUE::UnitsToCorba(units);
  record.samples.length(static_cast<CORBA::ULong>(samples.size()));
  for (CORBA::ULong i = 0; i < record.samples.length(); ++i) record.samples[i] = samples[i];
  return record;
}

inline std::vector<float> SamplesOf(const BT_DATA& record) {
  std::vector<float> samples;
  for (CORBA::ULong i = 0; i < record.samples.length(); ++i) samples.push_back(record.samples[i]);
  return samples;
}

/// Bits of a number. All NaN count as one: which of them an addition gives depends on the processor.
inline std::uint64_t Bits(double number) {
  return std::isnan(number) ? 0x7ff8000000000000u : std::bit_cast<std::uint64_t>(number);
}

/// All that can be seen of a value, in words, so that a difference reads well.
template <class T>
std::string Picture(const Value::Value_object<T>& value) {
  std::ostringstream text;
  const Value::Units unit = value.Get_unit();
  text << std::hex << Bits(value.Get_value()) << " -" << Bits(value.Get_minus_err()) << " +"
       << Bits(value.Get_plus_err()) << std::dec << " ("
       << (std::isnan(value.Get_value()) ? 0.0 : double(value.Get_value())) << ") " << (unit.is_dB ? "dB " : "")
       << unit.base_power;
  for (const auto& slot : unit.slots) text << " " << slot.unit << "^" << slot.exponent;
  return text.str();
}

/// Standard output while this object lives.
class CapturedOutput {
 public:
  CapturedOutput() : before_(std::cout.rdbuf(text_.rdbuf())) {}
  ~CapturedOutput() { std::cout.rdbuf(before_); }
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;

  /// What was written since the last call.
  std::string Take() {
    std::string text = text_.str();
    text_.str("");
    return text;
  }

 private:
  std::ostringstream text_;
  std::streambuf* before_;
};

}  // namespace Lumenar::Test
