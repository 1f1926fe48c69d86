// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "DDS.hh"
#include "platform/base/Mutex.h"
#include "platform/base/PeriodicTask.h"

namespace Corvanta {

/// The subscriptions of this process, each of which stands until its owner ends it, whatever becomes of the topic
/// manager: a thread asks the manager every two seconds whether it may have forgotten any, with one short call, and
/// sends it those that it may have.
/// Threads   any.
class StandingSubscriptions {
 public:
  using Clock = Lumenar::PeriodicTask::Clock;

  /// The manager, duplicated, or nil while it is away. Called by the thread, without a lock.
  using ReachManager = std::function<DDS_Manager_ptr()>;

  /// A call through that manager failed. Called as well.
  using ManagerFailed = std::function<void(DDS_Manager_ptr, const CORBA::SystemException&)>;

  /// The manager knows the subscription by another handle from here on. Called by the thread, without a lock; perhaps
  /// even once after the subscription was ended.
  using Renewed = std::function<void(CORBA::Long handle)>;

  StandingSubscriptions(ReachManager reach, ManagerFailed failed)
      : reach_(std::move(reach)), failed_(std::move(failed)) {}
  ~StandingSubscriptions() { End(); }
  StandingSubscriptions(const StandingSubscriptions&) = delete;
  StandingSubscriptions& operator=(const StandingSubscriptions&) = delete;

  /// Puts in a subscription that the manager took.
  /// Errors   std::bad_alloc; CORBA::IMP_LIMIT when there are so many of one reference to one topic that a call for
  ///          their renewal would not hold one more. It is not among these then.
  void Add(const char* topic, DDS_Sub_ptr subscriber, CORBA::Long handle, Renewed renewed);

  /// Takes the subscription out. The handle by which the manager knows it; nothing when it is not among these.
  std::optional<CORBA::Long> Remove(const char* topic, DDS_Sub_ptr subscriber) noexcept;

  /// Lets the thread look at once: there is a manager that may be another.
  void LookSoon() noexcept;

  /// Ends the thread, and gives back what stands by now, as topics and handles. A later Add begins anew.
  std::vector<std::pair<std::string, CORBA::Long>> End() noexcept;

 private:
  using Number = unsigned long long;

  struct Entry {
    std::string topic;
    DDS_Sub_var subscriber;
    CORBA::Long handle;
    Renewed renewed;
    std::optional<CORBA::ULongLong> epoch;  ///< in which the manager was seen to know it
  };

  /// Some entries as they were when they were sent.
  struct Batch {
    std::vector<Number> numbers;
    ClaimSeq claims;
    Number last = 0;  ///< up to here nothing is left to be sent
  };

  void StartThread() REQUIRES(mutex_);
  void Forget(std::map<Number, Entry>::iterator entry) noexcept REQUIRES(mutex_);
  Clock::time_point LookAndSayWhenNext();
  std::chrono::milliseconds Look();
  void LookAt(DDS_Manager_ptr manager);
  Batch NextBatch(CORBA::ULongLong epoch, Number after);
  void Take(Batch& batch, Number number, const Entry& entry) REQUIRES(mutex_);
  void RequireRoom(const char* topic, DDS_Sub_ptr subscriber) REQUIRES(mutex_);
  std::vector<Number> Alike(Number number, const Entry& entry) REQUIRES(mutex_);
  bool AllSeen(CORBA::ULongLong epoch);
  void Settle(DDS_Manager_ptr manager, const Batch& batch, const HandleSeq& handles, CORBA::ULongLong epoch);
  bool SettleOne(Number number, CORBA::Long handle, CORBA::ULongLong epoch);

  const ReachManager reach_;
  const ManagerFailed failed_;
  Lumenar::Mutex mutex_;
  std::map<Number, Entry> entries_ GUARDED_BY(mutex_);
  std::unordered_multimap<DDS_Sub_ptr, Number> numbers_ GUARDED_BY(mutex_);
  Number last_number_ GUARDED_BY(mutex_) = 0;
  bool fresh_ GUARDED_BY(mutex_) = false;  ///< entries were added since the last look began, or could not be renewed
  std::optional<CORBA::ULongLong> seen_ GUARDED_BY(mutex_);  ///< the epoch of the last look
  bool ending_ GUARDED_BY(mutex_) = false;
  std::unique_ptr<Lumenar::PeriodicTask> looks_ GUARDED_BY(mutex_);  ///< while there is a thread
};

}  // namespace Corvanta
