// SPDX-License-Identifier: Apache-2.0
#include "platform/components/attributes/EngineAttribVoid_i.h"

#include <utility>

#include "platform/components/readings/ReadingServant.h"

namespace Corvanta {
namespace {

constexpr ItemKind kAttribVoidKind{"void", true};

class AttribVoidServant : public ReadingServant<POA_Corvanta::EngineAttribVoid> {
 public:
  AttribVoidServant(ItemInfo info, EngineAttribVoid_i::Callback callback)
      : ReadingServant(std::move(info)), callback_(std::move(callback)) {}

  void Set() override {
    RequireOpen();
    if (callback_) callback_();
  }

 protected:
  ~AttribVoidServant() override = default;

 private:
  const EngineAttribVoid_i::Callback callback_;
};

}  // namespace

EngineAttribVoid_i::EngineAttribVoid_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name,
                                       Callback callback)
    : EngineReadingBase_i(namer, registration, name, kAttribVoidKind),
      reference_(Serve<EngineAttribVoid>(new AttribVoidServant(ItemInfo(*this), std::move(callback)))) {}

}  // namespace Corvanta
