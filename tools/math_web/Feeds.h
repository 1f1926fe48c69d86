// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "client/Connection.h"
#include "platform/base/Mutex.h"
#include "tools/math_web/Feed.h"

namespace Lumenar::Web {

/// The feeds of all readings that clients look at, each once, and the thread that takes their samples: of each reading
/// the newest, 60 times a second at most, which is as often as a screen shows another picture. A feed that nobody has
/// any more stays for a few seconds, for who comes back.
/// Threads  any.
class Feeds {
 public:
  /// Runs on the thread of the feeds; must not block.
  using Deliver = std::function<void(const std::string& name, const Newest& newest)>;

  Feeds(Client::Connection& connection, std::string factory, Deliver deliver);

  /// After the ORB has been shut down, or while it runs; ends the thread.
  ~Feeds();
  Feeds(const Feeds&) = delete;
  Feeds& operator=(const Feeds&) = delete;

  /// The feed of what a text means, open. Calls other processes.
  /// Errors   Client::Error.
  std::shared_ptr<Feed> Open(const std::string& text);

  /// Where the items of math objects are now: an object whose topic is another is followed, of one that is no more the
  /// names are returned, and its feeds go. Calls other processes.
  /// `topic_of` tells the RESULT's topic of an object; empty when it is no more, nothing when that is not known.
  using TopicOf = std::function<std::optional<std::string>(const Client::MathName&)>;
  std::vector<std::string> Refresh(const TopicOf& topic_of);

  /// How many readings are subscribed to.
  std::size_t Count() const;

 private:
  using Clock = std::chrono::steady_clock;
  struct Entry {
    std::shared_ptr<Feed> feed;
    Clock::time_point used;
  };
  struct DueFeed {
    const Feed* key;
    std::weak_ptr<Feed> feed;
  };

  std::vector<std::shared_ptr<Feed>> OfObjects() const;
  bool Follow(Feed& feed, const std::string& topic);
  void Forget(const std::string& name);
  void Wake(Feed& feed);
  void Run() noexcept;
  std::shared_ptr<Feed> NextDue();
  void Sweep();

  Client::Connection& connection_;
  const std::string factory_;
  const Deliver deliver_;
  mutable Mutex mutex_;  // a leaf
  std::map<std::string, Entry> feeds_ GUARDED_BY(mutex_);
  std::vector<std::shared_ptr<Feed>> retired_feeds_ GUARDED_BY(mutex_);
  std::vector<std::shared_ptr<Client::Subscription>> retired_ GUARDED_BY(mutex_);
  Mutex due_mutex_;  // a leaf, taken within the lock of a subscription's queue
  Condition due_changed_;
  std::multimap<Clock::time_point, DueFeed> due_ GUARDED_BY(due_mutex_);
  std::set<const Feed*> is_due_ GUARDED_BY(due_mutex_);
  std::map<const Feed*, Clock::time_point> taken_ GUARDED_BY(due_mutex_);
  bool ended_ GUARDED_BY(due_mutex_) = false;
  std::thread thread_;
};

}  // namespace Lumenar::Web
