// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "client/Connection.h"
#include "client/MathName.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {

/// A reading as people know it.
struct KnownReading {
  Client::Reading reading;
  std::string name;                      ///< "PROBE/1/WAKEUP"; of a result "math:3 Average(PROBE/1/WAKEUP)"
  std::optional<Client::MathName> math;  ///< the object whose result it is
  std::string type;                      ///< of the object
  bool has_value = true;                 ///< not before the first result of an object
};

/// What the readings are: those that are results of math objects are named by the object, its type and its inputs. An
/// engine that does not tell leaves its readings' own names.
std::vector<KnownReading> Known(const Session& session, const std::vector<Client::Reading>& readings);

/// Why nothing comes of a reading, as far as its engine can tell: the state of a math object in words, or "its engine
/// answers and has published nothing".
/// Errors   Client::Error when its engine does not answer, or it is gone.
std::string SilenceReason(const Session& session, const KnownReading& known);

}  // namespace Lumenar::Mathctl
