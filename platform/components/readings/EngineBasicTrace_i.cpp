// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineBasicTrace_i.h"

#include "platform/wire/record_kinds.h"

namespace Corvanta {
namespace {

constexpr ItemKind kBasicTraceKind{RecordKind<BASIC_TRACE::BT_DATA>::kTypeName, false};

using BasicTraceServant = ValueServant<POA_Corvanta::EngineBasicTrace, BASIC_TRACE::BT_DATA, BASIC_TRACE::BT_DATA*>;

}  // namespace

EngineBasicTrace_i::EngineBasicTrace_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name,
                                       const BASIC_TRACE::BT_DATA& initial)
    : EngineReadingTemplate(std::in_place_type<BasicTraceServant>, namer, registration, name, kBasicTraceKind,
                            initial) {}

}  // namespace Corvanta
