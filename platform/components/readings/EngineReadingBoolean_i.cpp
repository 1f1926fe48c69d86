// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineReadingBoolean_i.h"

#include "platform/wire/record_kinds.h"

namespace Corvanta {
namespace {

constexpr ItemKind kReadingBooleanKind{RecordKind<bool>::kTypeName, false};

using ReadingBooleanServant = ValueServant<POA_Corvanta::EngineReadingBoolean, bool, CORBA::Boolean>;

}  // namespace

EngineReadingBoolean_i::EngineReadingBoolean_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                                               const char* name, bool initial)
    : EngineReadingTemplate(std::in_place_type<ReadingBooleanServant>, namer, registration, name, kReadingBooleanKind,
                            initial) {}

}  // namespace Corvanta
