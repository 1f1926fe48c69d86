// SPDX-License-Identifier: Apache-2.0
#include "client/Subscription.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <string>
#include <utility>

#include "platform/base/Mutex.h"
#include "platform/dds/GroupSubscriber.h"
#include "platform/wire/sample_any.h"

namespace Lumenar::Client {
namespace {

constexpr const char* kManagerAdvice = "is topic_manager running?";
constexpr std::size_t kQueuedSamples = 4096;
constexpr std::chrono::milliseconds kLongestWait = std::chrono::hours(24 * 365);  // what is to come fits into the clock
constexpr std::size_t kQueuedBytes = std::size_t{64} << 20;

}  // namespace

// What the ORB's threads fill and the reader empties.
class Subscription::Queue {
 public:
  void Push(Delivery delivery) {
    Lock lock(mutex_);
    if (ended_) return;
    bytes_ += SampleBytes(delivery.record);
    deliveries_.push_back(std::move(delivery));
    while (deliveries_.size() > kQueuedSamples || (bytes_ > kQueuedBytes && deliveries_.size() > 1)) {
      NoteLost(PopFront().source);
    }
    arrived_.NotifyOne();
    if (on_arrival_) on_arrival_();
  }

  void OnArrival(std::function<void()> arrived) {
    Lock lock(mutex_);
    on_arrival_ = std::move(arrived);
  }

  std::optional<Delivery> Next(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + std::min(limit, kLongestWait);
    Lock lock(mutex_);
    while (deliveries_.empty() && !ended_) {
      const auto left = deadline - std::chrono::steady_clock::now();
      if (left.count() <= 0 || !arrived_.WaitFor(mutex_, left)) break;
    }
    if (deliveries_.empty() || ended_) return std::nullopt;
    return TakeFront();
  }

  std::optional<Delivery> Unread() {
    Lock lock(mutex_);
    return deliveries_.empty() ? std::nullopt : std::optional(TakeFront());
  }

  void NoteRenewed(std::size_t source) {
    Lock lock(mutex_);
    if (std::find(renewed_.begin(), renewed_.end(), source) == renewed_.end()) renewed_.push_back(source);
  }

  std::vector<std::size_t> TakeRenewed() {
    Lock lock(mutex_);
    return std::exchange(renewed_, {});
  }

  void End() {
    Lock lock(mutex_);
    ended_ = true;
    arrived_.NotifyAll();
    if (on_arrival_) on_arrival_();
  }

  bool Ended() const {
    Lock lock(mutex_);
    return ended_;
  }

  unsigned long long Lost() const {
    Lock lock(mutex_);
    return lost_;
  }

 private:
  Delivery PopFront() REQUIRES(mutex_) {
    Delivery front = std::move(deliveries_.front());
    deliveries_.pop_front();
    bytes_ -= SampleBytes(front.record);
    return front;
  }

  // What was lost was older than all that is here, so it lies right before the next one that is taken.
  Delivery TakeFront() REQUIRES(mutex_) {
    Delivery front = PopFront();
    front.lost = std::exchange(lost_before_, {});
    return front;
  }

  void NoteLost(std::size_t source) REQUIRES(mutex_) {
    ++lost_;
    const auto known = std::find_if(lost_before_.begin(), lost_before_.end(),
                                    [source](const LostSamples& lost) { return lost.source == source; });
    if (known == lost_before_.end()) return lost_before_.push_back({source, 1});
    ++known->samples;
  }

  mutable Mutex mutex_;
  Condition arrived_;
  std::function<void()> on_arrival_ GUARDED_BY(mutex_);
  std::deque<Delivery> deliveries_ GUARDED_BY(mutex_);
  std::vector<std::size_t> renewed_ GUARDED_BY(mutex_);
  std::size_t bytes_ GUARDED_BY(mutex_) = 0;
  unsigned long long lost_ GUARDED_BY(mutex_) = 0;
  std::vector<LostSamples> lost_before_ GUARDED_BY(mutex_);  // before the oldest that is here
  bool ended_ GUARDED_BY(mutex_) = false;
};

// The counted servant that the topic manager calls. It shares the queue, so that a delivery that comes late harms
// nothing.
class Subscription::Subscriber : public Corvanta::GroupSubscriber {
 public:
  Subscriber(const Corvanta::DdsBaseAccess& topics, std::shared_ptr<Queue> queue, std::size_t source)
      : GroupSubscriber(topics), queue_(std::move(queue)), source_(source) {}

