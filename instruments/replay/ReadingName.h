// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace Lumenar::Replay {

/// The reading name of a file: its stem in capitals, with "_" for all but letters and digits of ASCII; "TRACE" when
/// nothing is left. "data/P1-MSL_Open_50.s1p" gives "P1_MSL_OPEN_50".
std::string ReadingName(std::string_view path);

}  // namespace Lumenar::Replay
