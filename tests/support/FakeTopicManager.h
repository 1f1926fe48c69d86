// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "DDS.hh"
#include "platform/base/Mutex.h"
#include "platform/records/SampleRecord.h"
#include "platform/wire/any_guard.h"

namespace Lumenar::Test {

/// A topic manager inside the test's process: keeps what is asked of it, and delivers when the test says so.
class FakeTopicManager : public Corvanta::GuardedServant<POA_Corvanta::DDS_Manager> {
 public:
  struct Publication {
    std::string topic;
    Corvanta::SampleRecord record;
  };

  struct Subscription {
    std::string topic;
    CORBA::Long handle;
    friend bool operator==(const Subscription&, const Subscription&) = default;
  };

  static constexpr CORBA::Long kFirstHandle = 4711;

  /// All publications of one topic so far, oldest first.
  std::vector<Corvanta::SampleRecord> PublishedOn(const std::string& topic) const;
  /// All publications, oldest first.
  std::vector<Publication> Published() const;
  std::vector<Subscription> Subscribed() const;
  std::vector<Subscription> Unsubscribed() const;
  /// The subscriber of a handle, also after it unsubscribed; a new reference.
  Corvanta::DDS_Sub_var Subscriber(CORBA::Long handle) const;

  /// Subscribe raises BAD_PARAM from now on.
  void RefuseSubscriptions();
  /// Subscribe gives handles from the first on again, as a manager does that was started anew.
  void BeginAnew();
  /// Subscribe delivers this sample before it returns.
  void DeliverWithinSubscribe(const CORBA::Any& sample);
  /// Subscribe and Unsubscribe call these first, without a lock. To be set before there are calls.
  std::function<void(Corvanta::DDS_Sub_ptr)> on_subscribe;
  std::function<void(const std::string& topic)> on_unsubscribe;
  /// Publish calls this once it has the sample, without a lock. To be set before there are calls.
  std::function<void()> on_publish;
  /// The next call of Renew is answered with refusals.
  void RefuseNextRenewal();
  unsigned Renewals() const;
  /// Publish waits until LetPublicationsGo.
  void HoldPublications();
  void LetPublicationsGo();
  /// Publications that have begun, finished or not.
  unsigned PublicationsBegun() const;

  void Publish(const CORBA::Any& sample, const char* topic) override;
  bool TakeCall(Corvanta::IncomingCall& call) override;
  CORBA::Long Subscribe(const char* topic, Corvanta::DDS_Sub_ptr subscriber) override;
  void Unsubscribe(const char* topic, CORBA::Long handle) override;
  Corvanta::TopicStatusSeq* Topics() override { return new Corvanta::TopicStatusSeq; }
  Corvanta::SubscriptionStatusSeq* Subscriptions() override { return new Corvanta::SubscriptionStatusSeq; }
  CORBA::ULongLong SubscriptionEpoch() override { return 1; }
  Corvanta::HandleSeq* Renew(const Corvanta::ClaimSeq& claims) override;
  CORBA::Boolean LastSample(const char* topic, CORBA::Any_OUT_arg sample) override;

 protected:
  ~FakeTopicManager() override = default;

 private:
  void Take(const Corvanta::SampleRecord& record, const char* topic);

  mutable Mutex mutex_;
  Condition changed_;
  bool refuse_ GUARDED_BY(mutex_) = false;
  bool hold_ GUARDED_BY(mutex_) = false;
  bool deliver_within_subscribe_ GUARDED_BY(mutex_) = false;
  CORBA::Any early_sample_ GUARDED_BY(mutex_);
  bool refuse_renewal_ GUARDED_BY(mutex_) = false;
  unsigned renewals_ GUARDED_BY(mutex_) = 0;
  unsigned begun_ GUARDED_BY(mutex_) = 0;
  std::vector<Publication> published_ GUARDED_BY(mutex_);
  std::vector<Subscription> subscribed_ GUARDED_BY(mutex_);
  std::vector<Subscription> unsubscribed_ GUARDED_BY(mutex_);
  std::map<CORBA::Long, Corvanta::DDS_Sub_var> subscribers_ GUARDED_BY(mutex_);
};

}  // namespace Lumenar::Test
