// SPDX-License-Identifier: Apache-2.0
#include "judge/verify/Deviation.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>
#include <limits>

#include "judge/Units.h"
#include "judge/same_bits.h"

namespace Lumenar::Judge {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using Corvanta::VALUE_DOUBLE::VALUE;

constexpr std::size_t kWholeValue = std::numeric_limits<std::size_t>::max();

/// Numbers in their order, so that neighbours are 1 apart and both zeros are one.
std::int64_t PlaceOf(double number) {
  const auto bits = std::bit_cast<std::int64_t>(number);
  return bits < 0 ? std::numeric_limits<std::int64_t>::min() - bits : bits;
}

std::int64_t PlaceOf(float number) {
  const auto bits = std::bit_cast<std::int32_t>(number);
  return bits < 0 ? std::int64_t{std::numeric_limits<std::int32_t>::min()} - bits : bits;
}

template <class T>
std::uint64_t StepsBetween(T a, T b) {
  if (std::isnan(a) || std::isnan(b)) return 0;
  const std::int64_t low = std::min(PlaceOf(a), PlaceOf(b));
  const std::int64_t high = std::max(PlaceOf(a), PlaceOf(b));
  return static_cast<std::uint64_t>(high) - static_cast<std::uint64_t>(low);
}

Deviation WholeField(const char* field) {
  Deviation deviation;
  deviation.field = field;
  deviation.weight = kWholeValue;
  return deviation;
}

template <class T>
Deviation OfNumbers(const char* field, T expected, T recorded) {
  Deviation deviation;
  deviation.field = field;
  deviation.expected = static_cast<double>(expected);
  deviation.recorded = static_cast<double>(recorded);
  deviation.steps = StepsBetween(expected, recorded);
  deviation.weight = 1;
  return deviation;
}

Deviation OfHeld(CORBA::Long expected, CORBA::Long recorded) {
  return OfNumbers("value", static_cast<double>(expected), static_cast<double>(recorded));
}

Deviation OfHeld(const VALUE& expected, const VALUE& recorded) {
  if (FromRecord(expected.units) != FromRecord(recorded.units)) return WholeField("units");
  if (!SameBits(expected.val, recorded.val)) return OfNumbers("value", expected.val, recorded.val);
  if (!SameBits(expected.minus_err, recorded.minus_err)) {
    return OfNumbers("minus_err", expected.minus_err, recorded.minus_err);
  }
  return OfNumbers("plus_err", expected.plus_err, recorded.plus_err);
}

Deviation OfSamples(const BT_DATA& expected, const BT_DATA& recorded) {
  Deviation deviation;
  for (CORBA::ULong i = 0; i < expected.samples.length(); ++i) {
    const float rules = expected.samples[i];
    const float file = recorded.samples[i];
    if (SameBits(rules, file)) continue;
    if (deviation.points == 0) {
      deviation = OfNumbers("samples", rules, file);
      deviation.first = i;
    }
    ++deviation.points;
  }
  deviation.weight = deviation.points;
  return deviation;
}

Deviation OfHeld(const BT_DATA& expected, const BT_DATA& recorded) {
  if (expected.samples.length() != recorded.samples.length()) {
    Deviation deviation = WholeField("length");
    deviation.expected = expected.samples.length();
    deviation.recorded = recorded.samples.length();
    return deviation;
  }
  if (FromRecord(expected.units) != FromRecord(recorded.units)) return WholeField("units");
  Deviation deviation = OfSamples(expected, recorded);
  if (deviation.points > 0) return deviation;
  if (!SameBits(expected.x_step, recorded.x_step)) return OfNumbers("x_step", expected.x_step, recorded.x_step);
  if (expected.sequence_number != recorded.sequence_number) {
    return OfNumbers("sequence_number", double(expected.sequence_number), double(recorded.sequence_number));
  }
  if (expected.flags != recorded.flags) return OfNumbers("flags", double(expected.flags), double(recorded.flags));
  const auto* word = std::mismatch(std::begin(expected.header), std::end(expected.header), recorded.header).first;
  deviation = OfNumbers("header", 0.0, 0.0);
  deviation.first = static_cast<std::size_t>(word - std::begin(expected.header));
  return deviation;
}

}  // namespace

Deviation DeviationOf(const Datum& expected, const Datum& recorded) {
  if (expected.index() != recorded.index()) return WholeField("kind");
  return std::visit([&]<class T>(const T& value) { return OfHeld(value, std::get<T>(recorded)); }, expected);
}

std::string TextOf(const Deviation& deviation) {
  const std::string numbers = fmt::format("recorded {}, expected {}", deviation.recorded, deviation.expected);
  const std::string steps =
      deviation.steps == 0 ? "" : fmt::format(" ({} step{})", deviation.steps, deviation.steps == 1 ? "" : "s");
  if (deviation.field == "samples") {
    return fmt::format("{} point{}, the first at {}: {}{}", deviation.points,
                       deviation.points == 1 ? " differs" : "s differ", deviation.first, numbers, steps);
  }
  if (deviation.field == "header") return fmt::format("word {} of the header differs", deviation.first);
  if (deviation.field == "units" || deviation.field == "kind") return fmt::format("the {} differ", deviation.field);
  return fmt::format("{}: {}{}", deviation.field, numbers, steps);
}

}  // namespace Lumenar::Judge
