// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

namespace Corvanta {

/// The kinds of record that topics carry.
enum class RecordKind { Unknown, Trace, Value, Long, Boolean };

/// Reads the type code of an any and says which record follows, without building a type code.
///
/// At most 2 KiB are looked at, through at most 8 names for a type; the records' types are compared member by member,
/// as deep as they are themselves. After Unknown the stream stands somewhere inside the any, which can only be skipped.
/// Errors   CORBA::MARSHAL for a type code that claims what is not there.
RecordKind ReadRecordTypeCode(cdrStream& stream);

/// Writes the type code of a record of this kind. Errors   std::logic_error for Unknown.
void WriteRecordTypeCode(RecordKind kind, cdrStream& stream);

}  // namespace Corvanta
