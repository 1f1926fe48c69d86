// SPDX-License-Identifier: Apache-2.0
#include "platform/dds/DDS_BaseObj.h"

#include <fmt/format.h>

#include <atomic>
#include <new>
#include <set>
#include <string>
#include <utility>

#include "platform/base/Diagnostic.h"
#include "platform/base/Mutex.h"
#include "platform/dds/Breaker.h"
#include "platform/dds/StandingSubscriptions.h"
#include "platform/dds/find_manager.h"
#include "platform/orb/CorbaText.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/orb/names.h"
#include "platform/wire/reference_endpoint.h"
#include "platform/wire/sample_calls.h"

namespace Corvanta {
namespace {

using Lumenar::Lock;

using FindManager = DdsBaseAccess::FindManager;

constexpr std::chrono::milliseconds kJustNow{100};
constexpr std::size_t kMaxRefusedTopics = 1024;

std::chrono::steady_clock::time_point Now() { return std::chrono::steady_clock::now(); }

}  // namespace

/// The reference of the manager, and what is known of it. No lock is held over a remote call.
struct DdsBaseAccess::Impl {
  explicit Impl(FindManager find_manager) : find_(std::move(find_manager)) {}
  ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  void Publish(const char* topic, const SampleView& sample);
  CORBA::Long Subscribe(const char* topic, DDS_Sub_ptr subscriber, Renewed renewed);
  void Unsubscribe(const char* topic, DDS_Sub_ptr subscriber);

  std::atomic<unsigned long long> lost{0};

 private:
  enum class Urgency { CanWait, Urgent, Silent };

  /// A call that makes a subscription; the end of the ORB waits for it, so that none stands that nobody ends.
  class Making {
   public:
    explicit Making(Impl& impl);
    ~Making();
    Making(const Making&) = delete;
    Making& operator=(const Making&) = delete;

   private:
    Impl& impl_;
  };

  /// The manager, duplicated, or nil. An urgent caller tries it also when it was found away a moment ago; a silent one
  /// leaves no note of its absence.
  DDS_Manager_ptr Reach(Urgency urgency);

  /// A manager that answered just now, or nil: a connection that broke with an earlier manager is found out here, where
  /// calling again is harmless. One that was asked a moment ago is not asked again.
  DDS_Manager_ptr ReachForSure();

  DDS_Manager_ptr AtHand();
  ORB_wrapper_base* Attach();
  CORBA::Long SubscribeAt(DDS_Manager_ptr manager, const char* topic, DDS_Sub_ptr subscriber, const Renewed& renewed);
  DDS_Manager_ptr Try(ORB_wrapper_base& orb, Urgency urgency);
  DDS_Manager_ptr Known();
  void Found(DDS_Manager_ptr manager);
  void NoteAnswer(DDS_Manager_ptr manager);
  bool HasAnsweredJustNow(DDS_Manager_ptr manager);
  void NotFound(const CORBA::Exception& error, Urgency urgency);
  void WentAway(DDS_Manager_ptr manager, const CORBA::SystemException& error, Urgency urgency);
  void NoteAway(const CORBA::Exception& error);
  std::string AddressOfKnown();
  void NoteRefused(const char* topic, const CORBA::Exception& error);
  void EndAll();

