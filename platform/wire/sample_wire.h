// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "DDS.hh"
#include "platform/records/SampleRecord.h"
#include "platform/wire/record_kinds.h"

namespace Corvanta {

/// Samples as they stand in a message: an any of a known type code and a record. What the any guard reads and writes
/// with.

/// Reads the type code of an any and says which kind of record follows, kNoRecord for none, without building a type
/// code.
///
/// At most 2 KiB are looked at, through at most 8 names for a type; the records' types are compared member by member,
/// as deep as they are themselves. After kNoRecord the stream stands somewhere inside the any, which can only be skipped.
/// Errors   CORBA::MARSHAL for a type code that claims what is not there.
RecordNumber ReadRecordTypeCode(cdrStream& stream);

/// Writes the type code of a kind. Errors   std::logic_error for kNoRecord.
void WriteRecordTypeCode(RecordNumber kind, cdrStream& stream);

/// Reads an any. One of another type gives monostate, and leaves the stream somewhere inside that any.
/// Errors   CORBA::MARSHAL for a type code or a length that claims more than there is.
void ReadSample(cdrStream& stream, SampleRecord& record);

/// Reads a record of this kind; monostate for kNoRecord.
/// Errors   CORBA::MARSHAL as its kind's Read.
void ReadRecord(RecordNumber kind, cdrStream& stream, SampleRecord& record);

void WriteRecord(const SampleView& sample, cdrStream& stream);

/// A topic name; no code set is applied to it, as none is to names of our own.
/// Errors   CORBA::MARSHAL; BAD_PARAM for a name of more than 4 KiB.
std::string ReadTopic(cdrStream& stream);

/// The reverse, in one block: the ORB's own way goes letter by letter.
void WriteTopic(const char* topic, cdrStream& stream);

void WriteSample(const SampleView& sample, cdrStream& stream);

/// A sample for several subscribers of a process, as it came in.
struct SharedRecord {
  SampleRecord record;
  HandleSeq handles;
};

/// What DDS_Group sends. A message could claim, and hold, millions of either, so there may be 1024 samples and as many
/// handles.
/// Errors   CORBA::MARSHAL as ReadSample; BAD_PARAM for more of them, and for a sample of another type, behind which
///          nothing is found.
std::deque<SharedRecord> ReadGroup(cdrStream& stream);

/// A sample to be sent and the subscriptions that it is for.
struct SharedSampleView {
  SampleView sample;
  std::vector<CORBA::Long> handles;
};

void WriteGroup(const std::vector<SharedSampleView>& samples, cdrStream& stream);

}  // namespace Corvanta
