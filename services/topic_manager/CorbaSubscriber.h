#pragma once

#include <chrono>

#include "services/topic_manager/Subscription.h"

namespace Lumenar {

/// A subscriber in another process, called with a time limit.
class CorbaSubscriber : public Subscriber {
 public:
  /// The reference must be this object's own: the limit belongs to it.
  CorbaSubscriber(Corvanta::DDS_Sub_ptr subscriber, std::chrono::milliseconds limit);
  Outcome Deliver(const Corvanta::SampleRecord& sample) override;

 private:
  Corvanta::DDS_Sub_var subscriber_;
};

}  // namespace Lumenar
