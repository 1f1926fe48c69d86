// SPDX-License-Identifier: Apache-2.0
#include "platform/signals/moved_tree.h"

#include <dlfcn.h>

#include <algorithm>
#include <system_error>

namespace Lumenar {
namespace {

namespace fs = std::filesystem;

bool IsBelow(const fs::path& path, const fs::path& folder) {
  return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
}

/// The folder of the file in which this code is; empty when nobody knows.
fs::path OwnFolder() {
  Dl_info info{};
  if (::dladdr(reinterpret_cast<const void*>(&InMovedTree), &info) == 0 || info.dli_fname == nullptr) return {};
  std::error_code error;
  const fs::path file = fs::canonical(info.dli_fname, error);
  return error ? fs::path() : file.parent_path();
}

}  // namespace

fs::path MovedWith(const fs::path& path, const fs::path& prefix, const fs::path& libraries_then,
                   const fs::path& libraries_now) {
  if (libraries_now.empty() || !IsBelow(path, prefix) || !IsBelow(libraries_then, prefix)) return path;
  return (libraries_now / path.lexically_relative(libraries_then)).lexically_normal();
}

fs::path InMovedTree(const fs::path& path) {
  static const fs::path folder = OwnFolder();
  const fs::path moved = MovedWith(path, LUMENAR_PREFIX, LUMENAR_LIBRARY_FOLDER, folder);
  std::error_code error;
  return fs::exists(moved, error) ? moved : path;
}

}  // namespace Lumenar
