// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineReadingValueDouble_i.h"

#include "platform/wire/record_kinds.h"

namespace Corvanta {
namespace {

constexpr ItemKind kReadingValueDoubleKind{RecordKind<VALUE_DOUBLE::VALUE>::kTypeName, false};

using ReadingValueDoubleServant =
    ValueServant<POA_Corvanta::EngineReadingValueDouble, VALUE_DOUBLE::VALUE, VALUE_DOUBLE::VALUE>;

}  // namespace

EngineReadingValueDouble_i::EngineReadingValueDouble_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                                                       const char* name, const VALUE_DOUBLE::VALUE& initial)
    : EngineReadingTemplate(std::in_place_type<ReadingValueDoubleServant>, namer, registration, name,
                            kReadingValueDoubleKind, initial) {}

}  // namespace Corvanta
