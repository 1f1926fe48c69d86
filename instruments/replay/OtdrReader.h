// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "instruments/replay/Recording.h"

namespace Lumenar::Replay {

/// Reads a backscatter trace in two columns: a line with the columns' names and units (`Distance [m],Signal [dB]`),
/// then one point a line. One sweep; samples in the second column's unit, as dB of a ratio without unit where that is
/// "dB".
/// Errors   FormatError.      Threads  pure.
RecordedFile ReadOtdr(std::string_view text);

}  // namespace Lumenar::Replay
