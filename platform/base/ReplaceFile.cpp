// SPDX-License-Identifier: Apache-2.0
#include "platform/base/ReplaceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <system_error>

namespace Lumenar {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kUnfinished = ".new-";
constexpr std::string_view kRandomPart = "XXXXXX";  // as mkostemp wants it

[[noreturn]] void Fail(int error, const std::string& what) {
  throw std::system_error(error, std::generic_category(), what);
}

void WriteAll(int descriptor, const std::string& text, const std::string& path) {
  for (std::size_t written = 0; written < text.size();) {
    const ssize_t count = ::write(descriptor, text.data() + written, text.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) Fail(errno, path);
    written += static_cast<std::size_t>(count);
  }
}

/// Writes all and closes, whatever happens.
void WriteAndClose(int descriptor, const std::string& text, const std::string& path) {
  try {
    WriteAll(descriptor, text, path);
  } catch (...) {
    ::close(descriptor);
    throw;
  }
  if (::close(descriptor) != 0) Fail(errno, path);
}

bool IsUnfinished(const fs::directory_entry& entry, const std::string& stem) {
  std::error_code error;
  const std::string name = entry.path().filename().string();
  return name.size() == stem.size() + kRandomPart.size() && name.compare(0, stem.size(), stem) == 0 &&
         entry.symlink_status(error).type() == fs::file_type::regular;
}

}  // namespace

void AppendToFile(const fs::path& path, const std::string& text) {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) Fail(errno, path.string());
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(descriptor);
    Fail(EINVAL, path.string() + ": is not a regular file");
  }
  WriteAndClose(descriptor, text, path.string());
}

void ReplaceFile(const fs::path& path, const std::string& text) {
  std::string temporary = path.string().append(kUnfinished).append(kRandomPart);
  const int descriptor =
      ::mkostemp(temporary.data(), O_CLOEXEC);  // O_EXCL, so that no link is followed; for its owner only
  if (descriptor < 0) Fail(errno, path.string());
  try {
    WriteAndClose(descriptor, text, path.string());
    if (std::rename(temporary.c_str(), path.c_str()) != 0) Fail(errno, path.string());
  } catch (...) {
    ::unlink(temporary.c_str());
    throw;
  }
}

void RemoveUnfinishedReplacements(const fs::path& path) noexcept {
  try {
    const std::string stem = path.filename().string().append(kUnfinished);
    const fs::path directory = path.has_parent_path() ? path.parent_path() : fs::path(".");
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
      std::error_code ignored;
      if (IsUnfinished(entry, stem)) fs::remove(entry.path(), ignored);
    }
  } catch (const std::exception&) {  // a directory that cannot be listed costs the space of what is left there
  }
}

}  // namespace Lumenar
