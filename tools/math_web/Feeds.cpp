// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Feeds.h"

#include <algorithm>
#include <utility>

namespace Lumenar::Web {
namespace {

constexpr std::chrono::milliseconds kBetweenPictures{16};
constexpr std::chrono::seconds kLingering{5};
constexpr std::chrono::milliseconds kSweepPause{500};

}  // namespace

Feeds::Feeds(Client::Connection& connection, std::string factory, Deliver deliver)
    : connection_(connection), factory_(std::move(factory)), deliver_(std::move(deliver)), thread_([this] { Run(); }) {}

Feeds::~Feeds() {
  {
    Lock lock(due_mutex_);
    ended_ = true;
    due_changed_.NotifyAll();
  }
  thread_.join();
  Lock lock(mutex_);  // nobody else is left; what goes here still finds the rest of this object
  feeds_.clear();
  retired_feeds_.clear();
  retired_.clear();
}

std::shared_ptr<Feed> Feeds::Open(const std::string& text) {
  NamedReading what = FindNamed(connection_, factory_, text);
  std::shared_ptr<Feed> feed;
  {
    Lock lock(mutex_);
    Entry& entry = feeds_[what.name];
    if (entry.feed == nullptr) {
      const auto retire = [this](std::shared_ptr<Client::Subscription> subscription) {
        Lock within(mutex_);
        retired_.push_back(std::move(subscription));
      };
      entry.feed = std::make_shared<Feed>(
          connection_, std::move(what), [this](Feed& one) { Wake(one); }, retire);
    }
    entry.used = Clock::now();
    feed = entry.feed;
  }
  feed->Open();
  return feed;
}

std::vector<std::shared_ptr<Feed>> Feeds::OfObjects() const {
  std::vector<std::shared_ptr<Feed>> feeds;
  Lock lock(mutex_);
  for (const auto& [name, entry] : feeds_)
    if (entry.feed->Object()) feeds.push_back(entry.feed);
  return feeds;
}

std::vector<std::string> Feeds::Refresh(const TopicOf& topic_of) {
  std::vector<std::string> gone;
  for (const auto& feed : OfObjects()) {
    const auto topic = topic_of(*feed->Object());
    if (!topic || (!topic->empty() && Follow(*feed, *topic))) continue;
    gone.push_back(feed->Name());
    Forget(feed->Name());
  }
  return gone;
}

/// True unless the object is gone. The mark of the engine's run behind '@' is the same for all items of an object.
bool Feeds::Follow(Feed& feed, const std::string& topic) {
  const auto mark = [](const std::string& text) { return text.substr(std::min(text.rfind('@'), text.size())); };
  if (mark(feed.Topic()) == mark(topic)) return true;
  try {
    feed.Follow(FindNamed(connection_, factory_, feed.Name()).reading);
    return true;
  } catch (const Client::Error& error) {
    return error.Kind() != Client::ErrorKind::NotFound;  // else the next look tries again
  }
}

void Feeds::Forget(const std::string& name) {
  Lock lock(mutex_);
  const auto entry = feeds_.find(name);
  if (entry == feeds_.end()) return;
  retired_feeds_.push_back(std::move(entry->second.feed));
  feeds_.erase(entry);
}

std::size_t Feeds::Count() const {
  Lock lock(mutex_);
  return feeds_.size();
}

void Feeds::Wake(Feed& feed) {
  Lock lock(due_mutex_);
  if (!is_due_.insert(&feed).second) return;
  const auto taken = taken_.find(&feed);
  const auto due = taken == taken_.end() ? Clock::now() : std::max(Clock::now(), taken->second + kBetweenPictures);
  due_.emplace(due, DueFeed{&feed, feed.weak_from_this()});
  due_changed_.NotifyOne();
}

void Feeds::Run() noexcept {
  auto swept = Clock::now();
  while (true) {
    if (const auto feed = NextDue()) {
      if (const auto newest = feed->Take()) deliver_(feed->Name(), *newest);
    }
    {
      Lock lock(due_mutex_);
      if (ended_) return;
    }
    if (Clock::now() < swept + kSweepPause) continue;
    Sweep();
    swept = Clock::now();
  }
}

/// Null when it is time to look around.
std::shared_ptr<Feed> Feeds::NextDue() {
  Lock lock(due_mutex_);
  const auto now = Clock::now();
  if (due_.empty() || due_.begin()->first > now) {
    const auto until = due_.empty() ? now + kSweepPause : std::min(due_.begin()->first, now + kSweepPause);
    if (!ended_) due_changed_.WaitFor(due_mutex_, until - now);
  }
  if (ended_ || due_.empty() || due_.begin()->first > Clock::now()) return nullptr;
  const auto feed = due_.begin()->second.feed.lock();
  is_due_.erase(due_.begin()->second.key);
  due_.erase(due_.begin());
  if (feed != nullptr) taken_[feed.get()] = Clock::now();
  return feed;
}

/// What nobody uses any more goes here, and the marks of feeds that are no more.
void Feeds::Sweep() {
  std::vector<std::shared_ptr<Client::Subscription>> subscriptions;
  std::vector<std::shared_ptr<Feed>> feeds;
  const auto now = Clock::now();
  {
    Lock lock(mutex_);
    subscriptions.swap(retired_);
    for (auto entry = feeds_.begin(); entry != feeds_.end();) {
      if (entry->second.feed.use_count() > 1) entry->second.used = now;
      const bool is_left = now - entry->second.used > kLingering;
      if (is_left) retired_feeds_.push_back(std::move(entry->second.feed));
      entry = is_left ? feeds_.erase(entry) : std::next(entry);
    }
    const auto unused = std::partition(retired_feeds_.begin(), retired_feeds_.end(),
                                       [](const auto& feed) { return feed.use_count() > 1; });
    std::move(unused, retired_feeds_.end(), std::back_inserter(feeds));
    retired_feeds_.erase(unused, retired_feeds_.end());
  }
  Lock lock(due_mutex_);
  for (const auto& feed : feeds) {
    is_due_.erase(feed.get());
    taken_.erase(feed.get());
  }
}

}  // namespace Lumenar::Web
