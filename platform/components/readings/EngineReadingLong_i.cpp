// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineReadingLong_i.h"

#include "platform/topics/FillVal.h"

namespace Corvanta {
namespace {

constexpr ItemKind kReadingLongKind{"long", false};

using ReadingLongServant = ValueServant<POA_Corvanta::EngineReadingLong, int, CORBA::Long>;

}  // namespace

EngineReadingLong_i::EngineReadingLong_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                                         const char* name, int initial)
    : EngineReadingTemplate(std::in_place_type<ReadingLongServant>, namer, registration, name, kReadingLongKind,
                            initial) {}

template <>
bool FillVal<int>(int& out, const CORBA::Any& any) {
  CORBA::Long record = 0;
  if (!(any >>= record)) return false;
  out = record;
  return true;
}

}  // namespace Corvanta
