// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineReadingLong_i.h"

#include "Topics/FillVal.h"

namespace Corvanta {
namespace {

constexpr ItemKind kKind{"long", false};

using Servant = ValueServant<POA_Corvanta::EngineReadingLong, int, CORBA::Long>;

}  // namespace

EngineReadingLong_i::EngineReadingLong_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration,
                                         const char* name, int initial)
    : ServedReading(std::in_place_type<Servant>, Place{namer, registration, name}, kKind, initial) {}

template <>
bool FillVal<int>(int& out, const CORBA::Any& any) {
  CORBA::Long record = 0;
  if (!(any >>= record)) return false;
  out = record;
  return true;
}

}  // namespace Corvanta
