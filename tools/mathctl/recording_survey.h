// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "recording/EntryReader.h"
#include "recording/Recording.h"

namespace Lumenar::Mathctl {

/// What is in a file that can be played, or in as much of it as was read.
struct RecordingSurvey {
  Recording::Header header;
  std::vector<Recording::ReadingInfo> readings;
  std::vector<std::uint64_t> samples;  ///< of each reading, those included that were present when it began
  std::uint64_t published = 0;         ///< samples that were published
  std::int64_t begin_ns = 0;           ///< of the first and the last of them
  std::int64_t end_ns = 0;
  std::uint32_t most_points = 0;  ///< of the longest trace
  std::uint64_t lost = 0;         ///< samples that its recorder says it lost
  std::uint64_t gaps = 0;         ///< places where more may be missing
  bool complete = false;          ///< the file was read to its end
  bool whole = false;             ///< it has a last line, which fits
  std::string next;               ///< file name of the next part; empty in the last
  std::string cut_off;            ///< where it breaks off; empty where it does not

  double Seconds() const { return static_cast<double>(end_ns - begin_ns) / 1e9; }
};

/// Finds out what is in a recording, or in a file of another instrument (Touchstone, CSV), piece by piece, in memory for
/// one entry.
/// Errors   of all functions: Client::Error Refused for a file that cannot be read, is damaged or is none.
class RecordingSurveyor {
 public:
  explicit RecordingSurveyor(const std::string& path);

  /// Reads on, up to the end of the file, for as long as this at most.
  void ReadFor(std::chrono::milliseconds limit);

  /// So far.
  const RecordingSurvey& Survey() const { return survey_; }

  /// How much of the file was read, in percent.
  std::size_t Percent() const;

 private:
  void Take(const Recording::Entry& entry);
  void NoteEnd();

  const std::string path_;
  std::unique_ptr<Recording::EntryReader> reader_;
  RecordingSurvey survey_;
};

/// The whole of a file. How far it has come is shown on a terminal.
/// Errors   as RecordingSurveyor; Signal_Exception.
RecordingSurvey SurveyRecording(const std::string& path, bool quiet);

/// What is at the beginning of a file, or in the whole of it where that takes no longer than people notice.
/// Errors   as RecordingSurveyor.
RecordingSurvey SurveyBeginning(RecordingSurveyor& surveyor);

/// Says on standard error that a recording breaks off, goes on in another file, or lacks samples.
void WarnOfRest(const RecordingSurvey& survey, bool quiet);

}  // namespace Lumenar::Mathctl
