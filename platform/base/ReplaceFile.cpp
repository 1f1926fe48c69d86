#include "platform/base/ReplaceFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace Lumenar {
namespace {

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

void WriteTo(const std::string& path, int flags, const std::string& text) {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | flags, 0600);
  if (descriptor < 0) Fail(errno, path);
  try {
    WriteAll(descriptor, text, path);
  } catch (...) {
    ::close(descriptor);
    throw;
  }
  if (::close(descriptor) != 0) Fail(errno, path);
}

}  // namespace

void AppendToFile(const std::filesystem::path& path, const std::string& text) { WriteTo(path.string(), O_APPEND, text); }

void ReplaceFile(const std::filesystem::path& path, const std::string& text) {
  const std::string temporary = path.string() + ".new";
  WriteTo(temporary, O_CREAT | O_TRUNC, text);
  if (std::rename(temporary.c_str(), path.c_str()) != 0) Fail(errno, path.string());
}

}  // namespace Lumenar
