// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <string>

#include "EngineReading.hh"
#include "platform/base/InstanceCounter.h"
#include "platform/base/SharedText.h"
#include "platform/components/GUI_AbleRegistration.h"
#include "platform/components/ItemNamer.h"
#include "platform/servants/servants.h"

namespace Corvanta {

/// What is the same for all readings or attributes of one class.
struct ItemKind {
  const char* type_name;  ///< as in TypeInfo
  bool settable;          ///< an attribute
};

}  // namespace Corvanta

namespace Lumenar {

/// What every reading and attribute has: its item name and its topic, both fixed at construction, and the servant that
/// the ORB calls, active and listed in the registration object until Close.
///
/// Readings are owned by value by their engine code; the servant is a counted inner part, so that a request in flight
/// never meets freed memory. A request that comes after Close gets OBJECT_NOT_EXIST.
class EngineReadingBase_i : private Counted<EngineReadingBase_i> {
 public:
  static constexpr const char* kClassName = "EngineReadingBase_i";

  virtual ~EngineReadingBase_i();
  EngineReadingBase_i(const EngineReadingBase_i&) = delete;
  EngineReadingBase_i& operator=(const EngineReadingBase_i&) = delete;

  const std::string& GetName() const noexcept { return name_; }
  const std::string& GetDDS_Topic() const noexcept { return topic_.Text(); }

  /// The same for who keeps it.
  const SharedText& Topic() const noexcept { return topic_; }

  const Corvanta::ItemKind& Kind() const noexcept { return kind_; }

  /// What the item says of itself.
  Corvanta::TypeInfo Info() const;

  /// Takes the item out of the registration object and its servant out of the POA, without waiting. The destructor does
  /// it too; a second call does nothing.
  void Close() noexcept;

 protected:
  /// The registration outlives it.
  EngineReadingBase_i(Corvanta::ItemNamer& namer, GUI_AbleRegistration& registration, const char* name,
                      const Corvanta::ItemKind& kind);

  /// Takes over the reference that `new` gave, activates the servant and lists the item; everything else of it is set
  /// by now, since requests may come at once. The caller releases the reference.
  /// Errors   CORBA system exceptions; the servant goes with this object then.
  template <class Interface, class Servant>
  typename Interface::_ptr_type Serve(Servant* servant) {
    servant_ = servant;
    typename Interface::_var_type reference = servant->_this();
    List(reference);
    return reference._retn();
  }

 private:
  void List(Corvanta::EngineReadingBase_ptr reference);

  const std::string name_;
  const SharedText topic_;
  const Corvanta::ItemKind& kind_;
  GUI_AbleRegistration& registration_;
  PortableServer::Servant_var<Corvanta::CountedServant> servant_;
  std::atomic<long> token_{0};  ///< in the registration object; 0 while it is not listed
};

}  // namespace Lumenar
