// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>

#include "DDS.hh"
#include "platform/wire/record_kinds.h"

namespace Corvanta {

/// The way to the topic manager, found through the naming service at Lumenar/local/DDS_MANAGER/1 when first needed, and
/// again by itself after the manager was away. A process has one, Instance(), for the naming service of its ORB; a
/// client of further platforms has one for each.
///
/// A manager that is away is noted once on standard error, its return once; while it is away, at most one call each 250
/// ms tries it, so that nothing is slowed down. A subscription stands until it is ended here: a manager that has lost
/// it gets it again within seconds of its start. All that stand when the ORB shuts down are ended then.
/// Threads   any.
class DdsBaseAccess {
 public:
  static DdsBaseAccess& Instance();

  /// That of another platform: `find` gives what its naming service has under the manager's name, and raises CORBA
  /// exceptions where that fails. The ORB of the process lives as long as this.
  using FindManager = std::function<CORBA::Object_ptr()>;
  explicit DdsBaseAccess(FindManager find);

  /// Subscriptions through this were ended before.
  ~DdsBaseAccess();
  DdsBaseAccess(const DdsBaseAccess&) = delete;
  DdsBaseAccess& operator=(const DdsBaseAccess&) = delete;

  /// Sends a sample to the manager. Never throws: a manager that is away loses the sample, counted.
  void Publish(const char* topic, const SampleView& sample) noexcept;

  /// Called with the handle by which the manager knows a subscription from here on, on a thread of this class; perhaps
  /// even once after the subscription was ended.
  using Renewed = std::function<void(CORBA::Long handle)>;

  /// The handle that the manager gave.
  /// Errors   CORBA::TRANSIENT when the manager cannot be found; IMP_LIMIT, see StandingSubscriptions::Add; other CORBA
  ///          system exceptions.
  CORBA::Long Subscribe(const char* topic, DDS_Sub_ptr subscriber, Renewed renewed = {});

  /// Ends a subscription of this subscriber, by the reference that it was made with. A manager that is away is silently
  /// ignored.
  void Unsubscribe(const char* topic, DDS_Sub_ptr subscriber) noexcept;

  /// Samples that could not be sent since the process began.
  unsigned long long LostSamples() const noexcept;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// Base of publishers and subscribers.
class DDS_BaseObj {
 protected:
  DDS_BaseObj() = default;
  ~DDS_BaseObj() = default;
  static DdsBaseAccess& DdsBase() { return DdsBaseAccess::Instance(); }
};

}  // namespace Corvanta
