// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "platform/components/GUI_AbleRegistration.h"
#include "platform/orb/ORB_wrapper.h"
#include "tests/support/FakeTopicManager.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {

/// The live objects of a counted class.
long LiveInstances(const std::string& class_name);

/// Keeps entries as the registration object of an engine does.
class FakeRegistration : public GUI_AbleRegistration {
 public:
  long Add(const Entry& entry) override;
  void Remove(long token) noexcept override;
  std::vector<Entry> Entries() const;

 private:
  mutable Mutex mutex_;
  long last_ GUARDED_BY(mutex_) = 0;
  std::map<long, Entry> entries_ GUARDED_BY(mutex_);
};

/// An ORB with a naming service and a fake topic manager where the platform looks for it.
class TopicsFixture : public testing::Test {
 protected:
  TopicsFixture();
  ~TopicsFixture() override;

  FakeTopicManager& Manager() { return *manager_; }
  Corvanta::ORB_wrapper& Orb() { return *orb_; }

  /// The longs published on a topic, in order.
  std::vector<int> LongsOn(const std::string& topic);

  FakeRegistration registration_;

 private:
  IsolatedPlatform platform_;
  std::unique_ptr<Corvanta::ORB_wrapper> orb_;
  PortableServer::Servant_var<FakeTopicManager> manager_;
};

}  // namespace Lumenar::Test
