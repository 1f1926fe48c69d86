// SPDX-License-Identifier: Apache-2.0
#include "tests/model/TopicTraffic.h"

namespace Lumenar::Model {

void TopicTraffic::Restart() {
  CORBA::Object_var object = orb_.Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
  manager_ = Corvanta::DDS_Manager::_narrow(object);
  missed_.clear();
  Register();
}

void TopicTraffic::Register() {
  const Published published = PublishedNow();
  Corvanta::SubscriptionStatusSeq_var all = manager_->Subscriptions();
  for (CORBA::ULong i = 0; i < all->length(); ++i) {
    const auto topic = published.find(std::string(all[i].topic));
    const std::uint64_t count = topic == published.end() ? 0 : topic->second;
    missed_.emplace(all[i].handle, count - Had(all[i]));
  }
}

/// The topics are counted twice, so that a sample published in between is not overlooked.
bool TopicTraffic::IsQuiet() const {
  const Published published = PublishedNow();
  Corvanta::SubscriptionStatusSeq_var all = manager_->Subscriptions();
  if (PublishedNow() != published) return false;
  for (CORBA::ULong i = 0; i < all->length(); ++i) {
    const auto missed = missed_.find(all[i].handle);
    const auto topic = published.find(std::string(all[i].topic));
    const std::uint64_t count = topic == published.end() ? 0 : topic->second;
    if (missed == missed_.end() || Had(all[i]) + missed->second != count) return false;
  }
  return true;
}

TopicTraffic::Published TopicTraffic::PublishedNow() const {
  Published published;
  Corvanta::TopicStatusSeq_var topics = manager_->Topics();
  for (CORBA::ULong i = 0; i < topics->length(); ++i) published[std::string(topics[i].topic)] = topics[i].published;
  return published;
}

}  // namespace Lumenar::Model
