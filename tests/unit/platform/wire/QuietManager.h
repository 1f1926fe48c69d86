// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DDS.hh"

namespace Corvanta::Test {

/// A topic manager that has no subscriptions and keeps nothing; what becomes of samples says the class derived from it.
/// Skeleton is the generated class, or one of ours derived from it.
template <class Skeleton>
class QuietManager : public Skeleton {
 public:
  CORBA::Long Subscribe(const char*, DDS_Sub_ptr) override { return 0; }
  void Unsubscribe(const char*, CORBA::Long) override {}
  TopicStatusSeq* Topics() override { return new TopicStatusSeq; }
  SubscriptionStatusSeq* Subscriptions() override { return new SubscriptionStatusSeq; }
  CORBA::ULongLong SubscriptionEpoch() override { return 0; }
  HandleSeq* Renew(const ClaimSeq&) override { return new HandleSeq; }
  CORBA::Boolean LastSample(const char*, CORBA::Any_OUT_arg sample) override {
    sample = new CORBA::Any;
    return false;
  }
};

}  // namespace Corvanta::Test
