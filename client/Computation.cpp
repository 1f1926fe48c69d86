// SPDX-License-Identifier: Apache-2.0
#include "client/Computation.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "client/Text.h"
#include "platform/units/exceptions.h"
#include "platform/value/Unit_conversion.h"
#include "platform/value/unit_meeting.h"

namespace Lumenar::Client {
namespace {

using Value::Combination;
using Value::Meeting;
using Value::Units;
using Value::Units_library;

std::string SymbolsOf(const Units& units) {
  const std::string text = Value::Units_text(units);
  return text.empty() ? "no unit" : text;
}

bool HasUnits(const Units& units) { return !Units_library::Compare_units(units, Value::C_Empty, false); }

// "x", "2 * x": with the factor of the decibel rules where it is not 1.
std::string Times(double factor, const std::string& term) {
  return factor == 1 ? term : fmt::format("{:g} * {}", factor, term);
}

std::string LinearTerm(const Units& units, const std::string& number) {
  return Times(Units_library::Decibel_factor(units), fmt::format("10^({}/10)", number));
}

std::string LevelTerm(const Units& units, const std::string& number) {
  return fmt::format("{:g} log10({})", 10 * Units_library::Decibel_factor(units), number);
}

std::string NamedWithUnits(const Operand& input) {
  return input.units ? fmt::format("{} ({})", input.name, SymbolsOf(*input.units)) : input.name;
}

// One input on its way through an operation that computes in linear units.
struct LinearInput {
  std::string symbol;  // in the formula: "a", or "10^(a/10)"
  Units units;         // in which it is computed
  bool converted;      // it comes in dB, and is made linear
};

// A scalar in plain dB, a ratio, has no linear form and stays.
LinearInput MadeLinear(const Operand& input, const std::string& symbol, Computation& computation) {
  LinearInput linear{symbol, *input.units, false};
  if (!input.units->is_dB || (!input.is_trace && !HasUnits(*input.units))) return linear;
  linear.units.is_dB = false;
  linear.converted = true;
  linear.symbol = LinearTerm(*input.units, symbol);
  computation.conversions.push_back(fmt::format("{}: {} to {}: {}", input.name, SymbolsOf(*input.units),
                                                SymbolsOf(linear.units),
                                                ConversionInWords(*input.units, linear.units)));
  return linear;
}

// The result of such an operation goes back to the form of the input that decides it.
void ShowAs(const Operand& first, const LinearInput& linear, const std::string& term, Computation& computation) {
  computation.formula = "R = " + (linear.converted ? LevelTerm(*first.units, term) : term);
  if (!linear.converted) return;
  const std::string computed = SymbolsOf(linear.units), shown = SymbolsOf(*first.units);
  computation.words += fmt::format(", computed in {}, shown in {}", computed, shown);
  computation.conversions.push_back(
      fmt::format("result: {} to {}: {}", computed, shown, ConversionInWords(linear.units, *first.units)));
}

bool CanMeet(const Units& first, const Units& second, Combination combination) {
  try {
    const Meeting meeting = Value::How_units_meet(first, second, combination);
    if (meeting == Meeting::Converted) Value::Unit_conversion<double>::Plan(second, first);
    return true;
  } catch (const Value::Value_exception&) {
    return false;
  }
}

// What the second input goes through to meet the first.
void Meet(const Operand& second, const Units& first_units, const Units& second_units, Combination combination,
          Computation& computation) {
  const Meeting meeting = Value::How_units_meet(first_units, second_units, combination);
  if (meeting == Meeting::AsTheyAre) return;
  Value::Unit_conversion<double>::Plan(second_units, first_units);  // throws where there is no way
  computation.conversions.push_back(fmt::format("{}: {} to {}: {}", second.name, SymbolsOf(second_units),
                                                SymbolsOf(first_units), ConversionInWords(second_units, first_units)));
}

std::string ObstacleOf(const std::vector<Operand>& inputs, const Units& first, const Units& second,
                       Combination combination, const Value::Value_exception& refusal) {
  std::string text = fmt::format("{} cannot be brought together with {}: {}", NamedWithUnits(inputs[1]),
                                 NamedWithUnits(inputs[0]), ReasonInWords(refusal.what()));
  if (CanMeet(second, first, combination))
    text += fmt::format("; the other way round it would do: {} first, then {}", inputs[1].name, inputs[0].name);
  return text;
}

// Where nothing positive is left of a difference, there is no logarithm.
void NoteWhatHasNoLevel(const Operand& first, Computation& computation) {
  const double lowest_dB = 10 * Units_library::Decibel_factor(*first.units) *
                           std::log10(static_cast<double>(std::numeric_limits<float>::min()));
  const std::string shown = first.is_trace ? fmt::format("{:.3f}", lowest_dB) : "-inf or NaN";
  computation.conversions.push_back(fmt::format(
      "result: shown as {} {} where b is not less than a, for there is no logarithm", shown, SymbolsOf(*first.units)));
}

void Subtract(const std::vector<Operand>& inputs, Computation& computation) {
  computation.words = fmt::format("{} minus {}", NamedWithUnits(inputs[0]), NamedWithUnits(inputs[1]));
  computation.formula = "R = a - b";
  if (!inputs[0].units || !inputs[1].units) return;
  const LinearInput a = MadeLinear(inputs[0], "a", computation), b = MadeLinear(inputs[1], "b", computation);
  try {
    Meet(inputs[1], a.units, b.units, Combination::Sum, computation);
  } catch (const Value::Value_exception& refusal) {
    computation.obstacle = ObstacleOf(inputs, a.units, b.units, Combination::Sum, refusal);
  }
  ShowAs(inputs[0], a, fmt::format("{} - {}", a.symbol, b.symbol), computation);
  if (a.converted) NoteWhatHasNoLevel(inputs[0], computation);
}

void RelativeSubtract(const std::vector<Operand>& inputs, Computation& computation) {
  computation.words = fmt::format("distance of the levels {} and {}: the numbers as they stand",
                                  NamedWithUnits(inputs[0]), NamedWithUnits(inputs[1]));
  computation.formula = "R = a - b";
  if (!inputs[0].units || !inputs[1].units) return;
  computation.words += ", shown in " + SymbolsOf(*inputs[0].units);
  try {
    Meet(inputs[1], *inputs[0].units, *inputs[1].units, Combination::LevelDifference, computation);
  } catch (const Value::Value_exception& refusal) {
    computation.obstacle =
        ObstacleOf(inputs, *inputs[0].units, *inputs[1].units, Combination::LevelDifference, refusal);
  }
}

void Average(const Operand& input, std::uint32_t size, Computation& computation) {
  computation.words = fmt::format("mean of the last {} of {}", size, NamedWithUnits(input));
  computation.formula = fmt::format("R = (x1 + ... + xn) / n, n = {}", size);
  if (!input.units) return;
  const LinearInput first = MadeLinear(input, "x1", computation);
  const std::string last = first.converted ? LinearTerm(*input.units, "xn") : "xn";
  ShowAs(input, first, fmt::format("({} + ... + {}) / n", first.symbol, last), computation);
  computation.formula += fmt::format(", n = {}", size);
}

void Peak(const Operand& input, Computation& computation) {
  computation.words = fmt::format("largest of {} since the first sample or RESET{}", NamedWithUnits(input),
                                  input.is_trace ? ", point by point" : "");
  computation.formula = "R = max(x1, x2, ...)";
  if (!input.units) return;
  const LinearInput linear = MadeLinear(input, "x", computation);
  if (!linear.converted) return;
  const std::string compared = SymbolsOf(linear.units), shown = SymbolsOf(*input.units);
  computation.words += fmt::format(", compared in {}, shown in {}", compared, shown);
  computation.conversions.push_back(
      fmt::format("result: {} to {}: {}", compared, shown, ConversionInWords(linear.units, *input.units)));
}

std::string Index(const Operand& input) {
  return input.number ? fmt::format("{} ({})", *input.number, input.name) : input.name;
}

void CumulativeAdd(const std::vector<Operand>& inputs, Computation& computation) {
  computation.words = fmt::format("sum of {} from point {} to point {}, both counted from 0 and included",
                                  NamedWithUnits(inputs[0]), Index(inputs[1]), Index(inputs[2]));
  computation.formula = "R = x[START] + ... + x[STOP]";
  if (inputs[0].units) {
    const LinearInput first = MadeLinear(inputs[0], "x[START]", computation);
    const std::string last = first.converted ? LinearTerm(*inputs[0].units, "x[STOP]") : "x[STOP]";
    ShowAs(inputs[0], first, fmt::format("{} + ... + {}", first.symbol, last), computation);
  }
  computation.formula += "; START is the newest sample of either index, STOP the value that " + inputs[2].name +
                         " had when the object was created";
}

// A conversion of numbers that is a factor and an offset; nothing for one that is not.
std::optional<std::string> AsFactor(const Value::Unit_conversion<double>& conversion) {
  const double zero = conversion.Apply(0.0), one = conversion.Apply(1.0), two = conversion.Apply(2.0);
  const double factor = one - zero;
  if (!std::isfinite(zero) || !std::isfinite(one) || !std::isfinite(two)) return std::nullopt;
  constexpr double kRounding = 1e-9;
  if (std::fabs((two - one) - factor) > kRounding * std::max(std::fabs(zero), std::fabs(two))) return std::nullopt;
  if (zero == 0) return fmt::format("times {:.10g}", factor);
  const std::string offset = fmt::format("{} {:.10g}", zero < 0 ? "minus" : "plus", std::fabs(zero));
  return factor == 1 ? offset : fmt::format("times {:.10g}, {}", factor, offset);
}

}  // namespace

Computation ComputationOf(const std::string& type, const std::vector<Operand>& inputs, std::uint32_t size) {
  Computation computation;
  std::vector<std::string> names;
  for (const Operand& input : inputs) names.push_back(NamedWithUnits(input));
  try {
    if (type == "Subtract" && inputs.size() == 2) Subtract(inputs, computation);
    if (type == "RelativeSubtract" && inputs.size() == 2) RelativeSubtract(inputs, computation);
    if (type == "Average" && inputs.size() == 1) Average(inputs[0], size, computation);
    if (type == "Peak" && inputs.size() == 1) Peak(inputs[0], computation);
    if (type == "CumulativeAdd" && inputs.size() == 3) CumulativeAdd(inputs, computation);
  } catch (const Value::Value_exception& malformed) {
    computation.obstacle = fmt::format("units cannot be read ({})", malformed.what());
  }
  if (computation.words.empty())
    computation.words = fmt::format("{} of {}", Printable(type), fmt::join(names, " and "));
  return computation;
}

std::string ConversionInWords(const Units& from, const Units& to) {
  try {
    const auto conversion = Value::Unit_conversion<double>::Plan(from, to);
    if (conversion.Is_identity()) return "stays as it is";
    const double sample = from.is_dB ? 10 : to.is_dB ? 100 : 2;
    const std::string example =
        fmt::format("{:g} {} is {:.10g} {}", sample, SymbolsOf(from), conversion.Apply(sample), SymbolsOf(to));
    if (from.is_dB && !to.is_dB) return fmt::format("{}, so that {}", LinearTerm(from, "x"), example);
    if (to.is_dB && !from.is_dB) return fmt::format("{}, so that {}", LevelTerm(to, "x"), example);
    if (from.is_dB) return "by way of linear, so that " + example;
    const auto factor = AsFactor(conversion);
    return factor ? *factor : "so that " + example;
  } catch (const Value::Value_exception&) {
    return {};
  }
}

std::string ReasonInWords(const std::string& reason) {
  constexpr std::pair<const char*, const char*> kReasons[] = {
      {"UnitDimensionNotProper", "their units are of different dimensions"},
      {"UnitDimensionNotSame", "their units are of different dimensions"},
      {"OperationNotValid", "neither is in dB, or a unit makes no sense"},
      {"MissingUnitInFirstParameter", "the first has no unit"},
      {"Value is out of range", "a number was not finite, which RESET cures"},
  };
  for (const auto& [word, words] : kReasons) {
    if (reason == word) return fmt::format("{} ({})", words, word);
  }
  return Printable(reason);
}

}  // namespace Lumenar::Client