  void DDS_Callback(const CORBA::Any& sample) override { Take(Corvanta::RecordFromAny(sample)); }
  CORBA::Long GetId() override { return handle_; }
  void SetHandle(CORBA::Long handle) {
    handle_ = handle;
    JoinGroup(handle);
  }
  void Close() { LeaveGroup(); }

 protected:
  ~Subscriber() override = default;

  void Take(Corvanta::SampleRecord&& record) override {
    queue_->Push({source_, std::chrono::system_clock::now(), std::move(record)});
  }

 private:
  const std::shared_ptr<Queue> queue_;
  const std::size_t source_;
  std::atomic<CORBA::Long> handle_{0};
};

struct Subscription::Entry {
  std::string topic;
  PortableServer::Servant_var<Subscriber> servant;
  Corvanta::DDS_Sub_var reference;
};

Subscription::Subscription(Connection& connection)
    : queue_(std::make_shared<Queue>()), connection_(connection), orb_(connection.Orb()), topics_(connection.Topics()) {
  orb_.Activate();
  shutdown_token_ = orb_.AddShutdownListener([queue = queue_] { queue->End(); });
}

Subscription::~Subscription() {
  const Corvanta::GivingBack giving_back(orb_);
  End();
  orb_.RemoveShutdownListener(shutdown_token_);
  for (Entry& entry : entries_) Drop(entry, giving_back);
}

// The way to the manager that all subscriptions of the process share does not tell its address when nobody answers.
void Subscription::RequireManager() {
  const auto manager = connection_.TopicManager();
  Remote("topic manager", manager, kManagerAdvice, [&] { manager->SubscriptionEpoch(); });
}

void Subscription::Add(const Reading& reading) {
  if (entries_.empty()) RequireManager();
  entries_.reserve(entries_.size() + 1);  // nothing fails once the subscription stands
  Entry entry{reading.topic, new Subscriber(topics_, queue_, entries_.size()), {}};
  entry.reference = entry.servant->_this();
  const auto renewed = [servant = entry.servant, queue = queue_, source = entries_.size()](CORBA::Long handle) mutable {
    servant->SetHandle(handle);
    queue->NoteRenewed(source);
  };
  CORBA::Long handle = 0;
  try {
    handle = Remote("topic manager", nullptr, kManagerAdvice,
                    [&] { return topics_.Subscribe(entry.topic.c_str(), entry.reference, renewed); });
  } catch (...) {
    Corvanta::ORB_base::DeactivateObject(entry.servant.in());
    throw;
  }
  entry.servant->SetHandle(handle);
  entries_.push_back(std::move(entry));
}

void Subscription::Drop(Entry& entry, const Corvanta::GivingBack&) noexcept {
  entry.servant->Close();
  topics_.Unsubscribe(entry.topic.c_str(), entry.reference);
  Corvanta::ORB_base::DeactivateObject(entry.servant.in());
}

std::optional<Delivery> Subscription::Next(std::chrono::milliseconds limit) {
  std::optional<Delivery> next = queue_->Next(limit);
  if (queue_->Ended()) {
    const Corvanta::GivingBack the_callers(orb_);  // who reads gives references back now
  }
  return next;
}
void Subscription::End() noexcept { queue_->End(); }
std::optional<Delivery> Subscription::Unread() { return queue_->Unread(); }
bool Subscription::Ended() const { return queue_->Ended(); }
std::vector<std::size_t> Subscription::TakeRenewed() { return queue_->TakeRenewed(); }
unsigned long long Subscription::Lost() const { return queue_->Lost(); }
void Subscription::OnArrival(std::function<void()> arrived) { queue_->OnArrival(std::move(arrived)); }

std::vector<std::int32_t> Subscription::Handles() const {
  std::vector<std::int32_t> handles;
  for (const Entry& entry : entries_) handles.push_back(entry.servant->GetId());
  return handles;
}

}  // namespace Lumenar::Client
