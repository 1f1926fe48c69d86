// SPDX-License-Identifier: Apache-2.0
#include "platform/records/SampleRecord.h"

#include "platform/records/trace_record.h"

namespace Corvanta {

void SampleRecord::Take(SampleRecord& other) {
  std::visit([this]<class T>(T& record) { Lumenar::TakeRecord(emplace<T>(), record); }, other);
}

}  // namespace Corvanta

namespace Lumenar {

std::size_t SampleBytes(const Corvanta::SampleRecord& sample) {
  return sizeof(sample) + std::visit([](const auto& record) { return SampleBytes(record); }, sample);
}

}  // namespace Lumenar
