// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/units/Units.h"

namespace Lumenar::Client {

/// A reading that may become an input of a math object, as far as that depends on it.
struct PossibleInput {
  std::string name;                   ///< printable
  std::string kind;                   ///< as in TypeInfo
  std::optional<Value::Units> units;  ///< nothing: not known, or a whole number
  std::uint32_t points = 0;           ///< of a trace; 0: not known
};

/// The operations that this library knows, by their numbers in TYPE.
std::vector<std::string> KnownTypes();

/// What the inputs of an operation are called, in their order; empty for a type that this library does not know, since
/// an engine may offer more.
std::vector<std::string> InputNames(const std::string& type);

/// Whether `candidate` may be the input at `place` of an object of a type, beside those that are chosen already
/// (nothing: not chosen): its kind is one that the operation takes, and kind, length and units go with the others. What
/// is not known hinders nothing.
/// Threads  pure.
bool Fits(const std::string& type, std::size_t place, const std::vector<std::optional<PossibleInput>>& chosen,
          const PossibleInput& candidate);

}  // namespace Lumenar::Client
