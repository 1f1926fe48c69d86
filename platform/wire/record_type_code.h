// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include "platform/wire/record_kinds.h"

namespace Corvanta {

/// Reads the type code of an any and says which kind of record follows, kNoRecord for none, without building a type
/// code.
///
/// At most 2 KiB are looked at, through at most 8 names for a type; the records' types are compared member by member,
/// as deep as they are themselves. After kNoRecord the stream stands somewhere inside the any, which can only be skipped.
/// Errors   CORBA::MARSHAL for a type code that claims what is not there.
RecordNumber ReadRecordTypeCode(cdrStream& stream);

/// Writes the type code of a kind. Errors   std::logic_error for kNoRecord.
void WriteRecordTypeCode(RecordNumber kind, cdrStream& stream);

}  // namespace Corvanta
