// SPDX-License-Identifier: Apache-2.0
#include "platform/records/SampleRecord.h"

#include "platform/records/trace_record.h"

namespace Corvanta {

void SampleRecord::Take(SampleRecord& other) {
  if (auto* trace = std::get_if<BASIC_TRACE::BT_DATA>(&other)) {
    Lumenar::TakeRecord(emplace<BASIC_TRACE::BT_DATA>(), *trace);
  } else {
    SampleRecordKinds::operator=(other);
  }
}

}  // namespace Corvanta
