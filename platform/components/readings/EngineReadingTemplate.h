// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/make_shared.hpp>
#include <utility>

#include "platform/components/readings/EngineReadingBase_i.h"
#include "platform/components/readings/ReadingServant.h"

namespace Corvanta {

/// A reading or attribute with a value of type T that clients reach as Interface: the owner's side, which stores and
/// publishes.
/// Threads   any.
template <class T, class Interface>
class EngineReadingTemplate : public Lumenar::EngineReadingBase_i {
 public:
  /// A new reference, which the caller releases; calls through it raise OBJECT_NOT_EXIST once this is closed.
  typename Interface::_ptr_type _this() const { return Interface::_duplicate(reference_); }

  /// What `look` says of the present value, without a copy of it. Assignments wait for it: it only looks.
  template <class Look>
  auto LookAt(Look look) const {
    return value_->LookAt(std::move(look));
  }

  /// Ends what others see of this, without waiting; assignments are still stored. The destructor does it too.
  void Close() noexcept {
    value_->Close();
    EngineReadingBase_i::Close();
  }

 protected:
  /// Creates the servant, a Servant, from what all have in common and `more`. `kind` lasts as long as the program.
  /// Errors   CORBA system exceptions.
  template <class Servant, class... More>
  EngineReadingTemplate(std::in_place_type_t<Servant>, ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                        const char* name, const ItemKind& kind, const T& initial, More&&... more)
      : EngineReadingBase_i(namer, registration, name, kind),
        value_(boost::make_shared<PublishedValue<T>>(Topic(), initial, registration.Topics())),
        reference_(Serve<Interface>(new Servant(ItemInfo(*this), value_, std::forward<More>(more)...))) {}

  ~EngineReadingTemplate() override { Close(); }

  const boost::shared_ptr<PublishedValue<T>> value_;  // shared with the servant

 private:
  const typename Interface::_var_type reference_;
};

}  // namespace Corvanta
