// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/MathObjects.h"

namespace Lumenar::Client {

/// What a math object is doing.
enum class MathState {
  Live,       ///< results come
  Waiting,    ///< an input has given no sample yet
  Stale,      ///< results came, and for much longer than between them none has
  InputAway,  ///< the engine of an input does not answer
  Refusing,   ///< the last sample could not be computed with
};

MathState StateOf(const MathReport& report);

/// The state in words for people, with what they need to know: "live", "waiting for a first sample of PROBE/1/WAKEUP",
/// "stale for 12 s", "input away: PROBE/1/WAKEUP", "units cannot be combined", "lengths differ (1001 and 501)",
/// "not finite: RESET", and behind each ", refused 17 samples" where some were.
std::string StateInWords(const MathReport& report);

}  // namespace Lumenar::Client
