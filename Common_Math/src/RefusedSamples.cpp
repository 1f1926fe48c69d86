// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/RefusedSamples.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>
#include <utility>

#include "platform/base/Diagnostic.h"
#include "platform/orb/CorbaText.h"

namespace Lumenar {
namespace {

constexpr const char* kOtherReasons = "other reasons";

thread_local RefusedSamples::OnItsWay* on_its_way = nullptr;

std::string SamplesText(unsigned long count, const char* more) {
  return fmt::format("{}{} sample{}", count, more, count == 1 ? "" : "s");
}

}  // namespace

RefusedSamples::RefusedSamples(CORBA::Long id, std::function<void(const std::string&)> write)
    : id_(id),
      write_(write ? std::move(write) : [](const std::string& line) { WriteError(line, Priority::Warning); }) {}

void RefusedSamples::AddInput(const std::string& topic) {
  Lock lock(mutex_);
  inputs_.push_back(topic);
}

std::vector<std::string> RefusedSamples::Inputs() const {
  Lock lock(mutex_);
  return inputs_;
}

void RefusedSamples::Count(const char* reason, bool has_fixed_line, Time now, std::string_view detail) noexcept {
  refusing_.store(true, std::memory_order_relaxed);
  if (on_its_way != nullptr && &on_its_way->refused_ == this) on_its_way->counted_ = true;
  try {
    std::string line;
    {
      Lock lock(mutex_);
      ++count_;
      last_ = reason;
      last_ += detail;
      line = LineFor(reason, has_fixed_line, now);
    }
    if (!line.empty()) write_(line);
  } catch (const std::exception&) {  // no memory for the words; the sample is counted
  }
}

void RefusedSamples::CountException() noexcept {
  if (on_its_way != nullptr && on_its_way->reason_ != nullptr) return;  // counted when the way ends
  try {
    try {
      throw;
    } catch (const Corvanta::MathFactory::MathFactoryException& refusal) {
      Count(refusal.text.in(), false);
    } catch (const CORBA::Exception& error) {
      Count(CorbaText(error).c_str(), false);
    } catch (const std::bad_alloc&) {
      Count("no memory", false);
    } catch (const std::exception& failure) {
      Count(failure.what(), false);
    } catch (...) {
      Count("unknown exception", false);
    }
  } catch (const std::bad_alloc&) {
    Count("no memory for the reason", false);
  }
}

/// The first of a reason in full; those that follow only where fixed lines do not say whose they are.
std::string RefusedSamples::LineFor(const char* reason, bool has_fixed_line, Time now) {
  Reason* known = Known(reason);
  if (known == nullptr) {
    const bool room = reasons_.size() < kMaxReasons;
    reasons_.push_back({room ? reason : kOtherReasons, now, 0});
    return fmt::format("{} refused {}: {}", Subject(), SamplesText(1, ""), reason);
  }
  ++known->left_out;
  if (!has_fixed_line || now - known->written < kPause) return {};
  known->written = now;
  return fmt::format("{} refused {}: {}", Subject(), SamplesText(std::exchange(known->left_out, 0), " more"), reason);
}

RefusedSamples::Reason* RefusedSamples::Known(const char* reason) {
  const auto found =
      std::find_if(reasons_.begin(), reasons_.end(), [&](const Reason& known) { return known.text == reason; });
  if (found != reasons_.end()) return &*found;
  return reasons_.size() > kMaxReasons ? &reasons_.back() : nullptr;
}

std::string RefusedSamples::Subject() const {
  return fmt::format("math object {} over {}", id_, fmt::join(inputs_, ", "));
}

Corvanta::MathFactory::RefusalStatus RefusedSamples::Status() const {
  Corvanta::MathFactory::RefusalStatus status;
  Lock lock(mutex_);
  status.refused = count_;
  status.last_reason = last_.c_str();
  return status;
}

RefusedSamples::OnItsWay::OnItsWay(RefusedSamples& refused) noexcept
    : refused_(refused), came_(std::chrono::steady_clock::now()), before_(std::exchange(on_its_way, this)) {}

RefusedSamples::OnItsWay::~OnItsWay() {
  on_its_way = before_;
  if (reason_ != nullptr) {
    refused_.Count(reason_, true, came_, detail_);
  } else if (!counted_) {
    refused_.refusing_.store(false, std::memory_order_relaxed);
  }
}

void RefusedSamples::NoteFixedLine(const char* reason, std::string_view detail) noexcept {
  if (on_its_way == nullptr || on_its_way->reason_ != nullptr) return;
  on_its_way->reason_ = reason;
  detail.copy(on_its_way->detail_, OnItsWay::kMostDetail);
}

RefusedSamples::Time RefusedSamples::TimeOfSample() const noexcept {
  const bool ours = on_its_way != nullptr && &on_its_way->refused_ == this;
  return ours ? on_its_way->came_ : std::chrono::steady_clock::now();
}

// The time goes first: who sees the number sees a time that belongs to it or to a later one.
void SampleFigures::Counter::Count(Time now) noexcept {
  last_.store(now, std::memory_order_relaxed);
  number_.fetch_add(1, std::memory_order_release);
}

SampleFigures::Counted SampleFigures::Counter::At(Time now) const noexcept {
  const std::uint64_t number = number_.load(std::memory_order_acquire);
  if (number == 0) return {};
  const auto age = std::chrono::duration_cast<std::chrono::microseconds>(now - Last()).count();
  return {number, static_cast<std::uint64_t>(std::max<std::chrono::microseconds::rep>(age, 0))};
}

void SampleFigures::ResultCame(Time now) noexcept {
  const std::uint64_t before = results_.At(now).number;
  if (before > 0) {
    const double interval = std::chrono::duration<double, std::micro>(now - results_.Last()).count();
    const double mean = IntervalMicroseconds();
    const double share = 1.0 / static_cast<double>(std::min(before, kIntervals));
    interval_us_.store(mean + (std::max(interval, 0.0) - mean) * share, std::memory_order_relaxed);
  }
  results_.Count(now);
}

}  // namespace Lumenar
