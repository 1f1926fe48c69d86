// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace Lumenar::Recording {

/// A file that is written from its beginning to its end, compressed by zstd where its name ends in ".zst".
/// Errors   std::system_error, "PATH: reason", of all functions: also of the file system that is full.
class OutputFile {
 public:
  enum class Existing { Refused, Replaced };

  /// `existing`: what becomes of a regular file that is there. Devices and pipes are written to.
  OutputFile(const std::string& path, Existing existing);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void Write(std::string_view bytes);

  /// What was written so far can be read by others, and is there after a crash of this program.
  void Flush();

  /// Ends the file. To be called once, last; a file that goes without it ends where it was flushed.
  void Close();

  /// Bytes in the file, as far as they have left the compressor.
  std::uint64_t Size() const noexcept { return size_; }

 private:
  struct Closer {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };
  class Compressor;

  void WritePlain(std::string_view bytes);
  [[noreturn]] void Fail() const;

  const std::string path_;
  std::unique_ptr<std::FILE, Closer> file_;
  std::unique_ptr<Compressor> compressor_;
  std::uint64_t size_ = 0;
};

}  // namespace Lumenar::Recording
