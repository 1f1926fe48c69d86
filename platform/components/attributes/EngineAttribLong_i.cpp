// SPDX-License-Identifier: Apache-2.0
#include "platform/components/attributes/EngineAttribLong_i.h"

#include "platform/wire/record_kinds.h"

namespace Corvanta {
namespace {

constexpr ItemKind kAttribLongKind{RecordKind<CORBA::Long>::kTypeName, true};

class AttribLongServant : public ValueServant<POA_Corvanta::EngineAttribLong, int, CORBA::Long> {
 public:
  AttribLongServant(ItemInfo info, Value value, EngineAttribLong_i::Callback callback,
                    const EngineAttribLongParams& limits)
      : ValueServant(std::move(info), std::move(value)), callback_(std::move(callback)), limits_(limits) {}

  void Set(CORBA::Long value) override {
    RequireOpen();
    if (value < limits_.lower || value > limits_.upper) throw LimitsExceeded(value, limits_.lower, limits_.upper);
    Accept(callback_, value);
  }

  LongLimits Limits() override {
    RequireOpen();
    return {limits_.lower, limits_.upper};
  }

 protected:
  ~AttribLongServant() override = default;

 private:
  const EngineAttribLong_i::Callback callback_;
  const EngineAttribLongParams limits_;
};

}  // namespace

EngineAttribLong_i::EngineAttribLong_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name,
                                       int initial, Callback callback, const EngineAttribLongParams& limits)
    : EngineReadingTemplate(std::in_place_type<AttribLongServant>, namer, registration, name, kAttribLongKind, initial,
                            std::move(callback), limits) {}

}  // namespace Corvanta
