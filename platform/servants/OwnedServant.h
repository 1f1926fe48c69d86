// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

#include "platform/orb/ORB_base.h"
#include "platform/servants/CountedServant.h"

namespace Corvanta {

/// Base of a servant that one owner gives up while requests may still run in it.
///
/// The POA may go on dispatching requests to a deactivated servant: every upcall tests the closed flag first.
class ClosableServant : public CountedServant {
 public:
  void Close() noexcept { closed_.store(true, std::memory_order_release); }
  bool IsClosed() const noexcept { return closed_.load(std::memory_order_acquire); }

  /// The first line of an upcall. Errors   CORBA::OBJECT_NOT_EXIST when closed.
  void RequireOpen() const {
    if (IsClosed()) throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
  }

 protected:
  ClosableServant() = default;
  ~ClosableServant() override = default;

 private:
  std::atomic<bool> closed_{false};
};

/// A servant as its owner holds it: active from construction until Close. Interface is the IDL interface that it
/// offers, Servant what the owner needs to know of its class.
template <class Interface, class Servant = ClosableServant>
class OwnedServant {
 public:
  /// Takes over the reference that `new` gave, and activates the servant: everything else of it is set by now.
  /// Errors   CORBA system exceptions; the servant is released then.
  template <class Created>
  explicit OwnedServant(Created* servant) : servant_(servant), reference_(Activate(servant)) {}

  /// As Close.
  ~OwnedServant() { Close(); }

  OwnedServant(const OwnedServant&) = delete;
  OwnedServant& operator=(const OwnedServant&) = delete;

  /// Later requests find the servant closed; those in flight are not waited for. A second call does nothing.
  void Close() noexcept {
    if (closed_.exchange(true)) return;
    servant_->Close();
    ORB_base::DeactivateObject(servant_.in());
  }

  /// Not duplicated; it stays the same after Close, when calls through it raise OBJECT_NOT_EXIST.
  typename Interface::_ptr_type Reference() const noexcept { return reference_; }

  /// The servant with a reference of the caller's to it.
  Servant* Counted() const {
    servant_->_add_ref();
    return servant_.in();
  }

  Servant* operator->() const noexcept { return servant_.in(); }

 private:
  /// Without memory for the reference the servant is active already: the POA would keep it for good.
  template <class Created>
  static typename Interface::_ptr_type Activate(Created* servant) {
    try {
      return servant->_this();
    } catch (...) {
      servant->Close();
      ORB_base::DeactivateObject(servant);
      throw;
    }
  }

  PortableServer::Servant_var<Servant> servant_;
  typename Interface::_var_type reference_;
  std::atomic<bool> closed_{false};
};

}  // namespace Corvanta
