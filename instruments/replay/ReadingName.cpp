// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/ReadingName.h"

#include <filesystem>

namespace Lumenar::Replay {

std::string ReadingName(std::string_view path) {
  std::string name = std::filesystem::path(path).stem().string();
  for (char& c : name) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    const bool stays = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!stays) c = '_';
  }
  const bool empty = name.find_first_not_of('_') == std::string::npos;
  return empty ? "TRACE" : name;
}

}  // namespace Lumenar::Replay
