// SPDX-License-Identifier: Apache-2.0
#include "platform/components/HoldReadings.h"

#include <boost/weak_ptr.hpp>
#include <stdexcept>
#include <utility>

namespace Lumenar {
namespace {

struct Instance {
  Mutex mutex;
  boost::weak_ptr<HoldReadings> hold GUARDED_BY(mutex);
};

Instance& TheInstance() {
  static Instance* instance = new Instance;  // outlives every static that holds readings
  return *instance;
}

}  // namespace

boost::shared_ptr<HoldReadings> HoldReadings::CreateInstance() {
  Instance& instance = TheInstance();
  Lock lock(instance.mutex);
  boost::shared_ptr<HoldReadings> hold = instance.hold.lock();
  if (!hold) {
    hold.reset(new HoldReadings);
    instance.hold = hold;
  }
  return hold;
}

void HoldReadings::Hold() {
  Lock lock(mutex_);
  ++holds_;
}

void HoldReadings::Release() {
  for (const Publication& publish : EndOne()) publish();
}

/// What is to be published now: nothing as long as another hold stands.
HoldReadings::Publications HoldReadings::EndOne() {
  Publications due;
  Lock lock(mutex_);
  if (holds_ == 0) throw std::logic_error("HoldReadings::Release: expected a hold, found none");
  if (--holds_ == 0) due.swap(deferred_);
  return due;
}

bool HoldReadings::Defer(Publication publication) {
  Lock lock(mutex_);
  if (!IsHolding()) return false;
  deferred_.push_back(std::move(publication));
  return true;
}

}  // namespace Lumenar
