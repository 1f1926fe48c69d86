// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <set>

#include "platform/base/Mutex.h"
#include "platform/transport/AnswerSender.h"

namespace Corvanta {

/// A connection that a peer opened, as ConnectionTable sees it.
class ServedConnection {
 public:
  virtual const PeerStanding& Standing() const noexcept = 0;

  /// Ends the connection so that its peer opens another when it needs one. Called under the table's lock, or by
  /// the connection itself.
  virtual void GiveWay() noexcept = 0;

 protected:
  ~ServedConnection() = default;
};

/// The connections that peers opened to this process: never more than a limit. Whoever comes when it is reached is
/// served, and takes the place of another: of a stranger if there is one, else of a peer at rest, else of one with a
/// request under way, in each case the one that has been silent for the longest time. So neither idle connections nor
/// half requests, however many, keep a client out or end the connection of a client that was there before.
/// Threads   any.
class ConnectionTable {
 public:
  explicit ConnectionTable(std::size_t limit) : limit_(limit) {}

  /// Enters a connection; true when another one was made to give way for it.
  bool Enter(ServedConnection& connection);
  void Leave(ServedConnection& connection);

  std::size_t Limit() const noexcept { return limit_; }

 private:
  const std::size_t limit_;
  Lumenar::Mutex mutex_;
  std::set<ServedConnection*> connections_ GUARDED_BY(mutex_);
};

}  // namespace Corvanta
