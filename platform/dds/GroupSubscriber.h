// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DDS.hh"
#include "platform/dds/DDS_BaseObj.h"
#include "platform/records/SampleRecord.h"
#include "platform/wire/any_guard.h"

namespace Corvanta {

/// A subscriber's servant whose process takes samples for several of its subscribers in one call.
///
/// Such a call hands each sample out in turn on one thread. A subscriber that would have to wait for something takes
/// nothing then (see UpcallGate::WithoutWaiting), so that it holds up no other: it gets its sample in a call of its
/// own.
///
/// Two managers may give the same handle: a process that subscribes with several tells their subscribers apart by the
/// way to each.
/// Threads   any.
class GroupSubscriber : public GuardedServant<POA_Corvanta::DDS_GroupSub> {
 public:
  HandleSeq* DDS_Group(const SharedSampleSeq& samples) override;

 protected:
  explicit GroupSubscriber(const DdsBaseAccess& manager = DdsBaseAccess::Instance()) : manager_(&manager) {}
  ~GroupSubscriber() override = default;

  /// Samples off the wire go through the any guard.
  bool TakeCall(IncomingCall& call) override;

  /// A decoded sample; what this throws reaches the caller of DDS_Callback.
  virtual void Take(SampleRecord&& sample) = 0;

  /// A sample of its own could not be read for want of memory; called in the handler of the exception, which goes on to
  /// the caller of DDS_Callback.
  virtual void NotRead() noexcept {}

  /// From here on a group call finds this subscriber by its handle, and by no former one. Without memory for that, it
  /// does not: samples come singly then. Does nothing after LeaveGroup.
  void JoinGroup(CORBA::Long handle) noexcept;

  /// The end of that, before the owner gives up its reference. A second call does nothing.
  void LeaveGroup() noexcept;

 private:
  class Members;

  /// Of the table of members, under its lock.
  struct Membership {
    CORBA::Long handle = 0;
    bool left = false;
  };

  bool TakeCallback(IncomingCall& call);
  bool TakeAtOnce(SampleRecord&& sample);
  bool TakeFor(CORBA::Long handle, SampleRecord& sample, bool last) const;

  const DdsBaseAccess* const manager_;  ///< a mark: it may be gone
  Membership membership_;
};

}  // namespace Corvanta
