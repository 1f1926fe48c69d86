// SPDX-License-Identifier: Apache-2.0
// Loaded in front of a program's libraries, it lets a pseudo-terminal pass for a serial port: it has an entry among the
// system's serial devices, and the lines of a modem, which nobody moves.
#include <dlfcn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

namespace {

constexpr char kEntries[] = "/sys/class/tty/pts/";
constexpr char kTarget[] = "../../devices/virtual/tty/pseudo";

bool IsEntryOfPseudoTerminal(const char* path) { return std::strncmp(path, kEntries, sizeof kEntries - 1) == 0; }

template <class Function>
Function Original(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

template <class Stat>
int AnswerAsLink(Stat* status) {
  *status = {};
  status->st_mode = S_IFLNK | 0777;
  return 0;
}

}  // namespace

extern "C" {

#define SHOWN __attribute__((visibility("default")))

SHOWN int lstat(const char* __restrict path, struct stat* __restrict status) noexcept {
  if (IsEntryOfPseudoTerminal(path)) return AnswerAsLink(status);
  return Original<int (*)(const char*, struct stat*)>("lstat")(path, status);
}

SHOWN int lstat64(const char* __restrict path, struct stat64* __restrict status) noexcept {
  if (IsEntryOfPseudoTerminal(path)) return AnswerAsLink(status);
  return Original<int (*)(const char*, struct stat64*)>("lstat64")(path, status);
}

// The names under which programs call them that were built against older C libraries.
SHOWN int __lxstat(int version, const char* path, struct stat* status) noexcept {
  if (IsEntryOfPseudoTerminal(path)) return AnswerAsLink(status);
  return Original<int (*)(int, const char*, struct stat*)>("__lxstat")(version, path, status);
}

SHOWN int __lxstat64(int version, const char* path, struct stat64* status) noexcept {
  if (IsEntryOfPseudoTerminal(path)) return AnswerAsLink(status);
  return Original<int (*)(int, const char*, struct stat64*)>("__lxstat64")(version, path, status);
}

SHOWN ssize_t readlink(const char* __restrict path, char* __restrict room, size_t size) noexcept {
  if (!IsEntryOfPseudoTerminal(path))
    return Original<ssize_t (*)(const char*, char*, size_t)>("readlink")(path, room, size);
  const size_t count = size < sizeof kTarget - 1 ? size : sizeof kTarget - 1;
  std::memcpy(room, kTarget, count);
  return static_cast<ssize_t>(count);
}

SHOWN int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  const int result = Original<int (*)(int, unsigned long, void*)>("ioctl")(descriptor, request, argument);
  const bool of_modem = request == TIOCMGET || request == TIOCMSET || request == TIOCMBIS || request == TIOCMBIC;
  if (result == 0 || !of_modem || (errno != ENOTTY && errno != EINVAL)) return result;
  if (request == TIOCMGET) *static_cast<int*>(argument) = 0;
  return 0;
}

}  // extern "C"
