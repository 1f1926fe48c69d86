// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/MathBaseBasicTrace.h"

#include <utility>

namespace Lumenar {

MathTrace ValReadingMap<Corvanta::BASIC_TRACE::BT_DATA>::GetValue() const {
  Corvanta::BASIC_TRACE::BT_DATA_var present = Get();
  return MathTrace(std::move(present.inout()));
}

template class MathBaseTemplate<Corvanta::BASIC_TRACE::BT_DATA, ValReadingMap<Corvanta::BASIC_TRACE::BT_DATA>>;

}  // namespace Lumenar
