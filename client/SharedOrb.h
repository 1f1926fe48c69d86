// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

#include "platform/orb/ORB_wrapper.h"

namespace Lumenar::Client {

/// A share in the ORB of the process, which has one at most: the first share makes it, the last one ends it.
///
/// The naming service and the transport configuration of the ORB are those of the program's localargv, or those that
/// the environment names (see ORB_base), at the time of the first share. The limit of all calls is the longest of the
/// shares'.
/// Threads   any; each its own.
class SharedOrb {
 public:
  /// Errors   those of ORB_base, where this share is the first.
  explicit SharedOrb(std::chrono::milliseconds call_timeout);
  ~SharedOrb();
  SharedOrb(const SharedOrb&) = delete;
  SharedOrb& operator=(const SharedOrb&) = delete;

  Corvanta::ORB_wrapper_base& operator*() const noexcept { return orb_; }
  Corvanta::ORB_wrapper_base* operator->() const noexcept { return &orb_; }

 private:
  const std::chrono::milliseconds call_timeout_;
  Corvanta::ORB_wrapper_base& orb_;
};

}  // namespace Lumenar::Client
