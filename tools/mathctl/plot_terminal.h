// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/mathctl/character_chart.h"

namespace Lumenar::Mathctl {

/// What a picture on standard output may use now: the size of the terminal, else that of COLUMNS and LINES, else 80 by
/// 24; UTF-8 where the locale's variables name it; colours on a terminal, unless NO_COLOR is set or TERM is "dumb".
/// `ascii` forbids UTF-8.
CharacterForm FormOfOutput(bool ascii);

}  // namespace Lumenar::Mathctl
