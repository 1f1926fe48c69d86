// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/orb/ORB_base.h"

namespace Corvanta {

/// Whoever gives references back while the ORB lives makes one of these first.
///
/// While the ORB stops it marks every reference of the process, and one that another thread gives back at that very
/// moment ends the process.
/// Threads   any.
class GivingBack {
 public:
  /// Returns when a shutdown that has begun is complete; at once when none has, and in a request.
  explicit GivingBack(ORB_base& orb) noexcept { orb.WaitForShutdown(); }
};

}  // namespace Corvanta
