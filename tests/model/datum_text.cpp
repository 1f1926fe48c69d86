// SPDX-License-Identifier: Apache-2.0
#include "tests/model/datum_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>

namespace Lumenar::Model {
namespace {

template <class T>
bool SameNumber(T a, T b) {
  return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
}

bool Same(const Quantity& actual, const Quantity& expected) {
  const bool errors = std::isnan(expected.minus) || (actual.minus == expected.minus && actual.plus == expected.plus);
  return SameNumber(actual.value, expected.value) && errors && actual.units == expected.units;
}

bool Same(const Sweep& actual, const Sweep& expected) {
  return actual.mark == expected.mark && actual.units == expected.units &&
         std::equal(actual.samples.begin(), actual.samples.end(), expected.samples.begin(), expected.samples.end(),
                    SameNumber<float>);
}

bool Same(int actual, int expected) { return actual == expected; }

struct Writer {
  std::string operator()(int number) const { return std::to_string(number); }
  std::string operator()(const Quantity& quantity) const {
    return fmt::format("{} ({}, {}) {}", quantity.value, quantity.minus, quantity.plus,
                       Value::Units_text(quantity.units));
  }
  std::string operator()(const Sweep& sweep) const {
    return fmt::format("#{} [{}] {}", sweep.mark, fmt::join(sweep.samples, " "), Value::Units_text(sweep.units));
  }
};

}  // namespace

bool Same(const Datum& actual, const Datum& expected) {
  return actual.index() == expected.index() &&
         std::visit([&](const auto& typed) { return Same(typed, std::get<std::decay_t<decltype(typed)>>(expected)); },
                    actual);
}

std::string TextOf(const Datum& datum) { return std::visit(Writer{}, datum); }

}  // namespace Lumenar::Model
