// SPDX-License-Identifier: Apache-2.0
#include "platform/components/attributes/EngineAttribValueDouble_i.h"

#include "platform/records/Records.h"
#include "platform/units/exceptions.h"
#include "platform/wire/record_kinds.h"

namespace Corvanta {
namespace {

constexpr ItemKind kAttribValueDoubleKind{RecordKind<VALUE_DOUBLE::VALUE>::kTypeName, true};

class AttribValueDoubleServant
    : public ValueServant<POA_Corvanta::EngineAttribValueDouble, VALUE_DOUBLE::VALUE, VALUE_DOUBLE::VALUE> {
 public:
  AttribValueDoubleServant(ItemInfo info, Value value, EngineAttribValueDouble_i::Callback callback)
      : ValueServant(std::move(info), std::move(value)), callback_(std::move(callback)) {}

  void Set(const VALUE_DOUBLE::VALUE& value) override {
    RequireOpen();
    RequireUnits(value);
    Accept(callback_, value);
  }

 protected:
  ~AttribValueDoubleServant() override = default;

 private:
  static void RequireUnits(const VALUE_DOUBLE::VALUE& value) {
    try {
      ::VALUE::ValueFromCorba(value);
    } catch (const Lumenar::Value::OperationNotValid&) {
      throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    }
  }

  const EngineAttribValueDouble_i::Callback callback_;
};

}  // namespace

EngineAttribValueDouble_i::EngineAttribValueDouble_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                                                     const char* name, const VALUE_DOUBLE::VALUE& initial,
                                                     Callback callback)
    : EngineReadingTemplate(std::in_place_type<AttribValueDoubleServant>, namer, registration, name,
                            kAttribValueDoubleKind, initial, std::move(callback)) {}

}  // namespace Corvanta
