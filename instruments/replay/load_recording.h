// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "instruments/replay/ReadOptions.h"
#include "instruments/replay/Recording.h"
#include "platform/units/Units.h"

namespace Lumenar::Replay {

/// The largest file that is read.
inline constexpr std::uintmax_t kMaxFileBytes = std::uintmax_t{256} << 20;

/// dB of a ratio that has no unit, and the same levels as dB of 100 percent, which is the ratio 1: another name of the
/// same numbers. RelativeSubtract, which normalises to a reference, asks for a unit, so levels are offered as the
/// second.
inline constexpr Value::Units kPlainDecibels{true, 0, {}};
inline constexpr Value::Units kRatioDecibels = Value::Make_unit(Value::U_Percent, 1, 2, true);

/// The units in which levels are offered: kRatioDecibels for kPlainDecibels, all others as they are.
Value::Units LevelUnits(const Value::Units& units) noexcept;

/// Reads the text of a file, in the format that its name's end (.s1p, .s2p, .csv, .sr; capitals or not) and, for .csv,
/// its first line tell. Units are LevelUnits; `options` are for files of samples (.sr, and .csv of libsigrok).
/// Errors   FormatError; std::invalid_argument for another name, or options that make no sense.
RecordedFile ReadRecording(std::string_view name, std::string_view text, const ReadOptions& options = {});

/// Reads a file.
/// Errors   std::runtime_error whose text is "PATH:LINE: REASON", or "PATH: REASON" for a file that cannot be read.
RecordedFile LoadRecording(const std::string& path, const ReadOptions& options = {});

}  // namespace Lumenar::Replay
