// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DDS.hh"
#include "platform/base/Mutex.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/records/SampleRecord.h"
#include "platform/wire/any_guard.h"
#include "platform/wire/sample_any.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {

/// A subscriber in the test's process that writes down the long values it gets.
class TestSubscriber : public Corvanta::GuardedServant<POA_Corvanta::DDS_Sub> {
 public:
  /// `in_delivery` runs inside each delivery.
  explicit TestSubscriber(std::function<void()> in_delivery = {}) : in_delivery_(std::move(in_delivery)) {}

  void DDS_Callback(const CORBA::Any& sample) override { Take(Corvanta::RecordFromAny(sample)); }
  CORBA::Long GetId() override { return 0; }

  std::vector<int> Values();
  bool WaitForCount(std::size_t count);

 protected:
  ~TestSubscriber() override = default;
  bool TakeCall(Corvanta::IncomingCall& call) override;

 private:
  void Take(Corvanta::SampleRecord&& sample);

  const std::function<void()> in_delivery_;
  Mutex mutex_;
  std::vector<int> values_ GUARDED_BY(mutex_);
};

using TestSubscriberVar = PortableServer::Servant_var<TestSubscriber>;

/// A platform with a topic manager whose calls are limited to one second, and an ORB in the test's process.
class TopicRig : public testing::Test {
 protected:
  /// `transport` are further lines of the transport configuration.
  explicit TopicRig(const std::string& transport = "");
  ~TopicRig() override;

  /// The ORB of this process, made anew.
  void StartOrb();
  void StopOrb();
  Corvanta::ORB_wrapper_base& Orb() { return *orb_; }

  /// The manager as the naming service has it now.
  Corvanta::DDS_Manager_ptr Manager();

  void Publish(const std::string& topic, int value);
  CORBA::Long Subscribe(const std::string& topic, TestSubscriber* subscriber);

  /// The state of one subscription; handle 0 when the manager does not know it.
  Corvanta::SubscriptionStatus StatusOf(CORBA::Long handle);

  /// Starts a process that subscribes to a topic `count` times and waits until it has; its handles.
  std::unique_ptr<Process> StartSubscriber(const std::string& topic, int count, std::vector<CORBA::Long>& handles);

  static IsolatedPlatform::Options PlatformOptions(const std::string& transport);

  IsolatedPlatform platform_;
  std::unique_ptr<Corvanta::ORB_wrapper_base> orb_;
};

/// How long `action` took.
std::chrono::milliseconds TimeOf(const std::function<void()>& action);

}  // namespace Lumenar::Test
