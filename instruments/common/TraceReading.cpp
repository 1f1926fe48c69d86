// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/TraceReading.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/records/Records.h"

namespace Lumenar::Instruments {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;

void SetSamples(BT_DATA& record, std::span<const float> samples) {
  record.samples.length(static_cast<CORBA::ULong>(samples.size()));
  if (!samples.empty()) std::copy(samples.begin(), samples.end(), record.samples.get_buffer());
}

BT_DATA FirstRecord(const TraceForm& form, std::span<const float> samples) {
  BT_DATA record = DefaultRecord<BT_DATA>();
  record.units = VALUE::UnitsToCorba(form.units);
  record.x_step = form.x_step;
  record.header[2] = static_cast<CORBA::ULong>(form.x_unit);
  SetSamples(record, samples);
  SetCaptureTime(record, CaptureTimeNow());
  return record;
}

}  // namespace

TraceReading::TraceReading(const Place& place, const std::string& name, const TraceForm& form,
                           std::span<const float> first)
    : record_(FirstRecord(form, first)), reading_(place.namer, place.registration, name.c_str(), record_) {}

void TraceReading::Publish(std::span<const float> samples) {
  SetSamples(record_, samples);
  record_.sequence_number = next_number_++;
  SetCaptureTime(record_, CaptureTimeNow());
  reading_ = std::move(record_);  // which comes back with the buffer of the sample before
}

void SetCaptureTime(BT_DATA& record, std::uint64_t time_ns) {
  record.header[0] = static_cast<CORBA::ULong>(time_ns >> 32);
  record.header[1] = static_cast<CORBA::ULong>(time_ns & 0xffffffffu);
}

std::uint64_t CaptureTimeNow() {
  const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(since_epoch).count());
}

}  // namespace Lumenar::Instruments
