// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/RecordBytes.h"

#include <stdexcept>

#include "platform/wire/sample_wire.h"

namespace Corvanta {

std::vector<std::uint8_t> BytesOfRecord(const SampleRecord& record) {
  if (record.index() == kNoRecord) throw std::invalid_argument("BytesOfRecord: expected a record, found none");
  cdrEncapsulationStream stream;
  stream.marshalOctet(static_cast<CORBA::Octet>(record.index()));
  WriteRecord(ViewOf(record), stream);
  const auto* begin = static_cast<const std::uint8_t*>(stream.bufPtr());
  return {begin, begin + stream.bufSize()};
}

SampleRecord RecordOfBytes(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) throw CORBA::MARSHAL(0, CORBA::COMPLETED_NO);
  cdrEncapsulationStream stream(bytes.data(), static_cast<CORBA::ULong>(bytes.size()));
  SampleRecord record;
  ReadRecord(stream.unmarshalOctet(), stream, record);
  if (record.index() == kNoRecord) throw CORBA::MARSHAL(0, CORBA::COMPLETED_NO);
  return record;
}

}  // namespace Corvanta
