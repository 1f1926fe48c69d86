// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "platform/components/readings/EngineReadingTemplate.h"
#include "platform/components/readings/ReadingServant.h"

namespace Corvanta {

/// A reading or attribute with a value of type T that clients reach as Interface.
/// Threads   any.
template <class T, class Interface>
class ServedReading : public EngineReadingTemplate<T> {
 public:
  /// A new reference, which the caller releases; calls through it raise OBJECT_NOT_EXIST once this is closed.
  typename Interface::_ptr_type _this() const { return Interface::_duplicate(reference_); }

 protected:
  /// Creates the servant, a Servant, from what all have in common and `more`. `kind` lasts as long as the program.
  /// Errors   CORBA system exceptions.
  template <class Servant, class... More>
  ServedReading(std::in_place_type_t<Servant>, ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                const char* name, const ItemKind& kind, const T& initial, More&&... more)
      : EngineReadingTemplate<T>(namer, registration, name, kind, initial),
        reference_(
            this->template Serve<Interface>(new Servant(ItemInfo(*this), this->value_, std::forward<More>(more)...))) {}

  ~ServedReading() override = default;

 private:
  const typename Interface::_var_type reference_;
};

}  // namespace Corvanta
