// SPDX-License-Identifier: Apache-2.0
#include "platform/dds/GroupSubscriber.h"

#include <map>
#include <new>
#include <optional>
#include <utility>

#include "platform/base/Mutex.h"
#include "platform/servants/servants.h"
#include "platform/wire/any_guard.h"

namespace Corvanta {

/// The subscribers of this process by their managers and handles.
class GroupSubscriber::Members {
 public:
  static Members& Instance() {
    static Members* members = new Members;  // outlives every servant
    return *members;
  }

  /// A handle that another subscriber had of a manager that is no more is the new one's.
  void Enter(CORBA::Long handle, GroupSubscriber* member) {
    Lumenar::Lock lock(mutex_);
    Membership& membership = member->membership_;
    if (membership.left) return;
    Erase(membership.handle, member);
    members_[{member->manager_, handle}] = member;
    membership.handle = handle;
  }

  void Leave(GroupSubscriber* member) noexcept {
    Lumenar::Lock lock(mutex_);
    member->membership_.left = true;
    Erase(member->membership_.handle, member);
  }

  /// Held by a reference of the caller's; null for an unknown handle.
  GroupSubscriber* Find(const DdsBaseAccess* manager, CORBA::Long handle) {
    Lumenar::Lock lock(mutex_);
    const auto found = members_.find({manager, handle});
    if (found == members_.end()) return nullptr;
    found->second->_add_ref();  // under the lock: who leaves does so before it is released
    return found->second;
  }

 private:
  void Erase(CORBA::Long handle, const GroupSubscriber* member) noexcept REQUIRES(mutex_) {
    const auto found = members_.find({member->manager_, handle});
    if (found != members_.end() && found->second == member) members_.erase(found);
  }

  Lumenar::Mutex mutex_;
  std::map<std::pair<const DdsBaseAccess*, CORBA::Long>, GroupSubscriber*> members_ GUARDED_BY(mutex_);
};

bool GroupSubscriber::TakeCall(IncomingCall& call) {
  return TakeCallback(call) || DispatchGroup(call, [this](CORBA::Long handle, SampleRecord& sample, bool last) {
           return TakeFor(handle, sample, last);
         });
}

bool GroupSubscriber::TakeCallback(IncomingCall& call) {
  bool read = false;
  try {
    return DispatchCallback(call, [&](SampleRecord&& sample) {
      read = true;
      Take(std::move(sample));
    });
  } catch (const std::bad_alloc&) {
    if (!read) NotRead();
    throw;
  } catch (const CORBA::NO_MEMORY&) {
    if (!read) NotRead();
    throw;
  }
}

HandleSeq* GroupSubscriber::DDS_Group(const SharedSampleSeq& samples) {
  return TakeGroup(
      samples, [this](CORBA::Long handle, SampleRecord& sample, bool last) { return TakeFor(handle, sample, last); });
}

bool GroupSubscriber::TakeFor(CORBA::Long handle, SampleRecord& sample, bool last) const {
  const PortableServer::Servant_var<GroupSubscriber> member(Members::Instance().Find(manager_, handle));
  if (member.in() == nullptr) return false;
  if (last) return member->TakeAtOnce(std::move(sample));
  std::optional<SampleRecord> copy;
  try {
    copy = sample;
  } catch (const std::bad_alloc&) {  // the subscriber has had nothing of it
    return false;
  }
  return member->TakeAtOnce(std::move(*copy));
}

bool GroupSubscriber::TakeAtOnce(SampleRecord&& sample) {
  const UpcallGate::WithoutWaiting without_waiting;
  try {
    Take(std::move(sample));
    return true;
  } catch (const UpcallGate::WouldWait&) {
    return false;
  }
}

void GroupSubscriber::JoinGroup(CORBA::Long handle) noexcept {
  try {
    Members::Instance().Enter(handle, this);
  } catch (const std::bad_alloc&) {}
}

void GroupSubscriber::LeaveGroup() noexcept { Members::Instance().Leave(this); }

}  // namespace Corvanta
