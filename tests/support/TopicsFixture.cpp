// SPDX-License-Identifier: Apache-2.0
#include "tests/support/TopicsFixture.h"

#include "platform/base/InstanceCounter.h"

namespace Lumenar::Test {
namespace {}  // namespace

long LiveInstances(const std::string& class_name) {
  for (const auto& [name, live] : InstanceCounter::All()) {
    if (name == class_name) return live;
  }
  return 0;
}

long FakeRegistration::Add(const Entry& entry) {
  Lock lock(mutex_);
  entries_.emplace(++last_, entry);
  return last_;
}

void FakeRegistration::Remove(long token) noexcept {
  Lock lock(mutex_);
  entries_.erase(token);
}

std::vector<GUI_AbleRegistration::Entry> FakeRegistration::Entries() const {
  Lock lock(mutex_);
  std::vector<Entry> all;
  for (const auto& [token, entry] : entries_) all.push_back(entry);
  return all;
}

TopicsFixture::TopicsFixture() : platform_(IsolatedPlatform::Options::NamingOnly()), manager_(new FakeTopicManager) {
  platform_.UseInThisProcess();
  orb_ = std::make_unique<Corvanta::ORB_wrapper>("TEST", "Lumenar/local");
  orb_->Activate();
  Corvanta::DDS_Manager_var reference = manager_->_this();
  orb_->Bind({"Lumenar", "local", "DDS_MANAGER", "1"}, reference);
}

TopicsFixture::~TopicsFixture() { manager_->LetPublicationsGo(); }

std::vector<int> TopicsFixture::LongsOn(const std::string& topic) {
  std::vector<int> numbers;
  for (const Corvanta::SampleRecord& record : Manager().PublishedOn(topic)) {
    numbers.push_back(std::get<CORBA::Long>(record));
  }
  return numbers;
}

}  // namespace Lumenar::Test
