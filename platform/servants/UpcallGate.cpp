// SPDX-License-Identifier: Apache-2.0
#include "platform/servants/UpcallGate.h"

#include <utility>

namespace Corvanta {
namespace {

thread_local bool may_wait = true;

}  // namespace

UpcallGate::WithoutWaiting::WithoutWaiting() noexcept : before_(std::exchange(may_wait, false)) {}

UpcallGate::WithoutWaiting::~WithoutWaiting() { may_wait = before_; }

void UpcallGate::Open() {
  Lumenar::Lock lock(mutex_);
  if (state_ == State::Building) state_ = State::Open;
  changed_.NotifyAll();
}

void UpcallGate::Close() noexcept {
  Lumenar::Lock lock(mutex_);
  state_ = State::Closed;
  changed_.NotifyAll();
}

PortableServer::ServantBase* UpcallGate::Enter() {
  Lumenar::Lock lock(mutex_);
  if (state_ == State::Building && !may_wait) throw WouldWait();
  while (state_ == State::Building) changed_.Wait(mutex_);
  if (state_ == State::Closed) return nullptr;
  may_wait = true;
  object_->_add_ref();  // under the lock: Close, which comes before the owner's release, cannot slip between
  return object_;
}

}  // namespace Corvanta
