// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Common_Math/src/MathBase.h"
#include "Common_Math/src/MathValueBasicTrace.h"
#include "platform/components/readings/EngineBasicTrace_i.h"

namespace Lumenar {

/// The RESULT reading of operations whose result is a trace.
template <>
class ValReadingMap<Corvanta::BASIC_TRACE::BT_DATA> : public Corvanta::EngineBasicTrace_i {
 public:
  using Corvanta::EngineBasicTrace_i::EngineBasicTrace_i;
  using Corvanta::EngineBasicTrace_i::operator=;

  MathTrace GetValue() const;
};

extern template class MathBaseTemplate<Corvanta::BASIC_TRACE::BT_DATA, ValReadingMap<Corvanta::BASIC_TRACE::BT_DATA>>;

}  // namespace Lumenar
