// SPDX-License-Identifier: Apache-2.0
#include "platform/base/Diagnostic.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <string>
#include <system_error>

#include "platform/base/Mutex.h"
#include "platform/base/output_error.h"

namespace Lumenar {
namespace {

Mutex& OutputMutex() {
  static Mutex mutex;
  return mutex;
}

std::atomic<int> output_error{0};

/// Errno of a line that could not be written, 0 of one that was. The next line is tried again: a disk may have room by
/// then.
int WriteLine(std::ostream& stream, std::string_view line) {
  errno = 0;
  stream << line << std::endl;
  if (stream) return 0;
  const int error = errno;
  stream.clear();
  return error != 0 ? error : EIO;
}

}  // namespace

void WriteOut(std::string_view line) {
  Lock lock(OutputMutex());
  const int error = WriteLine(std::cout, line);
  int none = 0;
  if (error != 0) output_error.compare_exchange_strong(none, error);
}

void WriteError(std::string_view line, Priority priority) {
  static const bool is_journal = IsStream(STDERR_FILENO, std::getenv("JOURNAL_STREAM"));
  if (!is_journal) return WriteFixedError(line);
  WriteFixedError('<' + std::to_string(static_cast<int>(priority)) + '>' + std::string(line));
}

void WriteFixedError(std::string_view line) {
  Lock lock(OutputMutex());
  WriteLine(std::cerr, line);
}

bool IsStream(int descriptor, const char* stream) {
  struct stat status {};
  if (stream == nullptr || fstat(descriptor, &status) != 0) return false;
  return stream == std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

int OutputError() noexcept { return output_error; }

int CheckOutput(const char* program, int exit_code) {
  const int error = OutputError();
  if (error == 0 || error == EPIPE) return exit_code;
  WriteError(std::string(program) + ": standard output: " + std::generic_category().message(error));
  return exit_code == 0 ? 1 : exit_code;
}

}  // namespace Lumenar
