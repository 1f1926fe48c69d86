// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <functional>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "Common_Math/src/MathValueBasicTrace.h"
#include "MathFactory.hh"
#include "tests/support/JudgedTrace.h"
#include "tests/support/trace_samples.h"

// Everything that can be done to a trace, as steps of one template: for the engine's traces and for the judge's.
namespace Lumenar::Test {

inline Value::Units InDecibels(Value::Units units) {
  units.is_dB = true;
  return units;
}

inline Value::Units Gapped() {
  Value::Units units;
  units.slots[1] = {Value::U_Watt, 1};
  return units;
}

/// The first kPowerForms stand for powers, which convert into each other.
inline constexpr int kPowerForms = 9;

inline std::vector<Value::Units> UnitForms() {
  using Value::Make_unit;
  using Value::Units;
  const Units mW = Make_unit(Value::U_Watt, 1, -3);
  const Units V2 = Make_unit(Value::U_Volt, 2);
  const Units AV{false, 0, {{{Value::U_Ampere, 1}, {Value::U_Volt, 1}}}};
  return {Value::C_Watts,
          InDecibels(Value::C_Watts),
          mW,
          InDecibels(mW),
          Make_unit(Value::U_Watt, 1, 6),
          Value::C_VoltAmps,
          AV,
          Value::C_Volt2PerOhms,
          InDecibels(Value::C_Volt2PerOhms),
          Value::C_Empty,
          InDecibels(Value::C_Empty),
          Make_unit(Value::U_Volt),
          InDecibels(Make_unit(Value::U_Volt)),
          V2,
          InDecibels(V2),
          Value::C_DgreeC,
          Value::C_DgreeF,
          Value::C_Kelvin,
          Make_unit(Value::U_Hertz),
          Make_unit(Value::U_Second),
          Make_unit(Value::U_Second, -1),
          Make_unit(Value::U_Foot),
          Make_unit(Value::U_Meter),
          Make_unit(Value::U_Percent),
          Make_unit(Value::U_Bit, 1, 10),
          Make_unit(Value::U_Byte),
          Gapped()};
}

class RandomTraces {
 public:
  explicit RandomTraces(unsigned seed) : engine_(seed), forms_(UnitForms()) {}

  int Pick(int below) { return static_cast<int>(engine_() % static_cast<unsigned>(below)); }

  float Number() {
    static constexpr float kSpecial[] = {std::numeric_limits<float>::quiet_NaN(),
                                         std::numeric_limits<float>::infinity(),
                                         -std::numeric_limits<float>::infinity(),
                                         0.0f,
                                         -0.0f,
                                         1e-41f,
                                         -1e-41f,
                                         std::numeric_limits<float>::max(),
                                         std::numeric_limits<float>::min(),
                                         1e-30f};
    if (Pick(8) == 0) return kSpecial[Pick(static_cast<int>(std::size(kSpecial)))];
    const float below_one = static_cast<float>(engine_() >> 8) * 0x1p-24f;
    return Pick(2) == 0 ? 0.001f + 100.0f * below_one : 200.0f * below_one - 100.0f;
  }

  int Size() { return Pick(40) == 0 ? 1001 : Pick(68); }

  BT_DATA Trace(int size, const Value::Units& units) {
    std::vector<float> samples(static_cast<std::size_t>(size));
    for (float& sample : samples) sample = Number();
    return TraceOf(samples, units);
  }

  /// Numbers as they are measured, which divide without leaving the range.
  BT_DATA OrdinaryTrace(int size, const Value::Units& units) {
    std::vector<float> samples(static_cast<std::size_t>(size));
    for (float& sample : samples) sample = static_cast<float>(engine_() >> 8) * 0x1p-16f - 100.0f;
    return TraceOf(samples, units);
  }

  BT_DATA Trace(int size) {
    const int form = Pick(Pick(2) == 0 ? kPowerForms : static_cast<int>(forms_.size()));
    return Trace(size, forms_[static_cast<std::size_t>(form)]);
  }

 private:
  std::mt19937 engine_;
  std::vector<Value::Units> forms_;
};

/// An operand twice: as the engine has it and as the judge has it.
struct Pair {
  Pair(const BT_DATA& record, std::ostream& lines) : trace(record), judged(record, lines) {}
  MathTrace trace;
  JudgedTrace judged;
};

/// What came out of a step: a value, or the words of an exception.
inline std::string Outcome(const std::function<std::string()>& step) {
  try {
    return step();
  } catch (const Corvanta::MathFactory::MathFactoryException& refusal) {
    return refusal.text.in();
  } catch (const CORBA::SystemException& failure) {
    return failure._name();
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

inline std::string Picture(const BT_DATA& record, const std::vector<Value::Value_object<float>>& list) {
  std::ostringstream text;
  const Value::Units units = VALUE::UnitsFromCorba(record.units);
  text << record.sequence_number << record.flags << record.header[11] << record.x_step << (units.is_dB ? " dB " : " ")
       << units.base_power;
  for (const auto& slot : units.slots) text << " " << slot.unit << "^" << slot.exponent;
  for (CORBA::ULong i = 0; i < record.samples.length(); ++i) text << "\n" << std::hex << Bits(record.samples[i]);
  for (const auto& entry : list) text << "\n" << Test::Picture(entry);
  return text.str();
}

inline std::string FirstDifference(const std::string& got, const std::string& expected) {
  std::istringstream got_lines(got);
  std::istringstream expected_lines(expected);
  for (std::string mine, theirs; std::getline(got_lines, mine) && std::getline(expected_lines, theirs);) {
    if (mine != theirs) return "got " + mine + "\nexpected " + theirs;
  }
  return got == expected ? "" : "lengths differ";
}

inline std::string Picture(const Judge::Number<double>& number) { return Test::Picture(ValueOf(number)); }

template <class Trace>
std::string Step(int operation, Trace& a, Trace& b, const BT_DATA& fresh, const std::vector<int>& numbers) {
  using Sample = Value::Value_object<float>;
  using ValueOperator = Sample& (Sample::*)(const Sample&);
  switch (operation) {
    case 0: a += b; return "";
    case 1: a -= b; return "";
    case 2: a *= numbers[0]; return "";
    case 3: a /= numbers[0]; return "";
    case 4: a.RelativeSubEqual(b); return "";
    case 5: return Test::Picture(a.CumulativeAdd(numbers[1], numbers[2]));
    case 6: a.Add_dB(); return "";
    case 7: return a.Remove_dB() ? "true" : "false";
    case 8: a.DoPeak(b); return "";
    case 9: a = b; return "";
    case 10: a = fresh; return "";
    case 11: a = a.record; return "";
    case 12: {
      Trace copy(b);
      copy.DoPeak(a);
      b = copy;
      return "";
    }
    case 13: a.DoValueEqualOp(b, static_cast<ValueOperator>(&Sample::operator=)); return "";
    case 14: {
      const Trace& itself = a;
      a -= itself;
      return "";
    }
    case 15: a.DoPeak(a); return "";
    default: a.UpdateValues(); return "";
  }
}

inline constexpr int kOperations = 17;

}  // namespace Lumenar::Test
