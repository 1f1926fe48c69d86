// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "instruments/replay/Recording.h"

namespace Lumenar::Replay {

/// The largest file that is read.
inline constexpr std::uintmax_t kMaxFileBytes = std::uintmax_t{256} << 20;

/// Reads the text of a file, in the format that its name's end (.s1p, .s2p, .csv; capitals or not) and, for .csv, its
/// first line tell.
/// Errors   FormatError; std::invalid_argument for another name.
RecordedFile ReadRecording(std::string_view name, std::string_view text);

/// Reads a file.
/// Errors   std::runtime_error whose text is "PATH:LINE: REASON", or "PATH: REASON" for a file that cannot be read.
RecordedFile LoadRecording(const std::string& path);

}  // namespace Lumenar::Replay
