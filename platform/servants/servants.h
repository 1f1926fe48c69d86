// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>
#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include <atomic>
#include <cstdint>
#include <utility>

#include "platform/base/Mutex.h"

// How an object that others call lives: its owner holds it (OwnedServant); its memory goes with the last call inside, and
// a call that comes after the owner has given it up is turned away, by the servant's flag where the ORB calls
// (CountedServant), by the gate where subscriptions and attributes call into the object (UpcallGate).

namespace Corvanta {

/// A servant that counts its references and knows whether its owner has given it up.
///
/// The memory goes with the last of owner, POA and requests in flight; derived classes have a protected destructor. The
/// POA may go on dispatching requests to a servant that it has been told to deactivate, so every operation begins with
/// RequireOpen. The count is an atomic of its own: the ORB's does the same inside its library, where the thread
/// sanitizer sees neither the count nor what it orders.
/// Threads   any.
class CountedServant : public virtual PortableServer::ServantBase {
 public:
  void _add_ref() override;
  void _remove_ref() override;
  CORBA::ULong _refcount_value() override;

  /// From here on operations raise OBJECT_NOT_EXIST; those in flight are not waited for.
  void Close() noexcept;

  /// Close, and takes the servant out of its POA. A second call does nothing.
  void Withdraw() noexcept;

  bool IsClosed() const noexcept { return state_.load(std::memory_order_acquire) != State::Open; }

  /// The first line of an operation. Errors   CORBA::OBJECT_NOT_EXIST when closed.
  void RequireOpen() const {
    if (IsClosed()) throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
  }

 protected:
  CountedServant() = default;
  ~CountedServant() override = default;

 private:
  enum class State { Open, Closed, Withdrawn };

  std::atomic<CORBA::ULong> references_{1};
  std::atomic<State> state_{State::Open};
};

/// A servant as its owner holds it: active from construction until the end. Interface is the IDL interface that it
/// offers.
template <class Interface, class Servant>
class OwnedServant {
 public:
  /// Takes over the reference that `new` gave, and activates the servant: everything else of it is set by now.
  /// Errors   CORBA system exceptions; the servant is released then.
  explicit OwnedServant(Servant* servant) : servant_(servant), reference_(Activate(servant)) {}

  /// Later requests find the servant closed; those in flight are not waited for.
  ~OwnedServant() {
    servant_->Close();
    servant_->Withdraw();
  }

  OwnedServant(const OwnedServant&) = delete;
  OwnedServant& operator=(const OwnedServant&) = delete;

  /// Not duplicated; calls through it raise OBJECT_NOT_EXIST once the servant is closed.
  typename Interface::_ptr_type Reference() const noexcept { return reference_; }

  /// The servant with a reference of the caller's to it.
  Servant* Counted() const {
    servant_->_add_ref();
    return servant_.in();
  }

  Servant* operator->() const noexcept { return servant_.in(); }

 private:
  /// Without memory for the reference the servant is active already: the POA would keep it for good.
  static typename Interface::_ptr_type Activate(Servant* servant) {
    try {
      return servant->_this();
    } catch (...) {
      servant->Withdraw();
      throw;
    }
  }

  PortableServer::Servant_var<Servant> servant_;
  typename Interface::_var_type reference_;
};

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
