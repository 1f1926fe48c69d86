// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "recording/Recording.h"

namespace Lumenar::Mathctl {

/// What is in a file that can be played.
struct RecordingSurvey {
  Recording::Header header;
  std::vector<Recording::ReadingInfo> readings;
  std::vector<std::uint64_t> samples;  ///< of each reading, those included that were present when it began
  std::uint64_t published = 0;         ///< samples that were published
  std::int64_t begin_ns = 0;           ///< of the first and the last of them
  std::int64_t end_ns = 0;
  std::uint32_t most_points = 0;  ///< of the longest trace
  bool whole = false;             ///< it has a last line, which fits
  std::string next;               ///< file name of the next part; empty in the last
  std::string cut_off;            ///< where it breaks off; empty where it does not

  double Seconds() const { return static_cast<double>(end_ns - begin_ns) / 1e9; }
};

/// Reads a recording, or a file of another instrument (Touchstone, CSV), from its beginning to its end. How far it has
/// come is shown on a terminal.
/// Errors   Client::Error Refused for a file that cannot be read, is damaged or is none; Signal_Exception.
RecordingSurvey SurveyRecording(const std::string& path, bool quiet);

/// Says on standard error that a recording breaks off, or that it goes on in another file.
void WarnOfRest(const RecordingSurvey& survey, bool quiet);

}  // namespace Lumenar::Mathctl
