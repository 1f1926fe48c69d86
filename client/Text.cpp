// SPDX-License-Identifier: Apache-2.0
#include "client/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

namespace Lumenar::Client {
namespace {

bool IsContinuation(std::string_view bytes, std::size_t at) {
  return at < bytes.size() && (static_cast<unsigned char>(bytes[at]) & 0xC0) == 0x80;
}

// The code point of a sequence of `length` bytes that starts at `at`; the continuation bytes are there.
unsigned CodePoint(std::string_view bytes, std::size_t at, std::size_t length) {
  unsigned code = static_cast<unsigned char>(bytes[at]) & (0xFFu >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) code = code << 6 | (static_cast<unsigned char>(bytes[at + i]) & 0x3F);
  return code;
}

// Length of the well-formed sequence of several bytes at `at`: shortest form, no surrogate, no C1 control; else 0.
std::size_t SequenceLength(std::string_view bytes, std::size_t at) {
  constexpr unsigned kSmallest[] = {0, 0, 0xA0, 0x800, 0x10000};
  const auto first = static_cast<unsigned char>(bytes[at]);
  const std::size_t length = first >= 0xF8 ? 0 : first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 0;
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsContinuation(bytes, at + i)) return 0;
  }
  if (length == 0) return 0;
  const unsigned code = CodePoint(bytes, at, length);
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  return code < kSmallest[length] || code > 0x10FFFF || surrogate ? 0 : length;
}

}  // namespace

std::string Printable(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (std::size_t at = 0; at < bytes.size();) {
    const auto byte = static_cast<unsigned char>(bytes[at]);
    const bool plain = byte >= 0x20 && byte < 0x7F && byte != '\\';
    const std::size_t length = plain ? 1 : SequenceLength(bytes, at);
    if (length == 0) {
      text += fmt::format("\\x{:02x}", byte);
      ++at;
    } else {
      text += bytes.substr(at, length);
      at += length;
    }
  }
  return text;
}

bool SameLetters(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char one, char other) { return LowerCase(one) == LowerCase(other); });
}

}  // namespace Lumenar::Client
