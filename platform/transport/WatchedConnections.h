// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <new>
#include <unordered_map>
#include <vector>

#include "platform/base/Mutex.h"

namespace omni {
class SocketHolder;
class giopConnection;
}  // namespace omni

namespace Corvanta {

/// The connections that one endpoint watches. The ORB notes under its lock which of them became readable, and tells it without: by
/// then the thread that served such a connection may have ended and deleted it. So nothing is told of a connection that has
/// gone, and where it goes while that is told, its memory is still there: it is given back by the thread that watches,
/// when that has come round. (A count of the ORB's own would not do: with one more the ORB loses what belongs to the
/// connection. Neither would a lock, since the ORB waits for its own both when it is told and when it deletes.)
/// Threads   any; FreeKept by the one that watches.
class WatchedConnections {
 public:
  WatchedConnections() = default;
  WatchedConnections(const WatchedConnections&) = delete;
  WatchedConnections& operator=(const WatchedConnections&) = delete;
  ~WatchedConnections() { FreeKept(); }

  /// A connection that was accepted, under its part that the ORB watches.
  void Enter(const omni::SocketHolder* socket, omni::giopConnection* connection) {
    const Lumenar::Lock lock(mutex_);
    connections_[socket] = connection;
  }

  /// A connection that begins to go: nothing is told of it from here on, but what is being told.
  void Leave(const omni::SocketHolder* socket) {
    const Lumenar::Lock lock(mutex_);
    connections_.erase(socket);
  }

  /// The connection of a socket; null when it has gone.
  omni::giopConnection* Find(const omni::SocketHolder* socket) {
    const Lumenar::Lock lock(mutex_);
    const auto found = connections_.find(socket);
    return found == connections_.end() ? nullptr : found->second;
  }

  /// Takes the memory of a connection that has gone, from operator new.
  void Keep(void* memory) {
    const Lumenar::Lock lock(mutex_);
    kept_.push_back(memory);
  }

  /// Gives back what was kept: nothing is about to be told any more.
  void FreeKept() {
    std::vector<void*> kept;
    {
      const Lumenar::Lock lock(mutex_);
      kept.swap(kept_);
    }
    for (void* const memory : kept) ::operator delete(memory);
  }

 private:
  Lumenar::Mutex mutex_;
  std::unordered_map<const omni::SocketHolder*, omni::giopConnection*> connections_ GUARDED_BY(mutex_);
  std::vector<void*> kept_ GUARDED_BY(mutex_);
};

}  // namespace Corvanta
