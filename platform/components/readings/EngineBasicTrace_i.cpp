// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineBasicTrace_i.h"

#include "platform/topics/FillVal.h"

namespace Corvanta {
namespace {

constexpr ItemKind kBasicTraceKind{"BasicTrace", false};

using BasicTraceServant = ValueServant<POA_Corvanta::EngineBasicTrace, BASIC_TRACE::BT_DATA, BASIC_TRACE::BT_DATA*>;

}  // namespace

EngineBasicTrace_i::EngineBasicTrace_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name,
                                       const BASIC_TRACE::BT_DATA& initial)
    : EngineReadingTemplate(std::in_place_type<BasicTraceServant>, namer, registration, name, kBasicTraceKind,
                            initial) {}

template <>
bool FillVal<BASIC_TRACE::BT_DATA>(BASIC_TRACE::BT_DATA& out, const CORBA::Any& any) {
  const BASIC_TRACE::BT_DATA* record = nullptr;  // stays owned by the any
  if (!(any >>= record)) return false;
  out = *record;
  return true;
}

}  // namespace Corvanta
