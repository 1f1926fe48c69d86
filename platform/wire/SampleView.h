// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <variant>
#include <vector>

#include "platform/records/SampleRecord.h"

namespace Corvanta {

/// A sample to be sent, not owned.
using SampleView = std::variant<const BASIC_TRACE::BT_DATA*, const VALUE_DOUBLE::VALUE*, CORBA::Long, bool>;

/// Errors   CORBA::BAD_PARAM for a sample without a record.
SampleView ViewOf(const SampleRecord& record);
inline SampleView ViewOf(const BASIC_TRACE::BT_DATA& record) { return &record; }
inline SampleView ViewOf(const VALUE_DOUBLE::VALUE& record) { return &record; }
inline SampleView ViewOf(int record) { return static_cast<CORBA::Long>(record); }
inline SampleView ViewOf(bool record) { return record; }

/// A sample to be sent and the subscriptions that it is for.
struct SharedSampleView {
  SampleView sample;
  std::vector<CORBA::Long> handles;
};

}  // namespace Corvanta