  const FindManager find_;
  Lumenar::Mutex mutex_;
  long listener_ GUARDED_BY(mutex_) = 0;        ///< of the ORB's shutdown; 0 before there was an ORB
  CORBA::ORB_var orb_ GUARDED_BY(mutex_);       ///< whose references these are; held: a later ORB has another address
  bool open_ GUARDED_BY(mutex_) = false;        ///< orb_ runs
  DDS_Manager_var manager_ GUARDED_BY(mutex_);  ///< nil while the manager is away
  DDS_Manager_var known_ GUARDED_BY(mutex_);    ///< the last that answered, or nil
  std::chrono::steady_clock::time_point answered_
      GUARDED_BY(mutex_){};                 ///< when manager_ last answered a question or a subscription
  unsigned making_ GUARDED_BY(mutex_) = 0;  ///< subscriptions under way
  Lumenar::Condition made_;
  Breaker breaker_ GUARDED_BY(mutex_);
  Lumenar::Condition tried_;                          ///< a try has ended
  bool noted_ GUARDED_BY(mutex_) = false;             ///< the absence stands on standard error
  std::set<std::string> refused_ GUARDED_BY(mutex_);  ///< topics of which a refused sample was noted
  StandingSubscriptions standing_{[this] { return Reach(Urgency::CanWait); },
                                  [this](DDS_Manager_ptr manager, const CORBA::SystemException& error) {
                                    if (MeansAway(error)) WentAway(manager, error, Urgency::CanWait);
                                  }};
};

/// The ORB of the process, once its shutdown will end the subscriptions; null when there is none that runs.
ORB_wrapper_base* DdsBaseAccess::Impl::Attach() {
  if (!ORB_base::HasCurrent()) return nullptr;
  auto* orb = dynamic_cast<ORB_wrapper_base*>(&ORB_base::Current());
  if (orb == nullptr) return nullptr;
  {
    Lock lock(mutex_);
    if (orb_.in() == orb->Orb()) return open_ ? orb : nullptr;
    orb_ = CORBA::ORB::_duplicate(orb->Orb());
    open_ = true;
    manager_ = DDS_Manager::_nil();
    known_ = DDS_Manager::_nil();
    breaker_ = Breaker();
    noted_ = false;
  }
  const long listener = orb->AddShutdownListener([this] { EndAll(); });
  Lock lock(mutex_);
  listener_ = listener;
  return orb;
}

DdsBaseAccess::Impl::~Impl() {
  long listener = 0;
  {
    Lock lock(mutex_);
    if (ORB_base::HasCurrent() && orb_.in() == ORB_base::Current().Orb()) listener = listener_;
  }
  if (listener != 0) ORB_base::Current().RemoveShutdownListener(listener);  // waits for one that runs
}

/// The manager that answered last, duplicated; nil when it has to be found. The road of each sample: one lock.
DDS_Manager_ptr DdsBaseAccess::Impl::AtHand() {
  if (!ORB_base::HasCurrent()) return DDS_Manager::_nil();
  const CORBA::ORB_ptr current = ORB_base::Current().Orb();
  Lock lock(mutex_);
  return open_ && orb_.in() == current ? DDS_Manager::_duplicate(manager_) : DDS_Manager::_nil();
}

DDS_Manager_ptr DdsBaseAccess::Impl::Reach(Urgency urgency) {
  DDS_Manager_var at_hand = AtHand();
  if (!CORBA::is_nil(at_hand)) return at_hand._retn();
  ORB_wrapper_base* orb = Attach();
  if (orb == nullptr) return DDS_Manager::_nil();
  {
    Lock lock(mutex_);
    // Of several that publish for the first time one looks for the manager; the others' samples are not lost meanwhile.
    // Once it was found away nobody waits for the look of another.
    while (urgency == Urgency::CanWait && !noted_ && breaker_.IsTrying()) tried_.Wait(mutex_);
    if (!CORBA::is_nil(manager_)) return DDS_Manager::_duplicate(manager_);
    if (urgency == Urgency::Urgent) {
      breaker_.BeginUrgentTry(Now());
    } else if (!breaker_.BeginTry(Now())) {
      return DDS_Manager::_nil();
    }
  }
  return Try(*orb, urgency);
}

DDS_Manager_ptr DdsBaseAccess::Impl::Try(ORB_wrapper_base& orb, Urgency urgency) {
  try {
    DDS_Manager_var known = Known();
    DDS_Manager_var manager = FindManagerThatAnswers(orb, find_, known);
    Found(manager);
    return manager._retn();
  } catch (const CORBA::Exception& error) {
    NotFound(error, urgency);
    return DDS_Manager::_nil();
  } catch (...) {  // no memory, say: the try has ended all the same
    Lock lock(mutex_);
    breaker_.Failed(Now());
    tried_.NotifyAll();
    throw;
  }
}

DDS_Manager_ptr DdsBaseAccess::Impl::Known() {
  Lock lock(mutex_);
  return DDS_Manager::_duplicate(known_);
}

void DdsBaseAccess::Impl::Found(DDS_Manager_ptr manager) {
  bool was_noted = false;
  {
    Lock lock(mutex_);
    manager_ = DDS_Manager::_duplicate(manager);
    known_ = DDS_Manager::_duplicate(manager);
    answered_ = Now();
    breaker_.CameBack();
    tried_.NotifyAll();
    std::swap(was_noted, noted_);
  }
  if (was_noted) Lumenar::WriteError("topic manager is back", Lumenar::Priority::Notice);
  standing_.LookSoon();
}

void DdsBaseAccess::Impl::NoteAnswer(DDS_Manager_ptr manager) {
  Lock lock(mutex_);
  if (manager_.in() == manager) answered_ = Now();
}

bool DdsBaseAccess::Impl::HasAnsweredJustNow(DDS_Manager_ptr manager) {
  Lock lock(mutex_);
  return manager_.in() == manager && Now() - answered_ < kJustNow;
}

void DdsBaseAccess::Impl::NotFound(const CORBA::Exception& error, Urgency urgency) {
  {
    Lock lock(mutex_);
    breaker_.Failed(Now());
    tried_.NotifyAll();
  }
  if (urgency != Urgency::Silent) NoteAway(error);
}

/// A call through `manager` failed. When the connection broke, a new manager may stand there already.
void DdsBaseAccess::Impl::WentAway(DDS_Manager_ptr manager, const CORBA::SystemException& error, Urgency urgency) {
  {
    Lock lock(mutex_);
    if (manager_.in() != manager) return;  // another caller has seen it before
    manager_ = DDS_Manager::_nil();
    breaker_.WentAway(Now(), CORBA::TIMEOUT::_downcast(&error) == nullptr);
  }
  if (urgency != Urgency::Silent) NoteAway(error);
}

void DdsBaseAccess::Impl::NoteAway(const CORBA::Exception& error) {
  {
    Lock lock(mutex_);
    if (noted_) return;
    noted_ = true;
  }
  Lumenar::WriteError(
      "topic manager at " + LocalPathText(kTopicManager) + " is away: " + Lumenar::CorbaText(error, AddressOfKnown()),
      Lumenar::Priority::Warning);
}

/// Of the process of the last manager that answered; empty before there was one.
std::string DdsBaseAccess::Impl::AddressOfKnown() {
  const DDS_Manager_var known = Known();
  if (CORBA::is_nil(known)) return {};
  const CORBA::String_var reference = ORB_base::Current().Orb()->object_to_string(known);
  return Lumenar::EndpointOf(reference.in());
}

void DdsBaseAccess::Impl::NoteRefused(const char* topic, const CORBA::Exception& error) {
  {
    Lock lock(mutex_);
    if (refused_.size() >= kMaxRefusedTopics || !refused_.insert(topic).second) return;
  }
  Lumenar::WriteError(fmt::format("sample of topic {} not taken: {}", topic, Lumenar::CorbaText(error)),
                      Lumenar::Priority::Warning);
}

void DdsBaseAccess::Impl::Publish(const char* topic, const SampleView& sample) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    DDS_Manager_var manager = Reach(Urgency::CanWait);
    if (CORBA::is_nil(manager)) break;
    try {
      CallPublish(manager, sample, topic);
      return;
    } catch (const CORBA::SystemException& error) {
      if (!MeansAway(error)) {
        NoteRefused(topic, error);
        break;
      }
      WentAway(manager, error, Urgency::CanWait);
      if (error.completed() != CORBA::COMPLETED_NO) break;  // it may have arrived: never twice
    }
  }
  ++lost;
}

