// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "client/Connection.h"
#include "client/Subscription.h"
#include "platform/base/Mutex.h"
#include "tools/math_web/Sample.h"
#include "tools/math_web/named_reading.h"

namespace Lumenar::Web {

/// The newest sample of a reading, and how many have come up to it.
struct Newest {
  std::shared_ptr<const Sample> sample;
  std::uint64_t number = 0;
};

/// The one subscription to a reading, whatever the number of clients that look at it.
///
/// Whoever destroys a subscription waits for the end of the ORB when that has begun. So `retire` takes those that are
/// not needed any more, and destroys them where nobody waits.
/// Threads  any.
class Feed : public std::enable_shared_from_this<Feed> {
 public:
  using Retire = std::function<void(std::shared_ptr<Client::Subscription>)>;
  using Wake = std::function<void(Feed&)>;

  /// `wake` is called when a sample has come, on the thread that delivers it; it must not block.
  Feed(Client::Connection& connection, NamedReading what, Wake wake, Retire retire);
  ~Feed();
  Feed(const Feed&) = delete;
  Feed& operator=(const Feed&) = delete;

  const std::string& Name() const { return name_; }
  const std::string& Kind() const { return kind_; }
  std::optional<Client::MathName> Object() const { return object_; }
  std::string Topic() const;

  /// Subscribes, and gets the present value, which is the first sample; does nothing once that was done. Several that
  /// want it at the same time wait for the one.
  /// Errors   Client::Error; the next one tries again.
  void Open();

  /// The same reading under another topic, after its engine has begun anew.
  /// Errors   as Open.
  void Follow(const Client::Reading& reading);

  /// The newest of the samples that have come since the last time; nothing when none has.
  std::optional<Newest> Take();

  /// What Take gave last.
  std::optional<Newest> Last() const;

 private:
  std::shared_ptr<Client::Subscription> Subscribed(const Client::Reading& reading);
  void GiveUp(std::shared_ptr<Client::Subscription> subscription);
  void TakePresent(const Client::Reading& reading);

  Client::Connection& connection_;
  const std::string name_;
  const std::string kind_;  // as in TypeInfo
  const std::optional<Client::MathName> object_;
  const Wake wake_;
  const Retire retire_;
  Mutex opening_;        // held over calls to other processes: whoever wants the same reading waits for them anyway
  mutable Mutex mutex_;  // a leaf
  Client::Reading reading_ GUARDED_BY(mutex_);
  std::shared_ptr<Client::Subscription> subscription_ GUARDED_BY(mutex_);
  std::optional<Newest> present_ GUARDED_BY(mutex_);
  std::optional<Newest> last_ GUARDED_BY(mutex_);
  std::uint64_t came_ GUARDED_BY(mutex_) = 0;
};

}  // namespace Lumenar::Web
