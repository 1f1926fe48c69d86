// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "recording/Digest.h"
#include "recording/EntryReader.h"
#include "recording/LineFile.h"
#include "recording/OutputFile.h"
#include "recording/Recording.h"

namespace Lumenar::Recording {

/// Recordings as CSV: one row a sample, its points in columns; header, readings, events and end as lines that begin
/// with "# ", each the line of the recording. Back from CSV a recording is the same, byte for byte.

/// Whether a first line is that of a recording as CSV.
bool IsCsvRecording(std::string_view first_line);

/// Writes a recording as CSV, compressed where its name ends in ".zst".
/// Errors   std::system_error, "PATH: reason"; std::invalid_argument for a name with control characters.
/// Threads  one at a time.
class CsvWriter {
 public:
  /// `most_points`: of the longest trace that will come, for the line of the columns' names.
  CsvWriter(const std::string& path, bool replace, const Header& header, std::size_t most_points);

  void Write(const Entry& entry);

  /// Writes the last line, as RecordingWriter::Finish.
  void Finish(std::int64_t now_ns, std::uint64_t lost, const std::string& next = {});

 private:
  void Put(const ReadingInfo& reading);
  void Put(const Sample& sample);
  void Put(const Event& event);

  void PutLine(const std::string& line);

  OutputFile file_;
  Digest digest_;
  std::uint64_t lines_ = 0;  // of the recording, before the last
  std::uint64_t samples_ = 0;
  std::vector<std::string> names_;  // of the readings, ready for a cell
};

/// Reads what CsvWriter wrote, entry by entry, in memory for one line.
/// Errors   RecordingError; std::system_error and std::runtime_error, "PATH: reason".
/// Threads  one at a time.
class CsvReader final : public EntryReader {
 public:
  explicit CsvReader(const std::string& path);

  const Header& GetHeader() const noexcept override { return header_; }

  /// The next entry; nothing at the end.
  std::optional<Entry> Next() override;

  /// After the end: what the last line says; nothing when there is none.
  const std::optional<End>& GetEnd() const noexcept override { return end_; }

  /// Always empty: a recording as CSV that breaks off is refused.
  const std::string& CutOff() const noexcept override { return cut_off_; }

  /// After the end: whether the samples are others than those that the last line was made for.
  bool Changed() const override { return end_ && end_->sha256 != digest_.Text(); }

  std::size_t BytesRead() const noexcept override { return file_.BytesRead(); }
  std::size_t Size() const noexcept override { return file_.Size(); }

 private:
  bool ReadLine();
  std::optional<Entry> FromComment();
  Sample FromRow() const;
  [[noreturn]] void Fail(const std::string& reason) const;

  const std::string path_;
  LineFile file_;
  Digest digest_;
  Header header_;
  std::vector<std::string> names_;
  std::optional<End> end_;
  const std::string cut_off_;
  std::string line_;
  std::size_t line_number_ = 0;
};

}  // namespace Lumenar::Recording