DDS_Manager_ptr DdsBaseAccess::Impl::ReachForSure() {
  DDS_Manager_var manager = Reach(Urgency::Urgent);
  if (CORBA::is_nil(manager) || HasAnsweredJustNow(manager)) return manager._retn();
  try {
    manager->SubscriptionEpoch();
    NoteAnswer(manager);
    return manager._retn();
  } catch (const CORBA::SystemException& error) {
    WentAway(manager, error, Urgency::Urgent);
    if (CORBA::TIMEOUT::_downcast(&error) != nullptr) return DDS_Manager::_nil();
  }
  return Reach(Urgency::Urgent);
}

/// A manager that has answered just now may have been restarted since: what it did not get goes to its successor.
CORBA::Long DdsBaseAccess::Impl::Subscribe(const char* topic, DDS_Sub_ptr subscriber, Renewed renewed) {
  for (bool again = false;; again = true) {
    DDS_Manager_var manager = ReachForSure();
    if (CORBA::is_nil(manager)) throw CORBA::TRANSIENT(0, CORBA::COMPLETED_NO);
    try {
      return SubscribeAt(manager, topic, subscriber, renewed);
    } catch (const CORBA::SystemException& error) {
      if (!MeansAway(error)) throw;
      WentAway(manager, error, Urgency::Urgent);
      if (again || error.completed() != CORBA::COMPLETED_NO) throw;
    }
  }
}

