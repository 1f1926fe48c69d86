// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/ConnectionTable.h"

#include <algorithm>
#include <tuple>

namespace Corvanta {
namespace {

bool GoesFirst(const ServedConnection* one, const ServedConnection* other) {
  const PeerStanding &first = one->Standing(), &second = other->Standing();
  return std::tuple(first.Rank(), first.LastActive()) < std::tuple(second.Rank(), second.LastActive());
}

}  // namespace

bool ConnectionTable::Enter(ServedConnection& connection) {
  Lumenar::Lock lock(mutex_);
  const bool full = !connections_.empty() && connections_.size() >= limit_;
  if (full) {
    const auto goes = std::min_element(connections_.begin(), connections_.end(), GoesFirst);
    (*goes)->GiveWay();  // the ORB takes it apart in its own time
    connections_.erase(goes);
  }
  connections_.insert(&connection);
  return full;
}

void ConnectionTable::Leave(ServedConnection& connection) {
  Lumenar::Lock lock(mutex_);
  connections_.erase(&connection);
}

}  // namespace Corvanta
