// SPDX-License-Identifier: Apache-2.0
#include "platform/dds/StandingSubscriptions.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <system_error>

#include "platform/base/Diagnostic.h"
#include "platform/orb/ORB_base.h"

namespace Corvanta {
namespace {

using Lumenar::Lock;

constexpr std::chrono::seconds kPeriod{2};
constexpr std::chrono::milliseconds kRetry{500};  // after a look that failed
constexpr std::chrono::milliseconds kAnswerLimit{500};
constexpr CORBA::ULong kClaimsInACall = 256;  // as the contract says
constexpr std::size_t kBytesInACall =
    12 * 1024;  // well within the limit of messages that are no samples (operation_limits.h)

/// What a claim takes in a message: a little less than this.
std::size_t BytesOf(const std::string& topic, DDS_Sub_ptr subscriber) {
  constexpr std::size_t kAllElse = 64;
  const CORBA::String_var text = ORB_base::Current().Orb()->object_to_string(subscriber);  // two digits a byte
  return topic.size() + std::strlen(text) / 2 + kAllElse;
}

/// How many claims alike a call takes.
std::size_t MostInACall(const std::string& topic, DDS_Sub_ptr subscriber) {
  return std::clamp<std::size_t>(kBytesInACall / BytesOf(topic, subscriber), 1, kClaimsInACall);
}

bool Holds(const std::vector<unsigned long long>& numbers, unsigned long long number) {
  return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

/// The epoch of the manager, asked through a reference of its own, whose time limit touches no other call.
CORBA::ULongLong EpochOf(DDS_Manager_ptr manager) {
  const CORBA::ORB_ptr orb = ORB_base::Current().Orb();
  const CORBA::String_var text = orb->object_to_string(manager);
  const CORBA::Object_var object = orb->string_to_object(text);
  const DDS_Manager_var own = DDS_Manager::_unchecked_narrow(object);
  ORB_base::SetCallTimeout(own, kAnswerLimit);
  return own->SubscriptionEpoch();
}

}  // namespace

void StandingSubscriptions::Add(const char* topic, DDS_Sub_ptr subscriber, CORBA::Long handle, Renewed renewed) {
  Lock lock(mutex_);
  RequireRoom(topic, subscriber);
  const Number number = ++last_number_;
  const auto added =
      entries_.emplace(number, Entry{topic, DDS_Sub::_duplicate(subscriber), handle, std::move(renewed), std::nullopt})
          .first;
  try {
    numbers_.emplace(subscriber, number);
    StartThread();
  } catch (const std::bad_alloc&) {
    Forget(added);
    throw;
  }
  fresh_ = true;
}

/// The manager tells subscriptions of one subscriber to one topic apart within a call alone.
void StandingSubscriptions::RequireRoom(const char* topic, DDS_Sub_ptr subscriber) {
  const auto [first, last] = numbers_.equal_range(subscriber);
  std::size_t alike = 0;
  for (auto number = first; number != last; ++number) alike += entries_.at(number->second).topic == topic ? 1 : 0;
  if (alike > 0 && alike >= MostInACall(topic, subscriber)) throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_NO);
}

/// Without a thread the subscriptions stand as long as the manager keeps them; a later Add may get one.
void StandingSubscriptions::StartThread() {
  if (looks_ || ending_) return;
  auto looks = std::make_unique<Lumenar::PeriodicTask>([this] { return LookAndSayWhenNext(); });
  try {
    looks->Start(kPeriod);
    looks_ = std::move(looks);
  } catch (const std::system_error&) {}
}

void StandingSubscriptions::Forget(std::map<Number, Entry>::iterator entry) noexcept {
  const auto [first, last] = numbers_.equal_range(entry->second.subscriber.in());
  for (auto number = first; number != last; ++number) {
    if (number->second != entry->first) continue;
    numbers_.erase(number);
    break;
  }
  entries_.erase(entry);
}

std::optional<CORBA::Long> StandingSubscriptions::Remove(const char* topic, DDS_Sub_ptr subscriber) noexcept {
  Lock lock(mutex_);
  const auto [first, last] = numbers_.equal_range(subscriber);
  for (auto number = first; number != last; ++number) {
    const auto entry = entries_.find(number->second);
    if (entry->second.topic != topic) continue;
    const CORBA::Long handle = entry->second.handle;
    Forget(entry);
    return handle;
  }
  return std::nullopt;
}

void StandingSubscriptions::LookSoon() noexcept {
  Lock lock(mutex_);
  if (looks_) looks_->Wake();
}

std::vector<std::pair<std::string, CORBA::Long>> StandingSubscriptions::End() noexcept {
  std::unique_ptr<Lumenar::PeriodicTask> ending;
  {
    Lock lock(mutex_);
    ending_ = true;
    ending.swap(looks_);
  }
  ending.reset();
  std::map<Number, Entry> entries;
  {
    Lock lock(mutex_);
    entries.swap(entries_);
    numbers_.clear();
    ending_ = false;
  }
  std::vector<std::pair<std::string, CORBA::Long>> standing;
  for (auto& [number, entry] : entries) standing.emplace_back(std::move(entry.topic), entry.handle);
  return standing;
}

StandingSubscriptions::Clock::time_point StandingSubscriptions::LookAndSayWhenNext() {
  const Clock::time_point begin = Clock::now();
  try {
    const std::chrono::milliseconds pause = Look();
    return std::min(begin + kPeriod, Clock::now() + pause);
  } catch (const std::exception& failure) {  // no memory, say: the next look comes
    Lumenar::WriteError(std::string("watch of subscriptions: ") + failure.what());
  }
  return begin + kPeriod;
}

/// How long to wait for the next one at most.
std::chrono::milliseconds StandingSubscriptions::Look() {
  DDS_Manager_var manager = reach_();
  if (CORBA::is_nil(manager)) return kPeriod;
  std::chrono::milliseconds next = kRetry;
  try {
    LookAt(manager);
    return kPeriod;
  } catch (const CORBA::TIMEOUT&) {  // it is busy, or hangs: whoever has something to send will find out
    next = kPeriod;
  } catch (const CORBA::SystemException& error) {
    failed_(manager, error);
  }
  Lock lock(mutex_);
  fresh_ = true;  // the next look goes on where this one ended
  return next;
}

/// The epoch is asked first: a manager that is another one by the time of the claims has another epoch at the next
/// look.
void StandingSubscriptions::LookAt(DDS_Manager_ptr manager) {
  const CORBA::ULongLong epoch = EpochOf(manager);
  if (AllSeen(epoch)) return;
  Number last = 0;
  for (Batch batch = NextBatch(epoch, last); !batch.numbers.empty(); batch = NextBatch(epoch, last)) {
    last = batch.last;
    const HandleSeq_var handles = manager->Renew(batch.claims);
    Settle(manager, batch, handles, epoch);
  }
}

bool StandingSubscriptions::AllSeen(CORBA::ULongLong epoch) {
  Lock lock(mutex_);
  const bool all_seen = !fresh_ && seen_ == epoch;
  fresh_ = false;
  seen_ = epoch;
  return all_seen;
}

/// Of the entries behind `after`, the next that were not seen in this epoch; none when `ending_`. The subscriptions of
/// one subscriber to one topic go together: the manager could not tell them apart else.
StandingSubscriptions::Batch StandingSubscriptions::NextBatch(CORBA::ULongLong epoch, Number after) {
  Batch batch;
  Lock lock(mutex_);
  std::size_t bytes = 0;
  for (auto entry = entries_.upper_bound(after); entry != entries_.end() && !ending_; ++entry) {
    if (entry->second.epoch != epoch && !Holds(batch.numbers, entry->first)) {
      const std::vector<Number> alike = Alike(entry->first, entry->second);
      bytes += alike.size() * BytesOf(entry->second.topic, entry->second.subscriber);
      if (!batch.numbers.empty() && (bytes > kBytesInACall || batch.numbers.size() + alike.size() > kClaimsInACall))
        break;
      for (const Number number : alike) Take(batch, number, entries_.at(number));
    }
    batch.last = entry->first;
  }
  return batch;
}

void StandingSubscriptions::Take(Batch& batch, Number number, const Entry& entry) {
  const CORBA::ULong count = batch.claims.length();
  batch.claims.length(count + 1);
  Claim& claim = batch.claims[count];
  claim.handle = entry.handle;
  claim.topic = entry.topic.c_str();
  claim.subscriber = DDS_Sub::_duplicate(entry.subscriber);
  batch.numbers.push_back(number);
}

/// The entry and those with the same topic and subscriber: one call takes them.
std::vector<StandingSubscriptions::Number> StandingSubscriptions::Alike(Number number, const Entry& entry) {
  std::vector<Number> alike{number};
  const auto [first, last] = numbers_.equal_range(entry.subscriber.in());
  for (auto other = first; other != last; ++other)
    if (other->second != number && entries_.at(other->second).topic == entry.topic) alike.push_back(other->second);
  return alike;
}

/// One that was ended while it was claimed is not to stand.
void StandingSubscriptions::Settle(DDS_Manager_ptr manager, const Batch& batch, const HandleSeq& handles,
                                   CORBA::ULongLong epoch) {
  if (handles.length() != batch.claims.length()) throw CORBA::MARSHAL(0, CORBA::COMPLETED_YES);
  for (CORBA::ULong i = 0; i < handles.length(); ++i) {
    const Claim& claim = batch.claims[i];
    const bool stands = SettleOne(batch.numbers[i], handles[i], epoch);
    if (!stands && handles[i] != claim.handle && handles[i] != 0) manager->Unsubscribe(claim.topic, handles[i]);
  }
}

/// False when the subscription was ended meanwhile.
bool StandingSubscriptions::SettleOne(Number number, CORBA::Long handle, CORBA::ULongLong epoch) {
  Renewed renewed;
  {
    Lock lock(mutex_);
    const auto entry = entries_.find(number);
    if (entry == entries_.end()) return false;
    if (handle == 0) {
      fresh_ = true;  // the next look tries again
      return true;
    }
    entry->second.epoch = epoch;
    if (entry->second.handle == handle) return true;
    entry->second.handle = handle;
    renewed = entry->second.renewed;
  }
  if (renewed) renewed(handle);
  return true;
}

}  // namespace Corvanta
