// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/recording_rules.h"

#include <algorithm>
#include <cmath>

#include "instruments/replay/load_recording.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Violation.h"

namespace Lumenar::Fuzz {
namespace {

void CheckContents(const Replay::RecordedFile& file) {
  Require(!file.recordings.empty(), "there is a recording");
  if (file.sweeps_per_s) Require(std::isfinite(*file.sweeps_per_s) && *file.sweeps_per_s >= 0, "the rate is a rate");
  const std::size_t sweeps = file.recordings.front().sweeps.size();
  for (const Replay::Recording& recording : file.recordings) {
    Require(sweeps > 0 && recording.sweeps.size() == sweeps, "all recordings have the same number of sweeps");
    const std::size_t points = recording.sweeps.front().size();
    Require(points > 0 && points <= Replay::kMaxPoints, "there are points, and not too many");
    for (const auto& sweep : recording.sweeps)
      Require(sweep.size() == points, "all sweeps have the same number of points");
    Require(std::isfinite(recording.x_step) && recording.x_step >= 0, "the step is finite");
    Require(Value::Units_library::Is_packed(recording.units), "units are packed");
    Require(Value::Units_library::Arrange_tuple(recording.units) == recording.units, "units are arranged");
  }
}

void CheckRefusal(const Replay::FormatError& error, const std::string& text) {
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  const std::string reason = error.what();
  Require(error.Line() >= 1 && error.Line() <= lines, "the line is one of the file");
  Require(!reason.empty() && reason.size() < 200, "the reason is short");
  Require(std::all_of(reason.begin(), reason.end(), [](char c) { return c >= ' ' && c <= '~'; }),
          "the reason can be shown");
}

}  // namespace

void CheckRecording(const char* name, Bytes input, const Replay::ReadOptions& options) {
  const std::string text = TextOf(input);
  try {
    CheckContents(Replay::ReadRecording(name, text, options));
  } catch (const Replay::FormatError& error) {
    CheckRefusal(error, text);
  }
}

}  // namespace Lumenar::Fuzz
