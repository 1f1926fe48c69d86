// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "instruments/replay/Recording.h"

namespace Lumenar::Replay {

/// What a file of samples does not tell by itself.
struct ReadOptions {
  /// The unit of the samples, where the file keeps none or another is meant: "V", or "A0=V;A1=A" for channels by name.
  std::string units;
  std::size_t points = 0;  ///< of a sweep that is cut from a stream; 0: it is one sweep
};

/// The setting that gives ReadOptions::units, for messages.
inline constexpr char kUnitsSetting[] = "REPLAY_UNITS";

/// The unit that is told for a channel: its own, else the one without a name; nothing where none is told.
/// Errors   std::invalid_argument for a text that is no unit.
std::optional<Value::Units> ToldUnits(const ReadOptions& options, const std::string& channel);

/// A sample rate as text, "20 kHz", in hertz.
/// Errors   FormatError; also for a rate that no device has.
double RateFromText(std::string_view text, std::size_t line);

/// Cuts each sweep into sweeps of so many points; the rest of it is left out. The sweeps come at the rate of their
/// samples.
/// Errors   FormatError when a recording has fewer points than one sweep.
void CutSweeps(RecordedFile& file, std::size_t points);

}  // namespace Lumenar::Replay
