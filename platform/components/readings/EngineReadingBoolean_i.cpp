// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineReadingBoolean_i.h"

#include "platform/topics/FillVal.h"

namespace Corvanta {
namespace {

constexpr ItemKind kReadingBooleanKind{"boolean", false};

using ReadingBooleanServant = ValueServant<POA_Corvanta::EngineReadingBoolean, bool, CORBA::Boolean>;

}  // namespace

EngineReadingBoolean_i::EngineReadingBoolean_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                                               const char* name, bool initial)
    : EngineReadingTemplate(std::in_place_type<ReadingBooleanServant>, namer, registration, name, kReadingBooleanKind,
                            initial) {}

template <>
bool FillVal<bool>(bool& out, const CORBA::Any& any) {
  CORBA::Boolean record = false;
  if (!(any >>= CORBA::Any::to_boolean(record))) return false;
  out = record;
  return true;
}

}  // namespace Corvanta
