// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "services/topic_manager/Sample.h"

namespace Lumenar::Test {

inline SamplePtr LongSample(int value) {
  return SamplePtr(new Corvanta::SampleRecord(static_cast<CORBA::Long>(value)));
}

inline SamplePtr TraceSample(unsigned points) {
  Corvanta::BASIC_TRACE::BT_DATA trace{};
  trace.samples.length(points);
  return SamplePtr(new Corvanta::SampleRecord(std::move(trace)));
}

inline int ValueOf(const Corvanta::SampleRecord& sample) { return std::get<CORBA::Long>(sample); }

}  // namespace Lumenar::Test
