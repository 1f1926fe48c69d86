// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace Lumenar::Client {

/// A name of any bytes as text that a terminal and a JSON reader can take: control characters, backslashes and bytes
/// that are not UTF-8 become \xNN, everything else stays. Two different names never give the same text.
std::string Printable(std::string_view bytes);

/// A letter of ASCII in lower case, everything else as it is.
constexpr char LowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// Whether two texts are the same but for the case of ASCII letters.
bool SameLetters(std::string_view a, std::string_view b);

}  // namespace Lumenar::Client
