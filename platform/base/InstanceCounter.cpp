// SPDX-License-Identifier: Apache-2.0
#include "platform/base/InstanceCounter.h"

#include <algorithm>

#include "platform/base/Mutex.h"

namespace Lumenar {
namespace {

struct Registry {
  Mutex mutex;
  std::vector<const InstanceCounter*> counters GUARDED_BY(mutex);
};

Registry& TheRegistry() {
  static Registry* registry = new Registry;  // outlives every counted static
  return *registry;
}

}  // namespace

InstanceCounter::InstanceCounter(const char* class_name) : class_name_(class_name) {
  Registry& registry = TheRegistry();
  Lock lock(registry.mutex);
  registry.counters.push_back(this);
}

std::vector<std::pair<std::string, long>> InstanceCounter::All() {
  std::vector<std::pair<std::string, long>> all;
  {
    Registry& registry = TheRegistry();
    Lock lock(registry.mutex);
    for (const InstanceCounter* counter : registry.counters) all.emplace_back(counter->ClassName(), counter->Live());
  }
  std::sort(all.begin(), all.end());
  return all;
}

}  // namespace Lumenar
