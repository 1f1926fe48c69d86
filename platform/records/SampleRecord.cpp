// SPDX-License-Identifier: Apache-2.0
#include "platform/records/SampleRecord.h"

#include <cstring>

namespace Lumenar {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;

constexpr std::size_t kHeaderWords = sizeof(BT_DATA::header) / sizeof(CORBA::ULong);

void CopyFixedFields(BT_DATA& to, const BT_DATA& from) {
  to.sequence_number = from.sequence_number;
  to.flags = from.flags;
  for (std::size_t i = 0; i < kHeaderWords; ++i) to.header[i] = from.header[i];
  to.units = from.units;
  to.x_step = from.x_step;
}

/// Room for `count` samples of any content: unlike length(), it copies no old samples into a larger buffer.
void MakeRoom(CORBA::FloatSeq& samples, CORBA::ULong count) {
  if (samples.maximum() < count) {
    samples.replace(count, count, CORBA::FloatSeq::allocbuf(count), true);
  } else {
    samples.length(count);
  }
}

}  // namespace

void CopyRecord(BT_DATA& to, const BT_DATA& from) {
  if (&to == &from) return;
  const CORBA::ULong count = from.samples.length();
  MakeRoom(to.samples, count);
  if (count > 0) std::memcpy(to.samples.get_buffer(), from.samples.get_buffer(), count * sizeof(CORBA::Float));
  CopyFixedFields(to, from);
}

void TakeRecord(BT_DATA& to, BT_DATA& from) {
  if (&to == &from) return;
  if (!from.samples.release()) {
    CopyRecord(to, from);
    return;
  }
  const CORBA::ULong maximum = from.samples.maximum();
  const CORBA::ULong count = from.samples.length();
  to.samples.replace(maximum, count, from.samples.get_buffer(true), true);
  CopyFixedFields(to, from);
}

void ExchangeRecord(BT_DATA& to, BT_DATA& from) {
  if (&to == &from) return;
  if (!from.samples.release() || !to.samples.release()) {
    CopyRecord(to, from);
    return;
  }
  const CORBA::ULong maximum = from.samples.maximum();
  const CORBA::ULong count = from.samples.length();
  CORBA::Float* samples = from.samples.get_buffer(true);
  const CORBA::ULong former_maximum = to.samples.maximum();
  const CORBA::ULong former_count = to.samples.length();
  from.samples.replace(former_maximum, former_count, to.samples.get_buffer(true), true);
  to.samples.replace(maximum, count, samples, true);
  CopyFixedFields(to, from);
}

std::size_t SampleBytes(const Corvanta::SampleRecord& sample) {
  return sizeof(sample) + std::visit([](const auto& record) { return SampleBytes(record); }, sample);
}

}  // namespace Lumenar

namespace Corvanta {

void SampleRecord::Take(SampleRecord& other) {
  std::visit([this]<class T>(T& record) { Lumenar::TakeRecord(emplace<T>(), record); }, other);
}

}  // namespace Corvanta
