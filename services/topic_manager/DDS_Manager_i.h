// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

#include "DDS.hh"
#include "platform/orb/ORB_base.h"
#include "platform/wire/any_guard.h"
#include "services/topic_manager/Dispatcher.h"
#include "services/topic_manager/SubscriptionStore.h"
#include "services/topic_manager/TopicTable.h"
#include "services/topic_manager/relay/CycloneRelay.h"

namespace Corvanta {

/// The topic manager: the contract of DDS.idl on top of the dispatcher, the topic table and the store of subscriptions.
/// Samples of relayed topics go to the topic managers of other machines as well, and theirs are published here.
///
/// A topic's name has 1 to 1024 bytes; a longer one is BAD_PARAM. A table full of topics with subscribers, and more
/// subscriptions than Options::subscriptions, or than the store has room for, are IMP_LIMIT.
class DDS_Manager_i : public GuardedServant<POA_Corvanta::DDS_Manager> {
 public:
  struct Options {
    Lumenar::Dispatcher::Limits dispatcher;
    Lumenar::TopicTable::Limits topics;
    std::size_t subscriptions = 310000;  ///< three inputs for each of 100,000 math objects, and 10,000 of other clients
    std::optional<Lumenar::StateFile> state_file;
    std::optional<CycloneRelay::Options> relay;
    std::chrono::milliseconds stall_limit{5000};
  };

  /// Subscriptions of the state file stand again.
  /// Errors   std::runtime_error when the relay cannot start.
  DDS_Manager_i(ORB_base& orb, const Options& options);

  /// Begins no delivery any more; false when some are still under way after `limit`.
  bool Stop(std::chrono::milliseconds limit) { return dispatcher_.Stop(limit); }

  // DDS_Manager
  void Publish(const CORBA::Any& sample, const char* topic) override;
  CORBA::Long Subscribe(const char* topic, DDS_Sub_ptr subscriber) override;
  void Unsubscribe(const char* topic, CORBA::Long handle) override;
  TopicStatusSeq* Topics() override;
  SubscriptionStatusSeq* Subscriptions() override;
  CORBA::ULongLong SubscriptionEpoch() override { return epoch_; }
  HandleSeq* Renew(const ClaimSeq& claims) override;
  CORBA::Boolean LastSample(const char* topic, CORBA::Any_OUT_arg sample) override;

 protected:
  ~DDS_Manager_i() override = default;

  bool TakeCall(IncomingCall& call) override;

 private:
  void Accept(SampleRecord&& sample, const char* topic);
  Lumenar::SamplePtr PublishHere(SampleRecord&& sample, const std::string& topic);
  void StartRelay(const CycloneRelay::Options& options);
  void Restore();
  boost::shared_ptr<Lumenar::Subscriber> MakeSubscriber(const std::string& reference) const;
  std::string CheckedReference(const char* topic, DDS_Sub_ptr subscriber) const;
  CORBA::Long Begin(const std::string& topic, const std::string& reference, long but = 0);
  std::vector<Lumenar::StateFile::Entry> Readable(const ClaimSeq& claims) const;
  CORBA::Long RenewOne(const Lumenar::StateFile::Entry& claim, long known);
  void EnterTopic(const std::string& topic);
  void LeaveTopic(const std::string& topic);
  void OnDropped(long handle, const std::string& topic, const std::string& address, Lumenar::Outcome reason);

  ORB_base& orb_;
  const std::chrono::milliseconds stall_limit_;
  const std::size_t max_subscriptions_;
  Lumenar::SubscriptionStore store_;
  std::atomic<std::uint64_t> epoch_;  ///< begins anywhere, so that another start of the manager is another epoch
  Lumenar::Mutex renewing_;           ///< held over a call of Renew; before mutex_ and the store
  Lumenar::Mutex mutex_;
  Lumenar::TopicTable topics_ GUARDED_BY(mutex_);
  std::size_t subscriptions_ GUARDED_BY(mutex_) = 0;
  Lumenar::Dispatcher dispatcher_;       // its threads use the members above
  std::unique_ptr<CycloneRelay> relay_;  // so do the relay's; null when there is none
};

}  // namespace Corvanta
