// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>
#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include <utility>

#include "platform/base/Mutex.h"

namespace Corvanta {

/// The door through which calls from outside reach one object that counts its references (a servant).
///
/// Requests that reach the servant itself are turned away by its own flag (CountedServant); the gate is for what others
/// call in the object: its subscriptions and attributes, whose servants outlive it perhaps.
/// While the object is built, callers wait; once open, each caller holds the object alive until it leaves; once closed,
/// callers find nobody. Closing never waits for callers inside. Outlives its object: servants and callbacks share it.
class UpcallGate : public boost::enable_shared_from_this<UpcallGate> {
 public:
  static boost::shared_ptr<UpcallGate> Create(PortableServer::ServantBase* object) {
    return boost::shared_ptr<UpcallGate>(new UpcallGate(object));
  }

  /// Ends the building: callers come in. After Close it does nothing.
  void Open();

  /// Lets nobody in any more, and sends away who waits. The object's owner calls it before it gives up its reference.
  void Close() noexcept;

  /// Holds the object for the length of a call; false when the gate is closed. Errors   WouldWait.
  class Pass {
   public:
    explicit Pass(UpcallGate& gate) : object_(gate.Enter()) {}
    ~Pass() {
      if (object_ != nullptr) object_->_remove_ref();
    }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;
    explicit operator bool() const { return object_ != nullptr; }

   private:
    PortableServer::ServantBase* object_;
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
  PortableServer::ServantBase* Enter();

  enum class State { Building, Open, Closed };
  Lumenar::Mutex mutex_;
  Lumenar::Condition changed_;
  State state_ GUARDED_BY(mutex_) = State::Building;
  PortableServer::ServantBase* const object_;
};

}  // namespace Corvanta
