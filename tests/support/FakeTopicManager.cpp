// SPDX-License-Identifier: Apache-2.0
#include "tests/support/FakeTopicManager.h"
#include "platform/wire/any_guard.h"
#include "platform/wire/sample_any.h"

#include <utility>

namespace Lumenar::Test {

std::vector<Corvanta::SampleRecord> FakeTopicManager::PublishedOn(const std::string& topic) const {
  std::vector<Corvanta::SampleRecord> records;
  for (const Publication& publication : Published()) {
    if (publication.topic == topic) records.push_back(publication.record);
  }
  return records;
}

std::vector<FakeTopicManager::Publication> FakeTopicManager::Published() const {
  Lock lock(mutex_);
  return published_;
}

std::vector<FakeTopicManager::Subscription> FakeTopicManager::Subscribed() const {
  Lock lock(mutex_);
  return subscribed_;
}

std::vector<FakeTopicManager::Subscription> FakeTopicManager::Unsubscribed() const {
  Lock lock(mutex_);
  return unsubscribed_;
}

Corvanta::DDS_Sub_var FakeTopicManager::Subscriber(CORBA::Long handle) const {
  Lock lock(mutex_);
  return subscribers_.at(handle);
}

void FakeTopicManager::RefuseSubscriptions() {
  Lock lock(mutex_);
  refuse_ = true;
}

void FakeTopicManager::BeginAnew() {
  Lock lock(mutex_);
  subscribed_.clear();
}

void FakeTopicManager::DeliverWithinSubscribe(const CORBA::Any& sample) {
  Lock lock(mutex_);
  deliver_within_subscribe_ = true;
  early_sample_ = sample;
}

void FakeTopicManager::HoldPublications() {
  Lock lock(mutex_);
  hold_ = true;
}

void FakeTopicManager::LetPublicationsGo() {
  Lock lock(mutex_);
  hold_ = false;
  changed_.NotifyAll();
}

unsigned FakeTopicManager::PublicationsBegun() const {
  Lock lock(mutex_);
  return begun_;
}

void FakeTopicManager::Publish(const CORBA::Any& sample, const char* topic) {
  Take(Corvanta::RecordFromAny(sample), topic);
}

bool FakeTopicManager::TakeCall(Corvanta::IncomingCall& call) {
  return Corvanta::DispatchPublish(call,
                                   [this](Corvanta::SampleRecord&& record, const char* topic) { Take(record, topic); });
}

void FakeTopicManager::Take(const Corvanta::SampleRecord& record, const char* topic) {
  {
    Lock lock(mutex_);
    ++begun_;
    while (hold_) changed_.Wait(mutex_);
    published_.push_back({topic, record});
  }
  if (on_publish) on_publish();
}

CORBA::Long FakeTopicManager::Subscribe(const char* topic, Corvanta::DDS_Sub_ptr subscriber) {
  if (on_subscribe) on_subscribe(subscriber);
  CORBA::Long handle = 0;
  CORBA::Any early;
  {
    Lock lock(mutex_);
    if (refuse_) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    handle = kFirstHandle + static_cast<CORBA::Long>(subscribed_.size());
    subscribers_[handle] = Corvanta::DDS_Sub::_duplicate(subscriber);
    subscribed_.push_back({topic, handle});  // last: without memory, no subscription stands
    if (!deliver_within_subscribe_) return handle;
    early = early_sample_;
  }
  subscriber->DDS_Callback(early);
  return handle;
}

void FakeTopicManager::Unsubscribe(const char* topic, CORBA::Long handle) {
  if (on_unsubscribe) on_unsubscribe(topic);
  Lock lock(mutex_);
  unsubscribed_.push_back({topic, handle});
}

Corvanta::HandleSeq* FakeTopicManager::Renew(const Corvanta::ClaimSeq& claims) {
  Corvanta::HandleSeq_var handles = new Corvanta::HandleSeq;
  handles->length(claims.length());
  Lock lock(mutex_);
  ++renewals_;
  const bool refuse = std::exchange(refuse_renewal_, false);
  for (CORBA::ULong i = 0; i < claims.length(); ++i) handles[i] = refuse ? 0 : claims[i].handle;
  return handles._retn();
}

void FakeTopicManager::RefuseNextRenewal() {
  Lock lock(mutex_);
  refuse_renewal_ = true;
}

unsigned FakeTopicManager::Renewals() const {
  Lock lock(mutex_);
  return renewals_;
}

CORBA::Boolean FakeTopicManager::LastSample(const char*, CORBA::Any_OUT_arg sample) {
  sample = new CORBA::Any;
  return false;
}

}  // namespace Lumenar::Test
