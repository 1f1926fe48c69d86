// SPDX-License-Identifier: Apache-2.0
#include "client/OwnReading.h"

#include <fmt/format.h>

#include <chrono>
#include <utility>

#include "client/Text.h"
#include "platform/orb/GivingBack.h"

namespace Lumenar::Client {
namespace {

constexpr std::size_t kAllElse = 64 * 1024;  // of a message, besides the samples: ample

std::string CheckedItem(const std::string& item) {
  if (item.empty() || item.find('/') != std::string::npos || Printable(item) != item) {
    throw Error(ErrorKind::BadArgument,
                fmt::format("\"{}\" is no name of a reading: it is printable, without slashes and backslashes",
                            Printable(item)));
  }
  return item;
}

void SetCaptureTime(Corvanta::BASIC_TRACE::BT_DATA& trace) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto time_ns = static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
  trace.header[0] = static_cast<CORBA::ULong>(time_ns >> 32);
  trace.header[1] = static_cast<CORBA::ULong>(time_ns & 0xffffffffu);
}

}  // namespace

OwnReading::OwnReading(std::shared_ptr<OwnEngine> engine, const std::string& item, Corvanta::SampleRecord&& first)
    : engine_(std::move(engine)), item_(CheckedItem(item)), place_(*engine_, item_), namer_(engine_->Name()) {
  reading_ = Offered(first);
  Publish(std::move(first));
}

OwnReading::~OwnReading() {
  const Corvanta::GivingBack giving_back(engine_->Orb());
  reading_ = std::monostate();
}

OwnReading::Item OwnReading::Offered(const Corvanta::SampleRecord& first) {
  GUI_AbleRegistration& registration = engine_->Registration();
  const char* name = item_.c_str();
  if (const auto* trace = std::get_if<Trace>(&first))
    return std::make_unique<Corvanta::EngineBasicTrace_i>(namer_, registration, name, *trace);
  if (const auto* scalar = std::get_if<Scalar>(&first))
    return std::make_unique<Corvanta::EngineReadingValueDouble_i>(namer_, registration, name, *scalar);
  if (const auto* number = std::get_if<CORBA::Long>(&first))
    return std::make_unique<Corvanta::EngineReadingLong_i>(namer_, registration, name, static_cast<int>(*number));
  if (const auto* flag = std::get_if<bool>(&first))
    return std::make_unique<Corvanta::EngineReadingBoolean_i>(namer_, registration, name, *flag);
  throw Error(ErrorKind::BadArgument, Name() + ": there is nothing to publish");
}

void OwnReading::Check(const Corvanta::SampleRecord& sample) const {
  if (sample.index() != reading_.index()) throw Error(ErrorKind::BadArgument, Name() + ": is of another kind");
  if (SampleBytes(sample) + kAllElse > engine_->MaxBytes()) {
    throw Error(ErrorKind::BadArgument, fmt::format("{}: {} points are more than a message may hold", Name(),
                                                    SampleBytes(sample) / sizeof(float)));
  }
}

void OwnReading::Complete(Corvanta::SampleRecord& sample) {
  auto* trace = std::get_if<Trace>(&sample);
  if (trace == nullptr) return;
  trace->sequence_number = next_number_++;
  SetCaptureTime(*trace);
}

void OwnReading::Publish(Corvanta::SampleRecord&& sample) {
  Check(sample);
  Lock lock(mutex_);
  Complete(sample);
  if (auto* trace = std::get_if<Trace>(&sample)) {
    *std::get<std::unique_ptr<Corvanta::EngineBasicTrace_i>>(reading_) = std::move(*trace);
  } else if (const auto* scalar = std::get_if<Scalar>(&sample)) {
    *std::get<std::unique_ptr<Corvanta::EngineReadingValueDouble_i>>(reading_) = *scalar;
  } else if (const auto* number = std::get_if<CORBA::Long>(&sample)) {
    *std::get<std::unique_ptr<Corvanta::EngineReadingLong_i>>(reading_) = static_cast<int>(*number);
  } else {
    *std::get<std::unique_ptr<Corvanta::EngineReadingBoolean_i>>(reading_) = std::get<bool>(sample);
  }
}

}  // namespace Lumenar::Client
