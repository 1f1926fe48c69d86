// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineReadingLong_i.h"

#include "platform/wire/record_kinds.h"

namespace Corvanta {
namespace {

constexpr ItemKind kReadingLongKind{RecordKind<CORBA::Long>::kTypeName, false};

using ReadingLongServant = ValueServant<POA_Corvanta::EngineReadingLong, int, CORBA::Long>;

}  // namespace

EngineReadingLong_i::EngineReadingLong_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                                         const char* name, int initial)
    : EngineReadingTemplate(std::in_place_type<ReadingLongServant>, namer, registration, name, kReadingLongKind,
                            initial) {}

}  // namespace Corvanta
