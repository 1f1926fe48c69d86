// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unordered_set>

#include "platform/base/Mutex.h"

namespace Corvanta {

/// The sockets that one endpoint watches and that have not gone. The ORB notes which of them became readable under its lock,
/// but tells it without: by then the thread that served such a connection may have ended and deleted it.
/// Threads   any.
class LiveSockets {
 public:
  void Enter(const void* socket) {
    const Lumenar::Lock lock(mutex_);
    sockets_.insert(socket);
  }

  void Leave(const void* socket) {
    const Lumenar::Lock lock(mutex_);
    sockets_.erase(socket);
  }

  bool Has(const void* socket) {
    const Lumenar::Lock lock(mutex_);
    return sockets_.count(socket) != 0;
  }

 private:
  Lumenar::Mutex mutex_;
  std::unordered_set<const void*> sockets_ GUARDED_BY(mutex_);
};

}  // namespace Corvanta
