// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/base/InstanceCounter.h"
#include "platform/components/ItemNamer.h"

namespace Lumenar {

/// What every reading and attribute has: its item name and its topic, both fixed at construction.
///
/// Readings are owned by value by their engine code; the servant that the ORB calls is a counted inner part, so that a
/// request in flight never meets freed memory. An owner's end closes the servant, takes it out of the registration and
/// of the POA, and never waits; a request that comes later gets OBJECT_NOT_EXIST.
class EngineReadingBase_i : private Counted<EngineReadingBase_i> {
 public:
  static constexpr const char* kClassName = "EngineReadingBase_i";

  EngineReadingBase_i(Corvanta::ItemNamer& namer, const char* name);
  virtual ~EngineReadingBase_i() = default;
  EngineReadingBase_i(const EngineReadingBase_i&) = delete;
  EngineReadingBase_i& operator=(const EngineReadingBase_i&) = delete;

  const std::string& GetName() const noexcept { return name_; }
  const std::string& GetDDS_Topic() const noexcept { return topic_; }

 private:
  const std::string name_;
  const std::string topic_;
};

}  // namespace Lumenar
