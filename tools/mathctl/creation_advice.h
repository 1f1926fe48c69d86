// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/records/SampleRecord.h"

namespace Lumenar::Mathctl {

/// An input of a math object to be: what the user typed, the kind that the reading tells, and its present value, if
/// it could be had.
struct ProposedInput {
  std::string text;
  std::string kind;
  std::optional<Corvanta::SampleRecord> present;
};

/// What will hinder an object of a type over present values such as these, by the platform's own rules for units, and
/// how it would do; empty when nothing hinders, or when the values do not tell.
std::string WarningFor(const std::string& type, const std::vector<ProposedInput>& inputs);

/// What is wrong with the number and kinds of inputs, in words: "Subtract takes two traces or two scalars; PROBE/1/A is a
/// trace, PROBE/1/B a scalar". Empty for a type that is not known.
std::string KindsInWords(const std::string& type, const std::vector<ProposedInput>& inputs);

/// What people mean who give numbers as inputs: "START and STOP are readings; 0 and 100 were read as math:0, math:100".
/// Empty when no input is a plain number.
std::string NumbersInWords(const std::string& type, const std::vector<std::string>& inputs);

}  // namespace Lumenar::Mathctl
