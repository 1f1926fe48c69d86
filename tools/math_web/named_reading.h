// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "client/Connection.h"
#include "client/MathName.h"

namespace Lumenar::Web {

/// What a client's text means: a reading, or what a math object has.
struct NamedReading {
  std::string name;  ///< the one by which everybody calls it: "PROBE/1/WAKEUP", "math:3", "math:3/SIZE"
  Client::Reading reading;
  std::optional<Client::MathName> object;  ///< whose it is
};

/// A text that means something of a math object: "math:3", "math:3/SIZE", "MATHFACTORY/2/math:3/FULL".
struct ObjectText {
  Client::MathName object;
  std::string item;  ///< in capitals; empty for its RESULT
};

/// Nothing for a text that means something else. `factory` is the engine that "math:3" is of.
std::optional<ObjectText> ObjectFrom(const std::string& text, const std::string& factory);

/// Finds a reading by its name.
/// Errors   Client::Error.      Threads  any; it calls other processes.
NamedReading FindNamed(Client::Connection& connection, const std::string& factory, const std::string& text);

}  // namespace Lumenar::Web
