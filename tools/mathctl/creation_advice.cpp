// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/creation_advice.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <variant>

#include "client/Text.h"
#include "platform/records/Records.h"
#include "platform/units/exceptions.h"
#include "platform/value/Value_object.h"
#include "platform/wire/record_kinds.h"
#include "tools/mathctl/operation_notes.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using Client::Printable;
using Corvanta::BASIC_TRACE::BT_DATA;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;
using Number = Value::Value_object<double>;

constexpr std::string_view kSubtractType = "Subtract";
constexpr std::string_view kRelativeSubtractType = "RelativeSubtract";
constexpr std::string_view kCumulativeAddType = "CumulativeAdd";

const Corvanta::VALUE_UNITS::Units* UnitsOf(const ProposedInput& input) {
  if (!input.present) return nullptr;
  if (const auto* trace = std::get_if<BT_DATA>(&*input.present)) return &trace->units;
  const auto* scalar = std::get_if<Scalar>(&*input.present);
  return scalar == nullptr ? nullptr : &scalar->units;
}

/// As Subtract takes an operand: out of dB, but for a scalar in plain dB, which has no linear form.
Value::Units LinearOf(const ProposedInput& input) {
  Value::Units units = VALUE::UnitsFromCorba(*UnitsOf(input));
  const bool is_scalar = std::holds_alternative<Scalar>(*input.present);
  if (!is_scalar || units.slots[0].unit != Value::U_None) units.is_dB = false;
  return units;
}

bool HasUnit(const ProposedInput& input) { return UnitsOf(input)->slots[0].unit != Corvanta::VALUE_UNITS::U_None; }

/// Why the operation has no result for these units; empty when it has one. What it says depends on units alone.
std::string UnitsProblem(std::string_view type, const ProposedInput& first, const ProposedInput& second) {
  try {
    if (type == kRelativeSubtractType) {
      const Number a(1, VALUE::UnitsFromCorba(*UnitsOf(first)), 0, 0),
          b(1, VALUE::UnitsFromCorba(*UnitsOf(second)), 0, 0);
      Value::Relative_sub(a, b);
    } else {
      Number a(1, LinearOf(first), 0, 0);
      a -= Number(1, LinearOf(second), 0, 0);
    }
  } catch (const Value::UnitDimensionNotSame&) {
    return HasUnit(first) == HasUnit(second) ? "their dimensions differ" : "one has a unit and the other has none";
  } catch (const Value::MissingUnitInFirstParameter&) {
    return "the first one has no unit";
  } catch (const Value::OperationNotValid&) {
    return type == kRelativeSubtractType ? "neither is in dB" : "a unit makes no sense";
  } catch (const std::out_of_range&) {  // of the number that stands for the present one
  }
  return {};
}

std::string InUnits(const ProposedInput& input) {
  const std::string units = UnitsForPeople(*UnitsOf(input));
  return fmt::format("{} is {}", Printable(input.text), units == "(no unit)" ? "without unit" : "in " + units);
}

/// The other way round, the other kind of difference, or both: what would do.
std::string WhatWouldDo(std::string_view type, const ProposedInput& first, const ProposedInput& second) {
  const std::string_view other = type == kSubtractType ? kRelativeSubtractType : kSubtractType;
  struct Way {
    std::string_view type;
    const ProposedInput* first;
    const ProposedInput* second;
  };
  for (const Way& way : {Way{type, &second, &first}, Way{other, &first, &second}, Way{other, &second, &first}}) {
    if (!UnitsProblem(way.type, *way.first, *way.second).empty()) continue;
    return fmt::format("; this would do: mathctl create {} {} {}", way.type, Printable(way.first->text),
                       Printable(way.second->text));
  }
  return "; neither Subtract nor RelativeSubtract combines them, either way round";
}

std::string UnitsWarning(std::string_view type, const ProposedInput& first, const ProposedInput& second) {
  if (UnitsOf(first) == nullptr || UnitsOf(second) == nullptr) return {};
  const std::string problem = UnitsProblem(type, first, second);
  if (problem.empty()) return {};
  return fmt::format("units cannot be combined: {}, {}: {}{}", InUnits(first), InUnits(second), problem,
                     WhatWouldDo(type, first, second));
}

const BT_DATA* TraceOf(const ProposedInput& input) {
  return input.present ? std::get_if<BT_DATA>(&*input.present) : nullptr;
}

std::string LengthsWarning(const ProposedInput& first, const ProposedInput& second) {
  const BT_DATA* a = TraceOf(first);
  const BT_DATA* b = TraceOf(second);
  if (a == nullptr || b == nullptr || a->samples.length() == b->samples.length()) return {};
  return fmt::format("lengths differ: {} has {} points, {} has {}", Printable(first.text), a->samples.length(),
                     Printable(second.text), b->samples.length());
}

std::string RangeWarning(const std::vector<ProposedInput>& inputs) {
  const BT_DATA* trace = TraceOf(inputs[0]);
  if (trace == nullptr || !inputs[1].present || !inputs[2].present) return {};
  const auto* start = std::get_if<CORBA::Long>(&*inputs[1].present);
  const auto* stop = std::get_if<CORBA::Long>(&*inputs[2].present);
  if (start == nullptr || stop == nullptr) return {};
  const long long points = trace->samples.length();
  const long long last = std::min<long long>(*stop, points - 1);
  if (points == 0 || last >= std::max<long long>(*start, 0)) return {};
  return fmt::format("a range without samples: START is {}, STOP is {}, and {} has {} points", *start, *stop,
                     Printable(inputs[0].text), points);
}

std::string KindInWords(const std::string& kind) {
  using Corvanta::RecordKind;
  if (kind == RecordKind<BT_DATA>::kTypeName) return "a trace";
  if (kind == RecordKind<Scalar>::kTypeName) return "a scalar";
  if (kind == RecordKind<CORBA::Long>::kTypeName) return "a whole number";
  return fmt::format("of kind \"{}\"", Printable(kind));
}

bool IsPlainNumber(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

std::string WarningFor(const std::string& type, const std::vector<ProposedInput>& inputs) {
  if (type == kCumulativeAddType) return inputs.size() == 3 ? RangeWarning(inputs) : "";
  if ((type != kSubtractType && type != kRelativeSubtractType) || inputs.size() != 2) return {};
  const std::string units = UnitsWarning(type, inputs[0], inputs[1]);
  return units.empty() ? LengthsWarning(inputs[0], inputs[1]) : units;
}

std::string KindsInWords(const std::string& type, const std::vector<ProposedInput>& inputs) {
  const OperationNote* note = NoteOf(type);
  if (note == nullptr) return {};
  std::string text = fmt::format("{} takes {}", type, note->inputs);
  for (const ProposedInput& input : inputs) {
    text += fmt::format("{} {} is {}", &input == &inputs.front() ? ";" : ",", Printable(input.text),
                        KindInWords(input.kind));
  }
  return text;
}

std::string NumbersInWords(const std::string& type, const std::vector<std::string>& inputs) {
  std::vector<std::string> numbers, objects;
  for (const std::string& input : inputs) {
    if (!IsPlainNumber(input)) continue;
    numbers.push_back(input);
    objects.push_back("math:" + input);
  }
  if (numbers.empty()) return {};
  const bool sum = type == kCumulativeAddType;
  return fmt::format("{} are readings; {} {} read as {}", sum ? "START and STOP" : "inputs",
                     fmt::join(numbers, " and "), numbers.size() == 1 ? "was" : "were", fmt::join(objects, ", "));
}

}  // namespace Lumenar::Mathctl
