// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/state_path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace Lumenar {
namespace {

/// A variable that does not hold an absolute path counts as not set.
std::filesystem::path PathIn(const char* variable) {
  const char* const value = std::getenv(variable);
  const std::filesystem::path path = value == nullptr ? "" : value;
  return path.is_absolute() ? path : std::filesystem::path();
}

std::filesystem::path StateDirectory() {
  if (const auto chosen = PathIn("XDG_STATE_HOME"); !chosen.empty()) return chosen;
  if (::geteuid() == 0) return "/var/lib";
  const auto home = PathIn("HOME");
  return home.empty() ? home : home / ".local" / "state";
}

}  // namespace

std::optional<std::filesystem::path> DefaultStatePath(const std::string& service, const std::string& naming_address) {
  const std::filesystem::path directory = StateDirectory();
  if (directory.empty()) return std::nullopt;
  std::string address = naming_address;
  std::replace_if(
      address.begin(), address.end(), [](char c) { return c == ':' || c == '/'; }, '-');
  return directory / "lumenar" / (service + '-' + address + ".state");
}

void MakeDirectoryOf(const std::filesystem::path& file) noexcept {
  try {
    std::filesystem::path directory;
    for (const std::filesystem::path& part : file.parent_path()) {
      directory /= part;
      ::mkdir(directory.c_str(), 0700);
    }
  } catch (const std::exception&) {}
}

}  // namespace Lumenar
