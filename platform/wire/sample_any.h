// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/wire/record_kinds.h"

namespace Corvanta {

/// The records out of and into an any that is in memory already (calls within one process). An any of another type
/// gives a sample without a record.
SampleRecord RecordFromAny(const CORBA::Any& any);
void RecordToAny(const SampleView& sample, CORBA::Any& any);

}  // namespace Corvanta
