// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

namespace Lumenar {

/// A text file that is read from its beginning: a regular file, and nothing else. Whoever names a pipe, a terminal or a
/// device gets an error at once, where reading would wait for somebody to write.
/// Errors   std::runtime_error, "PATH: reason"; std::system_error where the system gives the reason.
class TextFile {
 public:
  enum class Links { Followed, Refused };

  /// `links`: whether the path's last part may be a symbolic link. Files that the program itself keeps are none.
  explicit TextFile(const std::filesystem::path& path, Links links = Links::Followed);

  /// The next line without its end; false at the end of the file. Of a longer line than `longest` the first `longest` +
  /// 1 bytes, so that its length tells; the rest is passed over.
  bool NextLine(std::string& line, std::size_t longest);

  /// All that is left.
  /// Errors   also for more than `largest` bytes.
  std::string Rest(std::size_t largest);

 private:
  struct Closer {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };

  [[noreturn]] void Fail(int error) const;
  void CheckRead() const;

  std::string path_;
  std::unique_ptr<std::FILE, Closer> file_;
};

}  // namespace Lumenar
