// SPDX-License-Identifier: Apache-2.0
#include <omniORB4/CORBA.h>

#include <string>

#include "platform/wire/sample_wire.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Violation.h"

namespace Lumenar::Fuzz {
namespace {

using Corvanta::SampleRecord;

void Fill(cdrMemoryStream& stream, Bytes bytes) {
  stream.put_octet_array(bytes.data(), static_cast<int>(bytes.size()));
}

std::string BytesOf(const SampleRecord& record) {
  cdrMemoryStream stream;
  Corvanta::WriteSample(Corvanta::ViewOf(record), stream);
  return {static_cast<const char*>(stream.bufPtr()), stream.bufSize()};
}

SampleRecord Decoded(const std::string& bytes) {
  cdrMemoryStream stream;
  Fill(stream, Bytes(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
  SampleRecord record;
  Corvanta::ReadSample(stream, record);
  return record;
}

/// What was read is no larger than what was sent, and survives the way back.
void CheckRecord(const SampleRecord& record, std::size_t sent_bytes) {
  if (std::holds_alternative<std::monostate>(record)) return;
  if (const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&record)) {
    Require(trace->samples.length() * sizeof(float) <= sent_bytes, "no more samples than were sent");
  }
  const std::string bytes = BytesOf(record);
  const SampleRecord again = Decoded(bytes);
  Require(again.index() == record.index(), "a record keeps its kind");
  Require(BytesOf(again) == bytes, "a record read again is the same");
}

}  // namespace

/// A call for several subscribers: what was read can be sent, and read again, and is the same.
void CheckGroup(cdrMemoryStream& stream, std::size_t sent_bytes) {
  const std::deque<Corvanta::SharedRecord> samples = Corvanta::ReadGroup(stream);
  std::vector<Corvanta::SharedSampleView> views;
  std::size_t handles = 0;
  for (const Corvanta::SharedRecord& shared : samples) {
    CheckRecord(shared.record, sent_bytes);
    handles += shared.handles.length();
    const CORBA::Long* const begin = shared.handles.get_buffer();
    views.push_back({Corvanta::ViewOf(shared.record), {begin, begin + shared.handles.length()}});
  }
  Require(samples.size() <= 1024 && handles <= 1024, "a group is small");
  cdrMemoryStream written;
  Corvanta::WriteGroup(views, written);
  const std::deque<Corvanta::SharedRecord> again = Corvanta::ReadGroup(written);
  Require(again.size() == samples.size(), "a group read again is the same");
  for (std::size_t i = 0; i < samples.size(); ++i)
    Require(BytesOf(again[i].record) == BytesOf(samples[i].record) &&
                again[i].handles.length() == samples[i].handles.length(),
            "a sample of a group read again is the same");
}

/// The first byte says the byte order, and whether a topic follows, or a group stands there.
void AnyRecord(Bytes input) {
  Input rest(input);
  const auto form = rest.Take<std::uint8_t>();
  cdrMemoryStream stream;
  Fill(stream, rest.Rest());
  stream.setByteSwapFlag((form & 1) != 0);
  try {
    if ((form & 4) != 0) return CheckGroup(stream, rest.Rest().size());
    SampleRecord record;
    Corvanta::ReadSample(stream, record);
    CheckRecord(record, rest.Rest().size());
    if ((form & 2) == 0 || std::holds_alternative<std::monostate>(record)) return;
    const std::string topic = Corvanta::ReadTopic(stream);
    Require(topic.size() <= 4096 && topic.find('\0') == std::string::npos, "a topic is a short text");
  } catch (const CORBA::MARSHAL&) {
  } catch (const CORBA::BAD_PARAM&) {}
}

}  // namespace Lumenar::Fuzz
