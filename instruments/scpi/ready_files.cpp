// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/ready_files.h"

#include <dlfcn.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace Lumenar::Scpi {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFolder = "share/lumenar/scpi";
constexpr const char* kEnding = ".scpi";

std::string ReadyNames() {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(ReadyFilesFolder(), error))
    if (entry.path().extension() == kEnding) names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list.empty() ? "none is installed" : list;
}

}  // namespace

fs::path ReadyFilesFolder() {
  Dl_info place{};
  if (::dladdr(reinterpret_cast<const void*>(&ReadyFilesFolder), &place) == 0 || place.dli_fname == nullptr) return {};
  std::error_code error;
  fs::path folder = fs::weakly_canonical(place.dli_fname, error).parent_path();
  for (int levels = 0; levels < 3; ++levels) {  // "lib", "bin", "lib/x86_64-linux-gnu"
    folder = folder.parent_path();
    if (fs::is_directory(folder / kFolder, error)) return folder / kFolder;
  }
  return {};
}

std::string PathOfDeviceFile(const std::string& file_or_name) {
  std::error_code error;
  if (file_or_name.find('/') != std::string::npos || fs::exists(file_or_name, error)) return file_or_name;
  const fs::path ready = ReadyFilesFolder() / (file_or_name + kEnding);
  if (!file_or_name.empty() && fs::exists(ready, error)) return ready.string();
  throw std::invalid_argument("'" + file_or_name + "' is neither a file nor a ready device (" + ReadyNames() + ")");
}

}  // namespace Lumenar::Scpi
