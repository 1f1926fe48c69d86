// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/units/Units.h"

namespace Lumenar::Client {

/// An input of an operation, as far as words about it need it.
struct Operand {
  std::string name;                   ///< printable
  std::optional<Value::Units> units;  ///< nothing: not known, or a whole number
  bool is_trace = false;
  std::optional<std::int64_t> number;  ///< the present value of a whole number
};

/// What an operation computes from its inputs, in words and in symbols.
struct Computation {
  std::string words;                     ///< "mean of the last 10 of PROBE/1/LEVEL (dBm), computed in mW, shown in dBm"
  std::string formula;                   ///< "R = 10 log10((10^(x1/10) + ... + 10^(xn/10)) / n), n = 10"
  std::vector<std::string> conversions;  ///< each number that is converted on the way, and how
  std::string obstacle;                  ///< why it cannot be computed with these units, and what would do; else empty
};

/// An operation over inputs whose units are those that they have now. The conversions are those that the value library
/// plans for these units. `size` is an Average's SIZE.
/// Errors   none: units that make no sense are an obstacle.      Threads   pure.
Computation ComputationOf(const std::string& type, const std::vector<Operand>& inputs, std::uint32_t size);

/// How a number in one unit becomes one in another, as the value library does it: "times 0.3048", "times 1.8, plus 32",
/// "10^(x/10), so that 10 dBm is 10 mW"; "stays as it is" where nothing changes. Empty when it cannot.
std::string ConversionInWords(const Value::Units& from, const Value::Units& to);

/// Why samples were refused, in words for people, by the reason that an object tells.
std::string ReasonInWords(const std::string& reason);

}  // namespace Lumenar::Client
