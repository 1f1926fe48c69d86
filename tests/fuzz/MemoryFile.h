// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

namespace Lumenar::Fuzz {

/// A file in memory.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& contents) : descriptor_(::memfd_create("input", MFD_CLOEXEC)) {
    if (descriptor_ < 0 ||
        ::write(descriptor_, contents.data(), contents.size()) != static_cast<ssize_t>(contents.size())) {
      throw std::logic_error("no file in memory");
    }
  }
  ~MemoryFile() { ::close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string Path() const { return fmt::format("/proc/self/fd/{}", descriptor_); }

 private:
  int descriptor_;
};

}  // namespace Lumenar::Fuzz
