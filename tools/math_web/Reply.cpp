// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Reply.h"

#include <algorithm>
#include <charconv>

namespace Lumenar::Web {
namespace {

constexpr std::size_t kLongestTarget = 2048;

/// False for what is no %XX.
bool Decode(std::string_view text, std::string& decoded) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    const std::string_view digits = text.substr(i + 1, 2);
    unsigned char byte = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
    if (digits.size() != 2 || error != std::errc() || end != digits.data() + 2) return false;
    decoded += static_cast<char>(byte);
    i += 2;
  }
  return true;
}

bool IsControl(char character) { return static_cast<unsigned char>(character) < 0x20 || character == 0x7f; }

}  // namespace

Reply TextReply(unsigned status, const std::string& sentence) {
  Reply reply;
  reply.status = status;
  reply.body = std::make_shared<const std::string>(sentence + "\n");
  return reply;
}

std::string PathOf(std::string_view target) {
  std::string path;
  if (target.empty() || target.front() != '/' || target.size() > kLongestTarget) return path;
  if (!Decode(target.substr(0, target.find_first_of("?#")), path)) return {};
  const bool climbs = path.find("..") != std::string::npos || path.find('\\') != std::string::npos;
  if (climbs || std::any_of(path.begin(), path.end(), IsControl)) return {};
  return path;
}

}  // namespace Lumenar::Web
