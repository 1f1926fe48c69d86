// SPDX-License-Identifier: Apache-2.0
#include "platform/components/attributes/EngineAttribValueDouble_i.h"

#include "platform/components/attributes/AttribServant.h"
#include "platform/records/Records.h"
#include "platform/units/exceptions.h"

namespace Corvanta {
namespace {

constexpr ItemKind kAttribValueDoubleKind{"ValueDouble", true};

class AttribValueDoubleServant
    : public AttribServant<POA_Corvanta::EngineAttribValueDouble, VALUE_DOUBLE::VALUE, VALUE_DOUBLE::VALUE> {
 public:
  using AttribServant::AttribServant;

  void Set(const VALUE_DOUBLE::VALUE& value) override {
    RequireOpen();
    RequireUnits(value);
    Accept(value);
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
};

}  // namespace

EngineAttribValueDouble_i::EngineAttribValueDouble_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                                                     const char* name, const VALUE_DOUBLE::VALUE& initial,
                                                     Callback callback)
    : ServedReading(std::in_place_type<AttribValueDoubleServant>, Place{namer, registration, name},
                    kAttribValueDoubleKind, initial, std::move(callback)) {}

}  // namespace Corvanta
