// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/function.hpp>

#include "EngineAttrib.hh"
#include "platform/components/readings/EngineReadingTemplate.h"

namespace Corvanta {

/// An attribute whose value is a number with units and an error band.
///
/// A client's Set with malformed units is refused with BAD_PARAM; NaN and infinity are values like others. Set calls
/// the callback, which is what stores (and publishes) by assignment; an empty callback means that the value is stored
/// directly. No lock is held meanwhile.
class EngineAttribValueDouble_i : public EngineReadingTemplate<VALUE_DOUBLE::VALUE, EngineAttribValueDouble> {
 public:
  using Callback = boost::function<void(const VALUE_DOUBLE::VALUE&)>;

  /// Errors   CORBA system exceptions.
  EngineAttribValueDouble_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name,
                            const VALUE_DOUBLE::VALUE& initial, Callback callback);

  /// Stores and publishes.
  EngineAttribValueDouble_i& operator=(const VALUE_DOUBLE::VALUE& value) {
    value_->Assign(value);
    return *this;
  }

  VALUE_DOUBLE::VALUE Get() const { return value_->Get(); }
};

}  // namespace Corvanta
