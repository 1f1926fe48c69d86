// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "recording/Digest.h"
#include "recording/OutputFile.h"
#include "recording/Recording.h"

namespace Lumenar::Recording {

struct WriterOptions {
  bool replace = false;            ///< a file that is there
  std::string comment;             ///< for the first line
  std::uint64_t rotate_bytes = 0;  ///< begin another file when one is as large; 0: never
  std::int64_t rotate_ns = 0;      ///< begin another file when one covers as much time; 0: never
};

/// Writes a recording, compressed where its name ends in ".zst", into one file or several: FILE, then with "-2", "-3"
/// ... before the endings. Every file is a whole recording: header, readings, samples, last line.
///
/// A writer that goes without Finish leaves a file without its last line, which a reader finds cut off.
/// Errors   std::system_error, "PATH: reason", of all functions; std::invalid_argument as they say.
/// Threads  one at a time.
class RecordingWriter {
 public:
  /// `now_ns`: the time, for the first line.
  RecordingWriter(std::string path, WriterOptions options, std::int64_t now_ns);

  /// With a first line that is given: what is copied from another form stays the same, byte for byte.
  RecordingWriter(std::string path, WriterOptions options, Header header);
  ~RecordingWriter();
  RecordingWriter(const RecordingWriter&) = delete;
  RecordingWriter& operator=(const RecordingWriter&) = delete;

  /// Adds a reading, whose index is returned (that in `reading` does not count). Also later than samples of others.
  /// Errors   std::invalid_argument for a name that is there already.
  std::uint32_t Add(ReadingInfo reading);

  /// Errors   std::invalid_argument for a reading that was not added, a record of no kind.
  void Write(const Sample& sample);
  void Write(const Event& event);

  /// What was written so far can be read, and outlives this program.
  void Flush() { file_->Flush(); }

  /// Writes the last line. To be called once, last. `lost`: samples that did not get into this file, usually LostInFile;
  /// `next`: file name of a part that others write.
  void Finish(std::int64_t now_ns, std::uint64_t lost, const std::string& next = {});

  std::uint64_t Samples() const noexcept { return samples_; }                            ///< in all files
  std::uint64_t Bytes() const noexcept { return bytes_ + (file_ ? file_->Size() : 0); }  ///< in all files
  std::uint64_t LostInFile() const noexcept { return lost_in_file_; }                    ///< by its events
  std::uint32_t Parts() const noexcept { return header_.part; }
  const std::string& Path() const noexcept { return path_; }  ///< of the present file

 private:
  void RequireNoOtherPart() const;
  void Open(OutputFile::Existing existing);
  void WriteLine(const std::string& line);
  void RequireReading(std::uint32_t reading) const;
  void RotateAt(std::int64_t time_ns);
  void EndFile(std::int64_t now_ns, std::uint64_t lost, const std::string& next);

  const std::string first_path_;
  const WriterOptions options_;
  std::string path_;
  Header header_;
  std::vector<ReadingInfo> readings_;  // as they are now
  std::unique_ptr<Digest> digest_;
  std::unique_ptr<OutputFile> file_;
  std::uint64_t lines_ = 0;  // in the present file
  std::uint64_t samples_in_file_ = 0;
  std::uint64_t lost_in_file_ = 0;
  std::uint64_t samples_ = 0;
  std::uint64_t bytes_ = 0;  // of the files before
};

/// FILE of the first part, "a.jsonl.zst", as the name of part `part`: "a-2.jsonl.zst".
std::string PartPath(const std::string& path, std::uint32_t part);

}  // namespace Lumenar::Recording
