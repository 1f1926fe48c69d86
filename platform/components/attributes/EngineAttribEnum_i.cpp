// SPDX-License-Identifier: Apache-2.0
#include "platform/components/attributes/EngineAttribEnum_i.h"

#include "platform/components/attributes/AttribServant.h"

namespace Corvanta {
namespace {

constexpr ItemKind kAttribEnumKind{"enum", true};

class AttribEnumServant : public AttribServant<POA_Corvanta::EngineAttribEnum, int, CORBA::Long> {
 public:
  AttribEnumServant(ItemInfo info, Value value, Callback callback, std::vector<EngineAttribEnumParamElem> elements)
      : AttribServant(std::move(info), std::move(value), std::move(callback)), elements_(std::move(elements)) {}

  void Set(CORBA::Long value) override {
    RequireOpen();
    Accept(value);
  }

  EnumElementSeq* Elements() override {
    RequireOpen();
    EnumElementSeq_var elements = new EnumElementSeq;
    elements->length(static_cast<CORBA::ULong>(elements_.size()));
    for (CORBA::ULong i = 0; i < elements->length(); ++i) {
      elements[i].number = elements_[i].number;
      elements[i].name = elements_[i].name.c_str();
    }
    return elements._retn();
  }

 protected:
  ~AttribEnumServant() override = default;

 private:
  const std::vector<EngineAttribEnumParamElem> elements_;
};

}  // namespace

EngineAttribEnum_i::EngineAttribEnum_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name,
                                       int initial, Callback callback,
                                       const std::vector<EngineAttribEnumParamElem>& elements)
    : ServedReading(std::in_place_type<AttribEnumServant>, namer, registration, name, kAttribEnumKind, initial,
                    std::move(callback), elements) {}

}  // namespace Corvanta