/// Errors   CORBA::TRANSIENT when the ORB ends.
DdsBaseAccess::Impl::Making::Making(Impl& impl) : impl_(impl) {
  Lock lock(impl_.mutex_);
  if (!impl_.open_) throw CORBA::TRANSIENT(0, CORBA::COMPLETED_NO);
  ++impl_.making_;
}

DdsBaseAccess::Impl::Making::~Making() {
  Lock lock(impl_.mutex_);
  --impl_.making_;
  impl_.made_.NotifyAll();
}

/// A subscription of which no note can be kept does not stay.
CORBA::Long DdsBaseAccess::Impl::SubscribeAt(DDS_Manager_ptr manager, const char* topic, DDS_Sub_ptr subscriber,
                                             const Renewed& renewed) {
  const Making making(*this);
  const CORBA::Long handle = manager->Subscribe(topic, subscriber);
  NoteAnswer(manager);
  try {
    standing_.Add(topic, subscriber, handle, renewed);
  } catch (...) {
    manager->Unsubscribe(topic, handle);
    throw;
  }
  return handle;
}

void DdsBaseAccess::Impl::Unsubscribe(const char* topic, DDS_Sub_ptr subscriber) {
  const std::optional<CORBA::Long> handle = standing_.Remove(topic, subscriber);
  if (!handle) return;
  DDS_Manager_var manager = Reach(Urgency::Silent);
  if (CORBA::is_nil(manager)) return;
  try {
    manager->Unsubscribe(topic, *handle);
  } catch (const CORBA::SystemException& error) {
    if (MeansAway(error)) WentAway(manager, error, Urgency::Silent);
  }
}

/// The ORB is about to stop: the last moment at which calls go out. A manager that is away now is not looked for.
void DdsBaseAccess::Impl::EndAll() {
  {
    Lock lock(mutex_);
    open_ = false;
    while (making_ > 0) made_.Wait(mutex_);  // each has the time limit of remote calls
  }
  const auto standing = standing_.End();
  DDS_Manager_var manager;
  {
    Lock lock(mutex_);
    manager = manager_._retn();
    known_ = DDS_Manager::_nil();
  }
  if (CORBA::is_nil(manager)) return;
  try {
    for (const auto& [topic, handle] : standing) manager->Unsubscribe(topic.c_str(), handle);
  } catch (const CORBA::SystemException&) {  // it goes away as well: the first failure may have cost the time limit
  }
}

DdsBaseAccess::DdsBaseAccess(FindManager find) : impl_(std::make_unique<Impl>(std::move(find))) {}
DdsBaseAccess::~DdsBaseAccess() = default;

DdsBaseAccess& DdsBaseAccess::Instance() {
  static DdsBaseAccess* access = new DdsBaseAccess(FindInNamingServiceOfTheOrb);  // outlives every publisher
  return *access;
}

void DdsBaseAccess::Publish(const char* topic, const SampleView& sample) noexcept {
  try {
    impl_->Publish(topic, sample);
  } catch (...) {  // a result that is stored already is not failed by its publication, whatever ran out
    ++impl_->lost;
  }
}

CORBA::Long DdsBaseAccess::Subscribe(const char* topic, DDS_Sub_ptr subscriber, Renewed renewed) {
  return impl_->Subscribe(topic, subscriber, std::move(renewed));
}

void DdsBaseAccess::Unsubscribe(const char* topic, DDS_Sub_ptr subscriber) noexcept {
  try {
    impl_->Unsubscribe(topic, subscriber);
  } catch (...) {  // called by destructors
  }
}

unsigned long long DdsBaseAccess::LostSamples() const noexcept { return impl_->lost; }

}  // namespace Corvanta
