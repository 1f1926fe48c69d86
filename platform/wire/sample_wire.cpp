// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/sample_wire.h"

#include <algorithm>
#include <type_traits>

#include "platform/wire/record_type_code.h"

namespace Corvanta {
namespace {

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

void ReadRecord(RecordKind kind, cdrStream& stream, SampleRecord& record) {
  switch (kind) {
    case RecordKind::Trace: ReadTrace(stream, record.emplace<BASIC_TRACE::BT_DATA>()); break;
    case RecordKind::Value: record.emplace<VALUE_DOUBLE::VALUE>() <<= stream; break;
    case RecordKind::Long: record.emplace<CORBA::Long>(stream.unmarshalLong()); break;
    case RecordKind::Boolean: record.emplace<bool>(stream.unmarshalBoolean()); break;
    case RecordKind::Unknown: record.emplace<std::monostate>(); break;
  }
}

/// Of the parts of a group.
void RequireFew(CORBA::ULong count) {
  constexpr CORBA::ULong kMost = 1024;
  if (count > kMost) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
}

/// How many there are.
CORBA::ULong ReadHandles(cdrStream& stream, HandleSeq& handles) {
  const CORBA::ULong count = stream.unmarshalULong();
  RequireFew(count);
  handles.length(count);
  for (CORBA::ULong i = 0; i < count; ++i) handles[i] = stream.unmarshalLong();
  return count;
}

}  // namespace

void ReadTrace(cdrStream& stream, BASIC_TRACE::BT_DATA& trace) {
  trace.sequence_number = stream.unmarshalULong();
  trace.flags = stream.unmarshalULong();
  stream.unmarshalArrayULong(trace.header, static_cast<int>(std::extent_v<BASIC_TRACE::HeaderBlock>));
  trace.units <<= stream;
  trace.x_step = stream.unmarshalDouble();
  ReadSamples(stream, trace.samples);
}

void ReadSample(cdrStream& stream, SampleRecord& record) { ReadRecord(ReadRecordTypeCode(stream), stream, record); }

std::string ReadTopic(cdrStream& stream) {
  constexpr CORBA::ULong kLongest = 4096;
  const CORBA::ULong length = stream.unmarshalULong();  // with the zero at its end
  if (length == 0 || !stream.checkInputOverrun(1, length)) throw CORBA::MARSHAL(0, CORBA::COMPLETED_NO);
  if (length > kLongest) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
  std::string topic(length, '\0');
  stream.get_octet_array(reinterpret_cast<CORBA::Octet*>(topic.data()), static_cast<int>(length));
  if (topic.find('\0') != length - 1) throw CORBA::MARSHAL(0, CORBA::COMPLETED_NO);
  topic.pop_back();
  return topic;
}

void WriteSample(const SampleView& sample, cdrStream& stream) {
  struct Writer {
    cdrStream& stream;
    void operator()(const BASIC_TRACE::BT_DATA* trace) const {
      WriteRecordTypeCode(RecordKind::Trace, stream);
      *trace >>= stream;
    }
    void operator()(const VALUE_DOUBLE::VALUE* value) const {
      WriteRecordTypeCode(RecordKind::Value, stream);
      *value >>= stream;
    }
    void operator()(CORBA::Long number) const {
      WriteRecordTypeCode(RecordKind::Long, stream);
      stream.marshalLong(number);
    }
    void operator()(bool truth) const {
      WriteRecordTypeCode(RecordKind::Boolean, stream);
      stream.marshalBoolean(truth);
    }
  };
  std::visit(Writer{stream}, sample);
}

std::deque<SharedRecord> ReadGroup(cdrStream& stream) {
  const CORBA::ULong count = stream.unmarshalULong();
  RequireFew(count);
  std::deque<SharedRecord> samples;
  CORBA::ULong all_handles = 0;
  for (CORBA::ULong i = 0; i < count; ++i) {
    SharedRecord& shared = samples.emplace_back();
    ReadSample(stream, shared.record);
    if (std::holds_alternative<std::monostate>(shared.record)) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    all_handles += ReadHandles(stream, shared.handles);
    RequireFew(all_handles);
  }
  return samples;
}

void WriteGroup(const std::vector<SharedSampleView>& samples, cdrStream& stream) {
  stream.marshalULong(static_cast<CORBA::ULong>(samples.size()));
  for (const SharedSampleView& shared : samples) {
    WriteSample(shared.sample, stream);
    stream.marshalULong(static_cast<CORBA::ULong>(shared.handles.size()));
    for (const CORBA::Long handle : shared.handles) stream.marshalLong(handle);
  }
}

}  // namespace Corvanta
