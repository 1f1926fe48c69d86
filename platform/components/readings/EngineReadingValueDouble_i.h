// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "EngineReading.hh"
#include "platform/components/readings/EngineReadingTemplate.h"

namespace Corvanta {

/// A reading whose value is a number with units and an error band.
class EngineReadingValueDouble_i : public EngineReadingTemplate<VALUE_DOUBLE::VALUE, EngineReadingValueDouble> {
 public:
  /// Errors   CORBA system exceptions.
  EngineReadingValueDouble_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name,
                             const VALUE_DOUBLE::VALUE& initial);

  /// Stores and publishes.
  EngineReadingValueDouble_i& operator=(const VALUE_DOUBLE::VALUE& value) {
    value_->Assign(value);
    return *this;
  }

  VALUE_DOUBLE::VALUE Get() const { return value_->Get(); }
};

}  // namespace Corvanta
