// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "platform/components/readings/EngineReadingTemplate.h"
#include "platform/components/readings/RegisteredServant.h"

namespace Corvanta {

/// A reading or attribute with a value of type T that clients reach as Interface.
/// Threads   any.
template <class T, class Interface>
class ServedReading : public EngineReadingTemplate<T> {
 public:
  /// A new reference, which the caller releases; calls through it raise OBJECT_NOT_EXIST once this is closed.
  typename Interface::_ptr_type _this() const { return servant_._this(); }

  /// What the reading says of itself.
  TypeInfo Info() const {
    TypeInfo info;
    info.name = this->GetName().c_str();
    info.type_name = type_name_;
    return info;
  }

  /// Ends what others see of this, without waiting; assignments are still stored. The destructor does it too.
  void Close() noexcept {
    this->value_->Close();
    servant_.Close();
  }

 protected:
  /// Where the item gets its name and where it is listed.
  struct Place {
    ItemNamer& namer;
    Lumenar::GUI_AbleRegistration& registration;
    const char* name;
  };

  /// Creates the servant, a Servant, from what all have in common and `more`.
  /// Errors   CORBA system exceptions.
  template <class Servant, class... More>
  ServedReading(std::in_place_type_t<Servant>, const Place& place, const ItemKind& kind, const T& initial,
                More&&... more)
      : EngineReadingTemplate<T>(place.namer, place.name, initial),
        type_name_(kind.type_name),
        servant_(place.registration, new Servant(ItemInfo(*this, kind), this->value_, std::forward<More>(more)...)) {}

  ~ServedReading() override = default;

 private:
  const char* const type_name_;
  RegisteredServant<Interface> servant_;
};

}  // namespace Corvanta
