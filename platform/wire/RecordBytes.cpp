// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/RecordBytes.h"

#include <stdexcept>

#include "platform/wire/sample_wire.h"

namespace Corvanta {
namespace {

// The place of a kind in SampleRecord is its number in the bytes.
constexpr CORBA::Octet kTraceByte = 1;
constexpr CORBA::Octet kValueByte = 2;
constexpr CORBA::Octet kLongByte = 3;
constexpr CORBA::Octet kBooleanByte = 4;

struct Writer {
  cdrStream& stream;

  void operator()(std::monostate) const { throw std::invalid_argument("BytesOfRecord: expected a record, found none"); }
  void operator()(const BASIC_TRACE::BT_DATA& trace) const { trace >>= stream; }
  void operator()(const VALUE_DOUBLE::VALUE& value) const { value >>= stream; }
  void operator()(CORBA::Long number) const { number >>= stream; }
  void operator()(bool truth) const { stream.marshalBoolean(truth); }
};

SampleRecord ReadTraceRecord(cdrStream& stream) {
  BASIC_TRACE::BT_DATA trace;
  ReadTrace(stream, trace);
  return trace;
}

SampleRecord ReadValueRecord(cdrStream& stream) {
  VALUE_DOUBLE::VALUE value;
  value <<= stream;
  return value;
}

SampleRecord ReadKind(cdrStream& stream) {
  switch (stream.unmarshalOctet()) {
    case kTraceByte: return ReadTraceRecord(stream);
    case kValueByte: return ReadValueRecord(stream);
    case kLongByte: {
      CORBA::Long number = 0;
      number <<= stream;
      return number;
    }
    case kBooleanByte: return static_cast<bool>(stream.unmarshalBoolean());
    default: throw CORBA::MARSHAL(0, CORBA::COMPLETED_NO);
  }
}

}  // namespace

std::vector<std::uint8_t> BytesOfRecord(const SampleRecord& record) {
  cdrEncapsulationStream stream;
  stream.marshalOctet(static_cast<CORBA::Octet>(record.index()));
  std::visit(Writer{stream}, record);
  const auto* begin = static_cast<const std::uint8_t*>(stream.bufPtr());
  return {begin, begin + stream.bufSize()};
}

SampleRecord RecordOfBytes(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) throw CORBA::MARSHAL(0, CORBA::COMPLETED_NO);
  cdrEncapsulationStream stream(bytes.data(), static_cast<CORBA::ULong>(bytes.size()));
  return ReadKind(stream);
}

}  // namespace Corvanta
