// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/orb/ORB_base.h"

namespace Corvanta {

/// Whether a call that failed was answered. If it was, the object that was called raised the exception, and has had the
/// arguments; if not, the ORB raised it here. The exception itself does not tell: an object may raise what the ORB
/// raises, for example by letting the failure of a call of its own pass. Tells of the last call that this thread has
/// made since the watch was made.
/// Threads   each its own objects, one at a time.
class AnswerWatch {
 public:
  /// Lets the ORB of this process note answers; once for each ORB, before its first call that is watched.
  static void Begin(const ORB_base& orb);

  AnswerWatch() noexcept;

  bool Answered() const noexcept;
};

}  // namespace Corvanta
