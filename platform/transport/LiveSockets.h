// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unordered_set>

#include "platform/base/Mutex.h"

namespace Corvanta {

/// The sockets that one endpoint watches and that have not gone. The ORB notes which of them became readable under its lock, but
/// tells it without: by then the thread that served such a connection may have ended and deleted it. Who is told asks
/// here first, and the connection stays for as long as he uses it.
/// Threads   any. A connection that leaves waits while a socket is in use, so it must not leave under a lock that `use` takes.
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

  /// Calls `use` where the socket has not gone, and keeps it until that returns. Whether it did.
  template <class Use>
  bool With(const void* socket, Use&& use) {
    const Lumenar::Lock lock(mutex_);
    if (sockets_.count(socket) == 0) return false;
    use();
    return true;
  }

 private:
  Lumenar::Mutex mutex_;
  std::unordered_set<const void*> sockets_ GUARDED_BY(mutex_);
};

}  // namespace Corvanta
