// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>
#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include <atomic>
#include <cstdint>
#include <utility>

#include "platform/base/Mutex.h"

namespace Corvanta {

/// The door through which calls from outside reach one object that counts its references (a servant).
///
/// Requests that reach the servant itself are turned away by its own flag (CountedServant); the gate is for what others
/// call in the object: its subscriptions and attributes, whose servants outlive it perhaps.
/// While the object is built, callers wait; once open, each caller holds the object alive until it leaves; once closed,
/// callers find nobody. Closing never waits for callers inside. Outlives its object: servants and callbacks share it.
///
/// From Open on the gate has a reference of its own to the object, which it gives back when it is closed and the last
/// caller has left: so callers go in and out by counting themselves, without a lock.
class UpcallGate : public boost::enable_shared_from_this<UpcallGate> {
 public:
  ~UpcallGate() { Close(); }
  UpcallGate(const UpcallGate&) = delete;
  UpcallGate& operator=(const UpcallGate&) = delete;

  static boost::shared_ptr<UpcallGate> Create(PortableServer::ServantBase* object) {
    return boost::shared_ptr<UpcallGate>(new UpcallGate(object));
  }

  /// Ends the building: callers come in. After Close it does nothing.
  void Open();

  /// Lets nobody in any more, and sends away who waits. The object's owner calls it before it gives up its reference; a
  /// second call does nothing.
  void Close() noexcept;

  /// Holds the object for the length of a call; false when the gate is closed. Errors   WouldWait.
  class Pass {
   public:
    explicit Pass(UpcallGate& gate) : gate_(gate.Enter() ? &gate : nullptr) {}
    ~Pass() {
      if (gate_ != nullptr) gate_->Leave();
    }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;
    explicit operator bool() const { return gate_ != nullptr; }

   private:
    UpcallGate* const gate_;
  };

  /// What a caller gets that may not wait, while the object is built.
  struct WouldWait {};

  /// As long as it lives, the calling thread does not wait at the first gate that it comes to.
  class WithoutWaiting {
   public:
    WithoutWaiting() noexcept;
    ~WithoutWaiting();
    WithoutWaiting(const WithoutWaiting&) = delete;
    WithoutWaiting& operator=(const WithoutWaiting&) = delete;

   private:
    const bool before_;
  };

  /// A callback that enters the gate before it calls `function`, and does nothing when the gate is closed.
  template <class Function>
  auto Guard(Function function) {
    return [gate = shared_from_this(), function = std::move(function)](auto&&... arguments) {
      Pass pass(*gate);
      if (pass) function(std::forward<decltype(arguments)>(arguments)...);
    };
  }

 private:
  explicit UpcallGate(PortableServer::ServantBase* object) : object_(object) {}

  bool Enter();
  void Leave() noexcept;
  void WaitUntilBuilt();

  // What state_ is made of: one of three, and the callers inside. It leaves Building under the lock.
  static constexpr std::uint64_t kBuilding = 0, kOpen = 1, kClosed = 2, kCaller = 4;
  static bool IsOpen(std::uint64_t state) noexcept { return (state & kOpen) != 0; }

  std::atomic<std::uint64_t> state_{kBuilding};
  Lumenar::Mutex mutex_;
  Lumenar::Condition changed_;
  PortableServer::ServantBase* const object_;
};

}  // namespace Corvanta
