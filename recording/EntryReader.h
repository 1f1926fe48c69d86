// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "recording/Recording.h"

namespace Lumenar::Recording {

/// The entries of a recording, of whatever form the file has.
/// Errors   RecordingError; std::system_error and std::runtime_error, "PATH: reason".      Threads  one at a time.
class EntryReader {
 public:
  EntryReader() = default;
  virtual ~EntryReader() = default;
  EntryReader(const EntryReader&) = delete;
  EntryReader& operator=(const EntryReader&) = delete;

  virtual const Header& GetHeader() const noexcept = 0;

  /// The next entry; nothing at the end.
  virtual std::optional<Entry> Next() = 0;

  /// After the end: what the last line says; nothing when there is none.
  virtual const std::optional<End>& GetEnd() const noexcept = 0;

  /// After the end: empty, or where the file breaks off and that it does, in one line.
  virtual const std::string& CutOff() const noexcept = 0;

  /// After the end: whether the samples are others than those that the last line was made for, as of CSV that somebody
  /// edited; other forms are refused then.
  virtual bool Changed() const { return false; }

  /// Bytes of the file that were read, and all.
  virtual std::size_t BytesRead() const noexcept = 0;
  virtual std::size_t Size() const noexcept = 0;
};

/// Opens a recording, of JSON lines or CSV, compressed or not; its first line tells. A file that is none is refused as
/// one of JSON lines would be.
/// Errors   as EntryReader.
std::unique_ptr<EntryReader> OpenRecording(const std::string& path);

/// Whether the first line of a file is that of a recording, of either form.
/// Errors   std::system_error and std::runtime_error for a file that cannot be read.
bool IsRecording(const std::string& path);

}  // namespace Lumenar::Recording
