// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/words.h"

#include <fmt/format.h>

namespace Lumenar::Scpi {

std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 120;
  std::string quoted = "'";
  for (const char byte : text.substr(0, kLongest)) {
    const auto code = static_cast<unsigned char>(byte);
    quoted += code >= 0x20 && code < 0x7f ? std::string(1, byte) : fmt::format("\\x{:02x}", code);
  }
  return quoted + (text.size() > kLongest ? "...'" : "'");
}

std::string DurationText(std::chrono::milliseconds duration) {
  const auto count = duration.count();
  return count % 1000 == 0 ? fmt::format("{} s", count / 1000) : fmt::format("{} ms", count);
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace Lumenar::Scpi
