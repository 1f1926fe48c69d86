// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "samples.h"
#include "services/topic_manager/DeliverySchedule.h"

namespace Lumenar::Test {

class NoSubscriber : public Subscriber {
 public:
  Outcome Deliver(const Corvanta::SampleRecord&) override { return Outcome::Delivered; }
};

/// A schedule with a clock that the test turns.
class Schedule : public testing::Test {
 protected:
  void Add(long handle, const std::string& address = "host:1", const std::string& topic = "T") {
    schedule_.Add(handle, topic, address, boost::shared_ptr<Subscriber>(new NoSubscriber), now_);
  }
  void Publish(int value, const std::string& topic = "T") { schedule_.Publish(topic, LongSample(value), freed_); }

  std::optional<DeliverySchedule::Delivery> Next() {
    schedule_.Advance(now_);
    return schedule_.Next(now_);
  }
  DeliverySchedule::Delivery MustNext() {
    auto delivery = Next();
    if (!delivery) throw std::logic_error("nothing is ready");
    return *delivery;
  }
  bool Finish(const DeliverySchedule::Delivery& delivery, Outcome outcome) {
    return !schedule_.Finish(delivery, outcome, now_, freed_).empty();
  }

  /// The handles that may be delivered to now, all begun.
  std::vector<long> BeginAll() {
    std::vector<long> handles;
    while (auto delivery = Next()) {
      handles.push_back(delivery->subscription->handle);
      begun_.push_back(*delivery);
    }
    return handles;
  }
  const Subscription& Of(long handle) const { return *schedule_.Subscriptions().at(handle); }

  SteadyTime now_{std::chrono::seconds(1000)};
  std::vector<SamplePtr> freed_;
  std::vector<DeliverySchedule::Delivery> begun_;
  DeliverySchedule schedule_{WithoutLooks()};

 private:
  static DeliverySchedule::Limits WithoutLooks() {
    DeliverySchedule::Limits limits;
    limits.look_period = std::chrono::milliseconds(0);
    return limits;
  }
};

}  // namespace Lumenar::Test
