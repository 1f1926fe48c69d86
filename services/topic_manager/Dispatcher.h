// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <list>
#include <thread>

#include "platform/base/Mutex.h"
#include "services/topic_manager/DeliverySchedule.h"

namespace Lumenar {

/// Delivers published samples to subscribers on threads of its own: a few workers, and for each one that is stuck in a
/// delivery another, so that subscribers that hang delay nobody else. The memory that the queues of dropped subscribers
/// leave behind goes back to the system a few seconds later, once for all that were dropped meanwhile.
/// Threads   any. Publish never waits for a subscriber.
class Dispatcher {
 public:
  struct Limits {
    DeliverySchedule::Limits schedule;
    std::size_t workers = 4;  ///< that are not stuck
    std::size_t max_workers = 256;
    std::chrono::milliseconds idle_limit{5000};        ///< after which workers that are too many end
    std::chrono::milliseconds give_back_pause{10000};  ///< until the memory of dropped subscribers' queues goes back
  };

  /// The state of one subscription, for people and tools.
  struct Status {
    long handle;
    std::string topic;
    std::string address;
    bool stalled;
    std::size_t queued;
    std::uint64_t delivered;
    std::uint64_t dropped;
  };

  /// Called without a lock, on a worker, when a subscription was dropped because its subscriber is gone.
  using OnDropped =
      std::function<void(long handle, const std::string& topic, const std::string& address, Outcome reason)>;

  Dispatcher(Limits limits, OnDropped on_dropped);

  /// Stops and waits for deliveries under way.
  ~Dispatcher();

  void Add(long handle, const std::string& topic, const std::string& address, boost::shared_ptr<Subscriber> subscriber);

  /// No delivery of this subscription begins after it returned; does not wait for one under way. False when the handle
  /// is not one of this topic.
  bool Remove(long handle, const std::string& topic);

  void Publish(const std::string& topic, const SamplePtr& sample);

  std::vector<Status> Subscriptions() const;

  /// Begins no delivery any more. False when deliveries are still under way after `limit`.
  bool Stop(std::chrono::milliseconds limit);

  std::size_t WorkerCount() const;

 private:
  using Delivery = DeliverySchedule::Delivery;

  /// Who has something to do after a change; they are woken once the lock is released.
  struct Wanted {
    bool worker = false;
    bool supervisor = false;
  };

  void Work();
  std::vector<Delivery> WaitForDeliveries();
  std::vector<Delivery> NextCall() REQUIRES(mutex_);
  bool TooManyWorkers() const REQUIRES(mutex_);
  void EndWorker() REQUIRES(mutex_);
  void Finish(const std::vector<Delivery>& deliveries, Outcome outcome, const std::set<long>& not_taken);
  void Supervise();
  bool SuperviseOnce();
  bool MustGiveBack() REQUIRES(mutex_);
  void AddWorkers() REQUIRES(mutex_);
  SteadyTime NextLook() const REQUIRES(mutex_);
  Wanted WhoIsWanted() REQUIRES(mutex_);
  void Wake(Wanted wanted);

  const Limits limits_;
  const OnDropped on_dropped_;
  mutable Mutex mutex_;
  Condition work_;  ///< something is ready, or the end
  Condition look_;  ///< the supervisor has to look before next_look_
  Condition worker_ended_;
  DeliverySchedule schedule_ GUARDED_BY(mutex_);
  std::list<std::thread> workers_ GUARDED_BY(mutex_);
  std::list<std::thread> ended_ GUARDED_BY(mutex_);  ///< to be joined
  std::size_t idle_ GUARDED_BY(mutex_) = 0;
  SteadyTime last_growth_ GUARDED_BY(mutex_){};
  SteadyTime next_look_ GUARDED_BY(mutex_){};
  std::optional<SteadyTime> give_back_at_ GUARDED_BY(mutex_);  ///< when free memory goes back to the system
  bool stopping_ GUARDED_BY(mutex_) = false;
  std::thread supervisor_;
};

}  // namespace Lumenar
