// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/DDS_Manager_i.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <stdexcept>

#include "platform/base/Diagnostic.h"
#include "platform/orb/AnswerWatch.h"
#include "platform/orb/CorbaText.h"
#include "platform/transport/LargeAnswer.h"
#include "platform/wire/any_guard.h"
#include "platform/wire/reference_endpoint.h"
#include "platform/wire/sample_any.h"
#include "services/topic_manager/CorbaSubscriber.h"

namespace Corvanta {
namespace {

using Lumenar::Lock;
using Lumenar::SamplePtr;

constexpr std::size_t kMaxTopicLength = 1024;
constexpr std::size_t kStatusBytes = 256;  // of an answer, about

void CheckTopic(const char* topic) {
  const std::size_t length = ::strnlen(topic, kMaxTopicLength + 1);
  if (length == 0 || length > kMaxTopicLength) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
}

const char* ReasonText(Lumenar::Outcome reason) {
  switch (reason) {
    case Lumenar::Outcome::Gone: return "it no longer exists";
    case Lumenar::Outcome::TimedOut: return "it has not answered for too long";
    default: return "it cannot be reached";
  }
}

std::uint64_t AnyNumber() {
  std::random_device source;
  return std::uint64_t{source()} << 32 | source();
}

/// What says which subscribers share a process. A reference without an endpoint shares its fate with no other.
std::string AddressOf(const std::string& reference) {
  const std::string endpoint = Lumenar::EndpointOf(reference);
  return endpoint.empty() ? reference : endpoint;
}

}  // namespace

DDS_Manager_i::DDS_Manager_i(ORB_base& orb, const Options& options)
    : orb_(orb),
      stall_limit_(options.stall_limit),
      max_subscriptions_(options.subscriptions),
      store_(options.state_file),
      epoch_(AnyNumber()),
      topics_(options.topics),
      dispatcher_(options.dispatcher, [this](auto&&... dropped) { OnDropped(dropped...); }) {
  AnswerWatch::Begin(orb);
  Restore();
  if (options.relay) StartRelay(*options.relay);
}

void DDS_Manager_i::StartRelay(const CycloneRelay::Options& options) {
  relay_ = std::make_unique<CycloneRelay>(
      options, [this](const std::string& topic, SampleRecord&& sample) { PublishHere(std::move(sample), topic); });
}

/// Nobody is called here: a subscriber that died meanwhile shows at the next sample.
void DDS_Manager_i::Restore() {
  for (const Lumenar::StateFile::Entry& entry : store_.Entries()) {
    try {
      auto subscriber = MakeSubscriber(entry.reference);
      EnterTopic(entry.topic);
      dispatcher_.Add(entry.handle, entry.topic, AddressOf(entry.reference), std::move(subscriber));
    } catch (const CORBA::Exception& error) {
      Lumenar::WriteError(
          fmt::format("topic_manager: subscription {} not restored: {}", entry.handle, Lumenar::CorbaText(error)));
      store_.Remove(entry.handle);
    }
  }
}

bool DDS_Manager_i::TakeCall(IncomingCall& call) {
  return DispatchPublish(call, [this](SampleRecord&& sample, const char* topic) { Accept(std::move(sample), topic); });
}

void DDS_Manager_i::Publish(const CORBA::Any& sample, const char* topic) { Accept(RecordFromAny(sample), topic); }

void DDS_Manager_i::Accept(SampleRecord&& record, const char* topic) {
  CheckTopic(topic);
  if (std::holds_alternative<std::monostate>(record)) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
  const SamplePtr sample = PublishHere(std::move(record), topic);
  if (relay_ != nullptr) relay_->Send(topic, sample, Lumenar::SampleBytes(*sample));
}

/// Publishes to the subscribers of this manager.
SamplePtr DDS_Manager_i::PublishHere(SampleRecord&& record, const std::string& topic) {
  const SamplePtr sample(new SampleRecord(std::move(record)));
  std::vector<SamplePtr> freed;  // destroyed after the lock is released
  {
    Lock lock(mutex_);
    if (!topics_.Published(topic, sample, freed)) throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_NO);
  }
  dispatcher_.Publish(topic, sample);
  return sample;
}

CORBA::Long DDS_Manager_i::Subscribe(const char* topic, DDS_Sub_ptr subscriber) {
  const CORBA::Long handle = Begin(topic, CheckedReference(topic, subscriber));
  store_.Save();
  return handle;
}

/// The subscriber's reference as text, if there may be such a subscription.
std::string DDS_Manager_i::CheckedReference(const char* topic, DDS_Sub_ptr subscriber) const {
  CheckTopic(topic);
  if (CORBA::is_nil(subscriber)) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
  const CORBA::String_var reference = orb_.Orb()->object_to_string(subscriber);
  if (std::strlen(reference) > Lumenar::StateFile::kLongestReference) throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_NO);
  return reference.in();
}

/// A subscription begins, under another handle than `but`; the state file has yet to be written.
CORBA::Long DDS_Manager_i::Begin(const std::string& topic, const std::string& reference, long but) {
  auto target = MakeSubscriber(reference);
  EnterTopic(topic);
  long handle = 0;
  try {
    handle = store_.Add(topic, reference, but);
  } catch (const std::length_error&) {
    LeaveTopic(topic);
    throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_NO);
  }
  dispatcher_.Add(handle, topic, AddressOf(reference), std::move(target));
  return static_cast<CORBA::Long>(handle);
}

