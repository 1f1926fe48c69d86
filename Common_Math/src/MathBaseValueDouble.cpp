// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/MathBaseValueDouble.h"

namespace Lumenar {

template class MathBaseTemplate<Corvanta::VALUE_DOUBLE::VALUE, ValReadingMap<Corvanta::VALUE_DOUBLE::VALUE>>;

}  // namespace Lumenar
