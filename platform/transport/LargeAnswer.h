// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "platform/transport/SendBudget.h"

namespace Corvanta {

/// What an operation says before it builds an answer whose size its caller chooses, as the copy of a trace: the bytes
/// count (SendBudget) until this thread has sent the answer. Nothing for answers that are small.
class LargeAnswer {
 public:
  static constexpr std::size_t kSmall = 64 * 1024;

  /// Waits while too much is under way to callers that do not take their answers. Holds no lock meanwhile, nor may the
  /// caller.
  /// Errors   CORBA::NO_RESOURCES when that lasts.
  static void Announce(std::size_t bytes);

  /// The answer that this thread builds or sends.
  static SendBudget::Account& OfThisThread();

  /// It was sent, or will not be.
  static void End() noexcept;

  /// Whether there was no room for the last that this thread announced; asked about once.
  static bool WasRefused() noexcept;
};

}  // namespace Corvanta
