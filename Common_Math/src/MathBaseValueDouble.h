// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Common_Math/src/MathBase.h"
#include "Common_Math/src/MathValueValueDouble.h"
#include "platform/components/readings/EngineReadingValueDouble_i.h"

namespace Lumenar {

/// The RESULT reading of operations whose result is a scalar.
template <>
class ValReadingMap<Corvanta::VALUE_DOUBLE::VALUE> : public Corvanta::EngineReadingValueDouble_i {
 public:
  using Corvanta::EngineReadingValueDouble_i::EngineReadingValueDouble_i;
  using Corvanta::EngineReadingValueDouble_i::operator=;

  MathScalar GetValue() const { return MathScalar(Get()); }
};

extern template class MathBaseTemplate<Corvanta::VALUE_DOUBLE::VALUE, ValReadingMap<Corvanta::VALUE_DOUBLE::VALUE>>;

}  // namespace Lumenar
