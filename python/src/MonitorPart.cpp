// SPDX-License-Identifier: Apache-2.0
#include "python/src/MonitorPart.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include "python/src/ProcessMark.h"
#include "python/src/blocking.h"
#include "python/src/interpreter.h"

namespace Lumenar::Python {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kLongest_s = 1e9;  // beyond it the clock's numbers would overflow

Clock::time_point DeadlineAfter(std::optional<double> limit_s) {
  const double seconds = std::min(limit_s.value_or(kLongest_s), kLongest_s);
  return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

}  // namespace

MonitorPart::Arrivals::Arrivals()
    : descriptor(eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK)) {  // what is there counts as come
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "a descriptor for arrivals");
}

MonitorPart::Arrivals::~Arrivals() { close(descriptor); }

std::shared_ptr<Result> MonitorPart::State::ResultOf(std::optional<Client::Delivery> delivery) const {
  if (!delivery) return nullptr;
  return std::make_shared<Result>(names.at(delivery->source), delivery->time, std::move(delivery->record));
}

MonitorPart::MonitorPart(const std::shared_ptr<Client::Connection>& connection,
                         const std::vector<std::shared_ptr<ReadingPart>>& readings)
    : state_(std::make_shared<State>(connection)) {
  const auto state = state_.Get();
  for (const auto& reading : readings) {
    state->names.push_back(reading->Name());
    state->subscription.Add(reading->Use()->reading);
  }
}

std::shared_ptr<Result> MonitorPart::Next(std::optional<double> limit_s) const {
  ProcessMark::RequireOwn();
  const Clock::time_point deadline = DeadlineAfter(limit_s);
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    std::shared_ptr<Result> result;
    bool ended = false;
    {
      const WithoutGil without_gil;
      const auto state = state_.Get();
      if (state) result = state->ResultOf(state->subscription.Next(std::clamp(left, {}, kLook)));
      ended = !state || state->subscription.Ended();
    }
    if (result) return result;
    CheckSignals();
    if (ended || left.count() <= 0) return nullptr;
  }
}

std::shared_ptr<Result> MonitorPart::Poll() const {
  ProcessMark::RequireOwn();
  const auto state = state_.Get();
  if (!state) return nullptr;
  eventfd_t count = 0;
  if (arrivals_) eventfd_read(arrivals_->descriptor, &count);  // first: what comes from here on is told again
  return state->ResultOf(state->subscription.Next({}));
}

int MonitorPart::FileDescriptor() {
  ProcessMark::RequireOwn();
  if (arrivals_) return arrivals_->descriptor;
  const auto arrivals = std::make_shared<Arrivals>();
  if (const auto state = state_.Get())
    state->subscription.OnArrival([arrivals] { eventfd_write(arrivals->descriptor, 1); });
  arrivals_ = arrivals;
  return arrivals_->descriptor;
}

bool MonitorPart::HasEnded() const {
  const auto state = state_.Get();
  return !state || state->subscription.Ended();
}

unsigned long long MonitorPart::Lost() const {
  const auto state = state_.Get();
  return state ? state->subscription.Lost() : lost_.load();
}

void MonitorPart::Close() noexcept {
  const auto state = state_.Take();
  if (!state) return;
  state->subscription.End();
  lost_ = state->subscription.Lost();
}

}  // namespace Lumenar::Python