/// Those that there may be; the others have no reference.
std::vector<Lumenar::StateFile::Entry> DDS_Manager_i::Readable(const ClaimSeq& claims) const {
  std::vector<Lumenar::StateFile::Entry> readable;
  for (CORBA::ULong i = 0; i < claims.length(); ++i) {
    std::string reference;
    try {
      reference = CheckedReference(claims[i].topic, claims[i].subscriber);
    } catch (const CORBA::SystemException&) {}
    readable.push_back({claims[i].handle, claims[i].topic.in(), std::move(reference)});
  }
  return readable;
}

/// The state file is written once for all.
HandleSeq* DDS_Manager_i::Renew(const ClaimSeq& claims) {
  const std::vector<Lumenar::StateFile::Entry> readable = Readable(claims);
  HandleSeq_var handles = new HandleSeq;
  handles->length(claims.length());
  Lock lock(renewing_);
  const std::vector<long> known = store_.Find(readable);
  for (CORBA::ULong i = 0; i < claims.length(); ++i) {
    const auto same = std::find(readable.begin(), readable.begin() + i, readable[i]);
    handles[i] = same == readable.begin() + i ? RenewOne(readable[i], known[i])
                                              : handles[static_cast<CORBA::ULong>(same - readable.begin())];
  }
  store_.Save();
  return handles._retn();
}

/// 0 when it is refused: the others stand all the same.
CORBA::Long DDS_Manager_i::RenewOne(const Lumenar::StateFile::Entry& claim, long known) {
  if (known != 0 || claim.reference.empty()) return static_cast<CORBA::Long>(known);
  try {
    return Begin(claim.topic, claim.reference, claim.handle);  // so its owner sees that it had been forgotten
  } catch (const CORBA::SystemException&) {
    return 0;
  }
}

/// The reference is read anew, so that it is this subscription's own and carries its own time limit.
boost::shared_ptr<Lumenar::Subscriber> DDS_Manager_i::MakeSubscriber(const std::string& reference) const {
  CORBA::Object_var object = orb_.Orb()->string_to_object(reference.c_str());
  DDS_Sub_var subscriber = DDS_Sub::_unchecked_narrow(object);
  if (CORBA::is_nil(subscriber)) throw CORBA::INV_OBJREF(0, CORBA::COMPLETED_NO);
  return boost::shared_ptr<Lumenar::Subscriber>(new Lumenar::CorbaSubscriber(subscriber, stall_limit_));
}

void DDS_Manager_i::EnterTopic(const std::string& topic) {
  std::vector<SamplePtr> freed;  // destroyed after the lock is released
  Lock lock(mutex_);
  if (subscriptions_ >= max_subscriptions_ || !topics_.Subscribed(topic, freed)) {
    throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_NO);
  }
  ++subscriptions_;
}

void DDS_Manager_i::LeaveTopic(const std::string& topic) {
  std::vector<SamplePtr> freed;  // destroyed after the lock is released
  Lock lock(mutex_);
  topics_.Unsubscribed(topic, freed);
  --subscriptions_;
}

void DDS_Manager_i::Unsubscribe(const char* topic, CORBA::Long handle) {
  if (!dispatcher_.Remove(handle, topic)) return;
  store_.Remove(handle);
  LeaveTopic(topic);
}

void DDS_Manager_i::OnDropped(long handle, const std::string& topic, const std::string& address,
                              Lumenar::Outcome reason) {
  Lumenar::WriteOut(
      fmt::format("subscriber {} of topic {} at {} dropped: {}", handle, topic, address, ReasonText(reason)));
  store_.Remove(handle);
  LeaveTopic(topic);
  ++epoch_;
}

TopicStatusSeq* DDS_Manager_i::Topics() {
  std::vector<Lumenar::TopicTable::Status> all;
  {
    Lock lock(mutex_);
    all = topics_.All();
  }
  LargeAnswer::Announce(all.size() * kStatusBytes);
  TopicStatusSeq_var result = new TopicStatusSeq;
  result->length(static_cast<CORBA::ULong>(all.size()));
  for (std::size_t i = 0; i < all.size(); ++i) {
    TopicStatus& status = result[static_cast<CORBA::ULong>(i)];
    status.topic = all[i].topic.c_str();
    status.published = all[i].published;
    status.subscribers = static_cast<CORBA::ULong>(all[i].subscribers);
  }
  return result._retn();
}

SubscriptionStatusSeq* DDS_Manager_i::Subscriptions() {
  const std::vector<Lumenar::Dispatcher::Status> all = dispatcher_.Subscriptions();
  LargeAnswer::Announce(all.size() * kStatusBytes);
  SubscriptionStatusSeq_var result = new SubscriptionStatusSeq;
  result->length(static_cast<CORBA::ULong>(all.size()));
  for (std::size_t i = 0; i < all.size(); ++i) {
    SubscriptionStatus& status = result[static_cast<CORBA::ULong>(i)];
    status.handle = static_cast<CORBA::Long>(all[i].handle);
    status.topic = all[i].topic.c_str();
    status.address = all[i].address.c_str();
    status.stalled = all[i].stalled;
    status.queued = static_cast<CORBA::ULong>(all[i].queued);
    status.delivered = all[i].delivered;
    status.dropped = all[i].dropped;
  }
  return result._retn();
}

CORBA::Boolean DDS_Manager_i::LastSample(const char* topic, CORBA::Any_OUT_arg sample) {
  SamplePtr last;
  {
    Lock lock(mutex_);
    last = topics_.Last(topic);
  }
  if (last != nullptr) LargeAnswer::Announce(Lumenar::SampleBytes(*last));
  CORBA::Any_var any = new CORBA::Any;
  if (last != nullptr) RecordToAny(ViewOf(*last), any.inout());
  sample = any._retn();
  return last != nullptr;
}

}  // namespace Corvanta
