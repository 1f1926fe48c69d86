// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <string>
#include <utility>
#include <vector>

namespace Lumenar {

/// Counts the live objects of one class, for leak checks by tests and tools. A class `X` inherits
/// `Counted<X>` and defines `static constexpr const char* kClassName`.
class InstanceCounter {
 public:
  explicit InstanceCounter(const char* class_name);

  void Add() noexcept { live_.fetch_add(1, std::memory_order_relaxed); }
  void Remove() noexcept { live_.fetch_sub(1, std::memory_order_relaxed); }
  long Live() const noexcept { return live_.load(std::memory_order_relaxed); }
  const char* ClassName() const noexcept { return class_name_; }

  /// Every class counted so far in this process with its live objects, ordered by name.
  static std::vector<std::pair<std::string, long>> All();

 private:
  const char* class_name_;
  std::atomic<long> live_{0};
};

/// Base of a counted class.
template <class T>
class Counted {
 protected:
  Counted() { Counter().Add(); }
  Counted(const Counted&) { Counter().Add(); }
  Counted& operator=(const Counted&) = default;
  ~Counted() { Counter().Remove(); }

 private:
  static InstanceCounter& Counter() {
    static InstanceCounter* counter = new InstanceCounter(T::kClassName);  // outlives every counted static
    return *counter;
  }
};

}  // namespace Lumenar
