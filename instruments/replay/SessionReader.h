// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "instruments/replay/ReadOptions.h"

namespace Lumenar::Replay {

/// Reads a session file of libsigrok (.sr): a zip archive with the samples of each analog channel as floats, the low byte
/// first. Each channel is a recording, of one sweep; logic channels are left out. The file keeps no unit, so that the
/// options must tell one.
/// Errors   FormatError; std::invalid_argument for options that make no sense.      Threads  pure.
RecordedFile ReadSession(std::string_view bytes, const ReadOptions& options);

}  // namespace Lumenar::Replay
