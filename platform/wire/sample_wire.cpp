// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/sample_wire.h"

#include <cstring>

#include "platform/wire/record_type_code.h"

namespace Corvanta {
namespace {

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

void ReadRecord(RecordNumber kind, cdrStream& stream, SampleRecord& record) {
  const bool is_read = AnyRecordKind([&]<class T>() {
    if (kind != kRecordNumber<T>) return false;
    RecordKind<T>::Read(stream, record.emplace<T>());
    return true;
  });
  if (!is_read) record.emplace<std::monostate>();
}

void WriteRecord(const SampleView& sample, cdrStream& stream) {
  VisitView(sample, [&stream]<class T>(const T& record) { RecordKind<T>::Write(record, stream); });
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

void WriteTopic(const char* topic, cdrStream& stream) {
  const auto length = static_cast<CORBA::ULong>(std::strlen(topic) + 1);
  stream.marshalULong(length);
  stream.put_octet_array(reinterpret_cast<const CORBA::Octet*>(topic), static_cast<int>(length));
}

void WriteSample(const SampleView& sample, cdrStream& stream) {
  VisitView(sample, [&stream]<class T>(const T&) { WriteRecordTypeCode(kRecordNumber<T>, stream); });
  WriteRecord(sample, stream);
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
