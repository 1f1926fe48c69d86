// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/record_kinds.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace Corvanta {
namespace {

constexpr WireType kUlong{CORBA::tk_ulong};
constexpr WireType kLong{CORBA::tk_long};
constexpr WireType kDouble{CORBA::tk_double};
constexpr WireType kFloat{CORBA::tk_float};
constexpr WireType kBoolean{CORBA::tk_boolean};

constexpr std::array kUnitSlotMembers{kLong, kLong};
constexpr WireType kUnitSlot{CORBA::tk_struct, "IDL:Corvanta/VALUE_UNITS/UnitSlot:1.0", kUnitSlotMembers.data(), 2};
constexpr WireType kUnitSlots{CORBA::tk_array, nullptr, &kUnitSlot, 5};
constexpr std::array kUnitsMembers{kBoolean, kLong, kUnitSlots};
constexpr WireType kUnits{CORBA::tk_struct, "IDL:Corvanta/VALUE_UNITS/Units:1.0", kUnitsMembers.data(), 3};
constexpr std::array kValueMembers{kUnits, kDouble, kDouble, kDouble};
constexpr WireType kHeaderBlock{CORBA::tk_array, nullptr, &kUlong, 12};
constexpr WireType kFloatSeq{CORBA::tk_sequence, nullptr, &kFloat, 0};
constexpr std::array kTraceMembers{kUlong, kUlong, kHeaderBlock, kUnits, kDouble, kFloatSeq};

/// The samples of a trace. Memory grows with what has arrived: a message in fragments does not say how long it is, so a
/// length that lies costs its reader no more than a small multiple of what its sender sent.
void ReadSamples(cdrStream& stream, CORBA::FloatSeq& samples) {
  constexpr CORBA::ULong kFirstBlock = 1u << 18;
  constexpr CORBA::ULong kGrowth = 4;
  const CORBA::ULong count = stream.unmarshalULong();
  if (!stream.checkInputOverrun(sizeof(CORBA::Float), count, omni::ALIGN_4))
    throw CORBA::MARSHAL(0, CORBA::COMPLETED_NO);
  for (CORBA::ULong have = 0; have < count;) {
    const CORBA::ULong most = have == 0 ? kFirstBlock : have * (kGrowth - 1);
    const CORBA::ULong block = std::min(count - have, most);
    samples.length(have + block);
    stream.unmarshalArrayFloat(samples.get_buffer() + have, static_cast<int>(block));
    have += block;
  }
}

/// What stands in front of x_step in a message of this processor's byte order. The padding is written as zero: memory
/// as it was would tell strangers what stood there.
struct TraceFront {
  CORBA::ULong sequence_number;
  CORBA::ULong flags;
  BASIC_TRACE::HeaderBlock header;
  CORBA::Octet is_dB;
  CORBA::Octet padding[3];
  CORBA::Long base_power;
  VALUE_UNITS::UnitSlots slots;
};
static_assert(sizeof(TraceFront) == 26 * sizeof(CORBA::ULong), "no padding but the one that is named");

TraceFront FrontOf(const BASIC_TRACE::BT_DATA& trace) {
  TraceFront front{trace.sequence_number,  trace.flags, {}, static_cast<CORBA::Octet>(trace.units.is_dB), {},
                   trace.units.base_power, {}};
  std::copy(std::begin(trace.header), std::end(trace.header), front.header);
  std::copy(std::begin(trace.units.slots), std::end(trace.units.slots), front.slots);
  return front;
}

}  // namespace

const WireType RecordKind<BASIC_TRACE::BT_DATA>::kType{CORBA::tk_struct, "IDL:Corvanta/BASIC_TRACE/BT_DATA:1.0",
                                                       kTraceMembers.data(), 6};

const WireType RecordKind<VALUE_DOUBLE::VALUE>::kType{CORBA::tk_struct, "IDL:Corvanta/VALUE_DOUBLE/VALUE:1.0",
                                                      kValueMembers.data(), 4};

void RecordKind<BASIC_TRACE::BT_DATA>::Read(cdrStream& stream, BASIC_TRACE::BT_DATA& trace) {
  trace.sequence_number = stream.unmarshalULong();
  trace.flags = stream.unmarshalULong();
  stream.unmarshalArrayULong(trace.header, static_cast<int>(std::extent_v<BASIC_TRACE::HeaderBlock>));
  trace.units <<= stream;
  trace.x_step = stream.unmarshalDouble();
  ReadSamples(stream, trace.samples);
}

void RecordKind<BASIC_TRACE::BT_DATA>::Write(const BASIC_TRACE::BT_DATA& trace, cdrStream& stream) {
  if (stream.marshal_byte_swap()) {
    trace >>= stream;
    return;
  }
  const TraceFront front = FrontOf(trace);
  stream.put_octet_array(reinterpret_cast<const CORBA::Octet*>(&front), sizeof front, omni::ALIGN_4);
  stream.marshalDouble(trace.x_step);
  trace.samples >>= stream;
}

SampleView ViewOf(const SampleRecord& record) {
  return std::visit(
      []<class T>(const T& held) -> SampleView {
        if constexpr (std::is_same_v<T, std::monostate>) {
          throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
        } else {
          return ViewOf(held);
        }
      },
      record);
}

}  // namespace Corvanta
