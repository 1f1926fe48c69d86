// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Corvanta {

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

}  // namespace Corvanta
