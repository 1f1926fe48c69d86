// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Feed.h"

#include <utility>

#include "client/values.h"

namespace Lumenar::Web {

Feed::Feed(Client::Connection& connection, NamedReading what, Wake wake, Retire retire)
    : connection_(connection),
      name_(std::move(what.name)),
      kind_(what.reading.type_name),
      object_(std::move(what.object)),
      wake_(std::move(wake)),
      retire_(std::move(retire)),
      reading_(std::move(what.reading)) {}

/// A subscription that ends wakes, too: it must not wake who is no more.
Feed::~Feed() {
  if (subscription_ != nullptr) subscription_->OnArrival({});
}

void Feed::GiveUp(std::shared_ptr<Client::Subscription> subscription) {
  subscription->OnArrival({});
  retire_(std::move(subscription));
}

std::string Feed::Topic() const {
  Lock lock(mutex_);
  return reading_.topic;
}

std::shared_ptr<Client::Subscription> Feed::Subscribed(const Client::Reading& reading) {
  auto subscription = std::make_shared<Client::Subscription>(connection_);
  try {
    subscription->OnArrival([this] { wake_(*this); });
    subscription->Add(reading);
  } catch (...) {  // goes on below
    GiveUp(std::move(subscription));
    throw;
  }
  return subscription;
}

/// Without it a reading that rests would show nothing.
void Feed::TakePresent(const Client::Reading& reading) {
  if (!Client::HasValue(reading)) return;
  try {
    auto sample = SampleFrom(Client::GetValue(reading), std::chrono::system_clock::now());
    Lock lock(mutex_);
    if (came_ > 0) return;
    present_ = Newest{std::make_shared<const Sample>(std::move(sample)), 0};
  } catch (const Client::Error&) {  // its engine is away: the samples come when it is back
  }
  wake_(*this);
}

void Feed::Open() {
  Lock turn(opening_);
  Client::Reading reading;
  {
    Lock lock(mutex_);
    if (subscription_ != nullptr) return;
    reading = reading_;
  }
  auto subscription = Subscribed(reading);
  {
    Lock lock(mutex_);
    subscription_ = std::move(subscription);
  }
  TakePresent(reading);
}

void Feed::Follow(const Client::Reading& reading) {
  Lock turn(opening_);
  auto subscription = Subscribed(reading);
  {
    Lock lock(mutex_);
    subscription_.swap(subscription);
    reading_ = reading;
  }
  if (subscription != nullptr) GiveUp(std::move(subscription));
}

std::optional<Newest> Feed::Take() {
  std::shared_ptr<Client::Subscription> subscription;
  std::optional<Newest> newest;
  {
    Lock lock(mutex_);
    subscription = subscription_;
    newest = std::exchange(present_, std::nullopt);
    if (newest) last_ = newest;
  }
  if (subscription == nullptr) return newest;
  std::optional<Client::Delivery> last;
  std::uint64_t came = 0;
  for (auto next = subscription->Next({}); next; next = subscription->Next({}), ++came) last = std::move(next);
  if (!last) return newest;
  Lock lock(mutex_);
  came_ += came;
  last_ = Newest{std::make_shared<const Sample>(SampleFrom(std::move(last->record), last->time)), came_};
  return last_;
}

std::optional<Newest> Feed::Last() const {
  Lock lock(mutex_);
  return last_;
}

}  // namespace Lumenar::Web
