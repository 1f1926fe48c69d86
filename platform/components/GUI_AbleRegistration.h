// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "EngineReading.hh"
#include "platform/base/SharedText.h"
#include "platform/dds/DDS_BaseObj.h"

namespace Lumenar {

/// Where every reading and attribute of an engine registers itself.
class GUI_AbleRegistration {
 public:
  struct Entry {
    std::string name;       ///< item name, unique in the engine
    std::string type_name;  ///< kind, as in TypeInfo
    bool settable = false;
    SharedText topic;
    Corvanta::EngineReadingBase_var reference;
  };

  virtual ~GUI_AbleRegistration() = default;

  /// Returns a token for Remove. Threads: any.
  virtual long Add(const Entry& entry) = 0;
  virtual void Remove(long token) noexcept = 0;

  /// The way by which the items publish; it outlives them.
  virtual Corvanta::DdsBaseAccess& Topics() { return Corvanta::DdsBaseAccess::Instance(); }
};

}  // namespace Lumenar
