// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace Lumenar::Recording {

/// The lines of a regular file, compressed by zstd (which its first bytes tell, not its name) or not. Takes as much
/// memory as the longest line, whatever is in the file.
/// Errors   std::system_error, std::runtime_error, both "PATH: reason".
class LineFile {
 public:
  enum class Result {
    Line,     ///< a line, without its line end
    Unended,  ///< the file ends in the middle of a line, or of a compressed block: what there is of it
    NoMore,   ///< the file ended behind a line end
    TooLong,  ///< a line that is longer than the limit
    Damaged,  ///< compressed data that is not
  };

  /// `longest`: the limit of a line's length in bytes.
  LineFile(const std::string& path, std::size_t longest);
  ~LineFile();
  LineFile(const LineFile&) = delete;
  LineFile& operator=(const LineFile&) = delete;

  Result Next(std::string& line);

  /// Bytes of the file that were read so far, and its size when it was opened: how far the reading has come.
  std::size_t BytesRead() const noexcept { return bytes_read_; }
  std::size_t Size() const noexcept { return size_; }

 private:
  struct Closer {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };
  class Decompressor;

  bool Fill();
  std::size_t Read(std::vector<char>& block);

  const std::string path_;
  const std::size_t longest_;
  std::size_t size_ = 0;  // set when the file is opened
  std::unique_ptr<std::FILE, Closer> file_;
  std::unique_ptr<Decompressor> decompressor_;
  std::vector<char> block_;
  std::size_t begin_ = 0;  // of what is not yet given out, in the block
  std::size_t end_ = 0;
  std::size_t bytes_read_ = 0;
  bool cut_ = false;  // in the middle of a compressed frame
  bool damaged_ = false;
};

}  // namespace Lumenar::Recording
