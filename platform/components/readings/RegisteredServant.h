// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

#include "platform/components/GUI_AbleRegistration.h"
#include "platform/components/readings/ReadingServant.h"

namespace Corvanta {

/// The servant of a reading or attribute as its owner holds it: active and listed in the registration object from
/// construction until Close.
template <class Interface>
class RegisteredServant {
 public:
  /// Takes over the reference that `new` gave; everything else of the item is set by now, since requests may come at
  /// once.
  /// Errors   CORBA system exceptions; the servant is released then.
  template <class Servant>
  RegisteredServant(Lumenar::GUI_AbleRegistration& registration, Servant* servant)
      : servant_(servant), registration_(registration), token_(registration.Add(EntryOf(servant->Info()))) {}

  ~RegisteredServant() { Close(); }

  RegisteredServant(const RegisteredServant&) = delete;
  RegisteredServant& operator=(const RegisteredServant&) = delete;

  /// A new reference, which the caller releases.
  typename Interface::_ptr_type _this() const { return Interface::_duplicate(servant_.Reference()); }

  /// Takes the item out of the registration object and of the POA; never waits. A second call does nothing.
  void Close() noexcept {
    if (closed_.exchange(true)) return;
    registration_.Remove(token_);
    servant_.Close();
  }

 private:
  Lumenar::GUI_AbleRegistration::Entry EntryOf(const ItemInfo& info) const {
    Lumenar::GUI_AbleRegistration::Entry entry;
    entry.name = info.name;
    entry.type_name = info.kind.type_name;
    entry.settable = info.kind.settable;
    entry.topic = info.topic;
    entry.reference = EngineReadingBase::_duplicate(servant_.Reference());
    return entry;
  }

  OwnedServant<Interface> servant_;
  Lumenar::GUI_AbleRegistration& registration_;
  const long token_;
  std::atomic<bool> closed_{false};
};

}  // namespace Corvanta
