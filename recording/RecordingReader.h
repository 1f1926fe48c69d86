// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "recording/Digest.h"
#include "recording/EntryReader.h"
#include "recording/LineFile.h"
#include "recording/Recording.h"

namespace Lumenar::Recording {

/// Reads one file of a recording, entry by entry, in memory for one line. Everything that it hands out has stood in a
/// line whose CRC fits; that nothing is missing or exchanged is known when the end has come.
///
///     RecordingReader reader(path);
///     while (const auto entry = reader.Next()) ...
///     if (!reader.GetEnd()) ... reader.CutOff() says where the file breaks off
///
/// Errors   RecordingError of all functions, for what is not a recording or is damaged; std::system_error and
///          std::runtime_error, "PATH: reason", for a file that cannot be read.
/// Threads  one at a time.
class RecordingReader final : public EntryReader {
 public:
  explicit RecordingReader(const std::string& path);

  const Header& GetHeader() const noexcept override { return header_; }

  /// The next entry; nothing at the end, also of a file that breaks off.
  std::optional<Entry> Next() override;

  /// The readings that came so far; the place of each is its index.
  const std::vector<ReadingInfo>& Readings() const noexcept { return readings_; }

  /// After the end: what the last line says, whose counts and digest are those of the file; nothing when there is none.
  const std::optional<End>& GetEnd() const noexcept override { return end_; }

  /// After the end: empty, or "FILE:LINE: breaks off here" for a file without its last line.
  const std::string& CutOff() const noexcept override { return cut_off_; }

  /// SHA-256 of all bytes so far but the last line.
  std::string DigestText() const { return digest_.Text(); }

  std::size_t Line() const noexcept { return line_number_; }   ///< number of the line of the last entry, from 1
  std::uint64_t Samples() const noexcept { return samples_; }  ///< that came so far

  /// Bytes of the file that were read, and all.
  std::size_t BytesRead() const noexcept override { return file_.BytesRead(); }
  std::size_t Size() const noexcept override { return file_.Size(); }

 private:
  bool ReadLine();
  void NoteCutOff();
  void Take(const Header& header);
  void Take(const ReadingInfo& reading);
  void Take(const Sample& sample);
  void Take(const Event& event);
  void Take(const End& end);
  void RequireReading(std::uint32_t reading) const;
  [[noreturn]] void Fail(const std::string& reason) const;

  const std::string path_;
  LineFile file_;
  Digest digest_;
  Header header_;
  std::vector<ReadingInfo> readings_;
  std::unordered_set<std::string> names_;
  std::optional<End> end_;
  std::string cut_off_;
  std::string line_;
  std::size_t line_number_ = 0;
  std::uint64_t samples_ = 0;
  bool over_ = false;
};

}  // namespace Lumenar::Recording
