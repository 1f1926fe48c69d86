// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "instruments/replay/ReadOptions.h"

namespace Lumenar::Replay {

/// Whether a text is the CSV that libsigrok writes, as sigrok-cli -O csv.
bool IsSampleCsv(std::string_view text);

/// Reads it: lines of comments, the unit, then one sample a line, behind its time where that is written too. Each frame is
/// a sweep, a stream is one; sweeps shorter than the longest are left out, as the last before an end often is.
///
/// It is of a device with one channel: with more, the program puts text between the numbers. The unit is that of the file's first sample.
/// Errors   FormatError; std::invalid_argument for options that make no sense.      Threads  pure.
RecordedFile ReadSampleCsv(std::string_view text, const ReadOptions& options);

}  // namespace Lumenar::Replay
