// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/unix_endpoint.h"

#include <fmt/format.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "platform/transport/SettingsFile.h"
#include "platform/transport/addresses.h"

namespace Corvanta {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Refuse(const fs::path& path, const std::string& reason) {
  throw TransportConfigError(fmt::format("{}{}: {}", kUnixEndpoint, path.string(), reason));
}

sockaddr_un AddressOf(const fs::path& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string& name = path.native();
  if (name.size() >= sizeof address.sun_path)
    Refuse(path, fmt::format("a socket's path has at most {} bytes", sizeof address.sun_path - 1));
  std::copy(name.begin(), name.end(), address.sun_path);
  return address;
}

/// Whether a process listens at the socket; when that cannot be found out, one does.
bool IsInUse(const fs::path& path) {
  const sockaddr_un address = AddressOf(path);
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor < 0) return true;
  const int result = ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  const int error = result == 0 ? 0 : errno;
  ::close(descriptor);
  return error != ECONNREFUSED && error != ENOENT;
}

/// The directory's owner alone decides who reaches the sockets in it, and what stands in their place.
void RequirePrivate(const fs::path& path, const fs::path& directory) {
  if (::mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST)
    Refuse(path, fmt::format("{} cannot be made: {}", directory.string(), std::strerror(errno)));
  struct stat status {};
  if (::stat(directory.c_str(), &status) != 0) Refuse(path, directory.string() + ": " + std::strerror(errno));
  if (!S_ISDIR(status.st_mode)) Refuse(path, directory.string() + " is no directory");
  if (status.st_uid != ::geteuid()) Refuse(path, directory.string() + " belongs to another user");
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
    Refuse(path, directory.string() + " can be written by others: it must be its owner's alone (chmod 700)");
}

/// Whether a socket is named "PROGRAM.PID" after a process that is gone.
bool IsLeftBehind(const fs::path& socket) {
  const std::string number = socket.extension().string();  // with its dot; empty when the name has none
  if (number.empty()) return false;
  const char* const last = number.data() + number.size();
  pid_t process = 0;
  const auto [end, error] = std::from_chars(number.data() + 1, last, process);
  if (error != std::errc() || end != last || process <= 0) return false;
  return ::kill(process, 0) != 0 && errno == ESRCH && !IsInUse(socket);
}

void RemoveLeftBehind(const fs::path& directory) {
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, ignored)) {
    if (entry.symlink_status(ignored).type() == fs::file_type::socket && IsLeftBehind(entry.path()))
      fs::remove(entry.path(), ignored);  // another process may have been quicker
  }
}

/// The file in a directory that is this process's own.
fs::path OwnSocket(const fs::path& directory) {
  std::error_code no_proc;
  const std::string program = fs::read_symlink("/proc/self/exe", no_proc).filename().string();
  return directory / fmt::format("{}.{}", program.empty() ? "process" : program, ::getpid());
}

void Vacate(const fs::path& path) {
  std::error_code error;
  const fs::file_type type = fs::symlink_status(path, error).type();
  if (type == fs::file_type::not_found) return;
  if (type != fs::file_type::socket) Refuse(path, "there is something else than a socket");
  if (IsInUse(path)) Refuse(path, "another process listens there");
  if (!fs::remove(path, error) && error) Refuse(path, "cannot be removed: " + error.message());
}

}  // namespace

std::string PrepareEndpoint(const std::string& endpoint) {
  if (endpoint.compare(0, kUnixEndpoint.size(), kUnixEndpoint) != 0) return endpoint;
  fs::path path = endpoint.substr(kUnixEndpoint.size());
  if (!path.is_absolute()) Refuse(path, "the path must be absolute");
  const fs::path directory = path.parent_path();
  RequirePrivate(path, directory);
  if (!path.has_filename()) {
    RemoveLeftBehind(directory);
    path = OwnSocket(directory);
  }
  AddressOf(path);  // for its check of the length
  Vacate(path);
  return std::string(kUnixEndpoint) + path.string();
}

}  // namespace Corvanta
