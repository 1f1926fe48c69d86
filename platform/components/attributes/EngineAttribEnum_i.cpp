// SPDX-License-Identifier: Apache-2.0
#include "platform/components/attributes/EngineAttribEnum_i.h"

namespace Corvanta {
namespace {

constexpr ItemKind kAttribEnumKind{"enum", true};

class AttribEnumServant : public ValueServant<POA_Corvanta::EngineAttribEnum, int, CORBA::Long> {
 public:
  AttribEnumServant(ItemInfo info, Value value, EngineAttribEnum_i::Callback callback,
                    std::vector<EngineAttribEnumParamElem> elements)
      : ValueServant(std::move(info), std::move(value)),
        callback_(std::move(callback)),
        elements_(std::move(elements)) {}

  void Set(CORBA::Long value) override {
    RequireOpen();
    Accept(callback_, value);
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
  const EngineAttribEnum_i::Callback callback_;
  const std::vector<EngineAttribEnumParamElem> elements_;
};

}  // namespace

EngineAttribEnum_i::EngineAttribEnum_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name,
                                       int initial, Callback callback,
                                       const std::vector<EngineAttribEnumParamElem>& elements)
    : EngineReadingTemplate(std::in_place_type<AttribEnumServant>, namer, registration, name, kAttribEnumKind, initial,
                            std::move(callback), elements) {}

}  // namespace Corvanta
