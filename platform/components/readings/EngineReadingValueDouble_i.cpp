// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineReadingValueDouble_i.h"

#include "Topics/FillVal.h"

namespace Corvanta {
namespace {

constexpr ItemKind kKind{"ValueDouble", false};

using Servant = ValueServant<POA_Corvanta::EngineReadingValueDouble, VALUE_DOUBLE::VALUE, VALUE_DOUBLE::VALUE>;

}  // namespace

EngineReadingValueDouble_i::EngineReadingValueDouble_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                                                       const char* name, const VALUE_DOUBLE::VALUE& initial)
    : ServedReading(std::in_place_type<Servant>, Place{namer, registration, name}, kKind, initial) {}

template <>
bool FillVal<VALUE_DOUBLE::VALUE>(VALUE_DOUBLE::VALUE& out, const CORBA::Any& any) {
  const VALUE_DOUBLE::VALUE* record = nullptr;  // stays owned by the any
  if (!(any >>= record)) return false;
  out = *record;
  return true;
}

}  // namespace Corvanta
