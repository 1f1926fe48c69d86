// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

#include "DDS.hh"
#include "services/topic_manager/Subscriber.h"

namespace Lumenar {

/// A subscriber in another process, called with a time limit. Needs an AnswerWatch that has begun.
class CorbaSubscriber : public Subscriber {
 public:
  /// The reference must be this object's own: the limit belongs to it.
  CorbaSubscriber(Corvanta::DDS_Sub_ptr subscriber, std::chrono::milliseconds limit);
  Outcome Deliver(const Corvanta::SampleRecord& sample) override;
  Outcome Look(std::chrono::milliseconds limit) override;

  /// By the type that the reference names: nobody is asked.
  bool TakesGroups() const override { return !CORBA::is_nil(group_); }
  Outcome DeliverGroup(const std::vector<Shared>& samples, std::set<long>& not_taken) override;

 private:
  /// What an answer means that is neither the ordinary one nor says that the subscriber is away or gone.
  struct OtherAnswer {
    Outcome before_the_work;  ///< the samples reached nobody
    Outcome afterwards;       ///< or perhaps: they may have been taken
  };

  template <class Call>
  Outcome Make(Call call, OtherAnswer other);
  Outcome AfterFailure(const CORBA::SystemException& error, OtherAnswer other, bool answered);

  const std::chrono::milliseconds limit_;
  Corvanta::DDS_Sub_var subscriber_;
  Corvanta::DDS_GroupSub_var group_;  ///< the same, when it takes samples for others along
};

}  // namespace Lumenar
