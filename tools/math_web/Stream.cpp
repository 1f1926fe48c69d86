// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Stream.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>
#include <variant>

#include "platform/records/Records.h"

namespace Lumenar::Web {
namespace {

using nlohmann::json;

Message TextMessage(const json& message) {
  return {std::make_shared<const std::string>(message.dump(-1, ' ', false, json::error_handler_t::replace))};
}

const char* NotFinite(double number) {
  if (std::isnan(number)) return "nan";
  return number > 0 ? "inf" : "-inf";
}

json OrNull(double number) { return std::isfinite(number) ? json(number) : json(); }

json ScalarJson(const Corvanta::VALUE_DOUBLE::VALUE& value) {
  json told{{"type", "scalar"},
            {"value", OrNull(value.val)},
            {"minus", OrNull(value.minus_err)},
            {"plus", OrNull(value.plus_err)},
            {"unit", Value::Units_text(VALUE::UnitsFromCorba(value.units))}};
  if (!std::isfinite(value.val)) told["not_finite"] = NotFinite(value.val);
  return told;
}

/// Null for a trace, and for a record of no kind.
json NumberJson(const Sample& sample) {
  if (const auto* scalar = std::get_if<Corvanta::VALUE_DOUBLE::VALUE>(&sample.record)) return ScalarJson(*scalar);
  if (const auto* number = std::get_if<CORBA::Long>(&sample.record)) return {{"type", "long"}, {"value", *number}};
  if (const auto* truth = std::get_if<bool>(&sample.record)) return {{"type", "long"}, {"value", *truth ? 1 : 0}};
  return nullptr;
}

std::uint32_t Limited(std::uint64_t count) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(count, kMost));
}

}  // namespace

void Stream::Attach(std::shared_ptr<Channel> channel) {
  Detach();
  channel_ = std::move(channel);
  channel_->Join(*this);
  sent_.reset();
  Offer();
}

void Stream::Detach() {
  if (channel_ != nullptr) channel_->Leave(*this);
  channel_ = nullptr;
}

void Stream::Show(const View& view) {
  view_ = view;
  if (channel_ != nullptr && channel_->NewestSample() != nullptr) Send();
}

void Stream::Ready() {
  under_way_ = false;
  Offer();
}

void Stream::NoteSent() {
  if (!under_way_ || is_trace_) return;
  under_way_ = false;
  Offer();
}

void Stream::Offer() {
  if (channel_ == nullptr || channel_->NewestSample() == nullptr || under_way_) return;
  if (sent_ != channel_->Number()) Send();
}

void Stream::Send() {
  const std::uint64_t number = channel_->Number();
  const std::uint64_t passed = sent_ && number > *sent_ + 1 ? number - *sent_ - 1 : 0;
  skipped_ += passed;
  totals_.skipped += passed;
  ++totals_.frames;
  sent_ = number;
  under_way_ = true;
  const Sample& sample = *channel_->NewestSample();
  is_trace_ = TraceIn(sample) != nullptr;
  is_trace_ ? SendTrace() : SendNumber(sample);
}

void Stream::SendTrace() {
  const Picture& picture = channel_->PictureFor(view_);
  FrameFacts facts = picture.facts;
  facts.stream = number_;
  facts.skipped = Limited(skipped_);
  TellUnits(facts);
  outlet_.Send({nullptr, HeadOf(facts), picture.numbers});
}

/// Of units that a frame has no room for.
void Stream::TellUnits(const FrameFacts& facts) {
  if (facts.y_unit.size() <= kUnitRoom && facts.x_unit.size() <= kUnitRoom) return;
  const std::string units = facts.y_unit + '\n' + facts.x_unit;
  if (std::exchange(told_units_, units) == units) return;
  outlet_.Send(TextMessage({{"type", "units"}, {"stream", number_}, {"y", facts.y_unit}, {"x", facts.x_unit}}));
}

void Stream::SendNumber(const Sample& sample) {
  json told = NumberJson(sample);
  if (told.is_null()) return;
  told["stream"] = number_;
  told["time"] = sample.time_s;
  told["skipped"] = skipped_;
  outlet_.Send(TextMessage(told));
}

void Stream::End(const std::string& reason) {
  Detach();
  outlet_.Send(TextMessage({{"type", "ended"}, {"stream", number_}, {"reason", reason}}));
}

}  // namespace Lumenar::Web
