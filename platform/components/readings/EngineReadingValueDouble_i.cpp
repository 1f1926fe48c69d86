// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineReadingValueDouble_i.h"

#include "platform/topics/FillVal.h"

namespace Corvanta {
namespace {

constexpr ItemKind kReadingValueDoubleKind{"ValueDouble", false};

using ReadingValueDoubleServant =
    ValueServant<POA_Corvanta::EngineReadingValueDouble, VALUE_DOUBLE::VALUE, VALUE_DOUBLE::VALUE>;

}  // namespace

EngineReadingValueDouble_i::EngineReadingValueDouble_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                                                       const char* name, const VALUE_DOUBLE::VALUE& initial)
    : EngineReadingTemplate(std::in_place_type<ReadingValueDoubleServant>, namer, registration, name,
                            kReadingValueDoubleKind, initial) {}

template <>
bool FillVal<VALUE_DOUBLE::VALUE>(VALUE_DOUBLE::VALUE& out, const CORBA::Any& any) {
  const VALUE_DOUBLE::VALUE* record = nullptr;  // stays owned by the any
  if (!(any >>= record)) return false;
  out = *record;
  return true;
}

}  // namespace Corvanta
