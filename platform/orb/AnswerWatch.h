// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/orb/ORB_base.h"

namespace Corvanta {

/// Whether a call that failed was answered: then whoever was called raised the exception, and has had the arguments;
/// else the ORB raised it here. The exception itself does not tell: one who is called may raise what the ORB raises, be
/// it that he lets the failure of a call of his own pass. Tells of the last call that this thread made since the object
/// was made.
/// Threads   each its own objects, one at a time.
class AnswerWatch {
 public:
  /// Lets the ORB of this process note answers; once for each ORB, before its first call that is watched.
  static void Begin(const ORB_base& orb);

  AnswerWatch() noexcept;

  bool Answered() const noexcept;
};

}  // namespace Corvanta
