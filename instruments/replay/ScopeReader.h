// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "instruments/replay/Recording.h"

namespace Lumenar::Replay {

/// Reads a waveform in two columns: a line with the columns' names, a line with their units (`second,Volt`), then one
/// point a line. One sweep; samples in the second column's unit.
/// Errors   FormatError.      Threads  pure.
RecordedFile ReadScope(std::string_view text);

}  // namespace Lumenar::Replay
