// SPDX-License-Identifier: Apache-2.0
// Records as they are written, beside the generated code of their interface definition.
#include "platform/wire/record_kinds.h"

#include <gtest/gtest.h>

#include <omniORB4/CORBA.h>

#include <string>

namespace Corvanta {
namespace {

/// Numbers that differ from each other, so that none can stand in another's place.
BASIC_TRACE::BT_DATA TraceOfDifferentNumbers() {
  BASIC_TRACE::BT_DATA trace{};
  CORBA::Long next = 0x01020304;
  trace.sequence_number = static_cast<CORBA::ULong>(++next);
  trace.flags = static_cast<CORBA::ULong>(++next);
  for (CORBA::ULong& word : trace.header) word = static_cast<CORBA::ULong>(++next);
  trace.units.is_dB = true;
  trace.units.base_power = -3;
  for (VALUE_UNITS::UnitSlot& slot : trace.units.slots) {
    slot.unit = ++next;
    slot.exponent = -next;
  }
  trace.x_step = 0.125;
  trace.samples.length(3);
  for (CORBA::ULong i = 0; i < 3; ++i) trace.samples[i] = 1.5F + static_cast<float>(i);
  return trace;
}

/// What `write` writes behind so many words.
template <class Write>
std::string Written(int words_before, bool little_endian, Write write) {
  cdrMemoryStream stream(0, true);  // of cleared memory: padding is zero
  stream.setByteSwapFlag(little_endian);
  for (int i = 0; i < words_before; ++i) stream.marshalULong(7);
  write(stream);
  return {static_cast<const char*>(stream.bufPtr()), stream.bufSize()};
}

TEST(Record_kinds, ATraceIsWrittenAsItsInterfaceDefinitionSaysWhereverItBeginsAndInBothByteOrders) {
  const BASIC_TRACE::BT_DATA trace = TraceOfDifferentNumbers();
  for (const bool little_endian : {false, true}) {
    for (const int words_before : {0, 1, 2, 3}) {
      const auto ours = [&trace](cdrStream& to) { RecordKind<BASIC_TRACE::BT_DATA>::Write(trace, to); };
      const auto generated = [&trace](cdrStream& to) { trace >>= to; };
      EXPECT_EQ(Written(words_before, little_endian, ours), Written(words_before, little_endian, generated))
          << words_before << " words before, little-endian " << little_endian;
    }
  }
}

}  // namespace
}  // namespace Corvanta
