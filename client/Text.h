// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace Lumenar::Client {

/// A name of any bytes as text that a terminal and a JSON reader can take: control characters, backslashes and bytes
/// that are not UTF-8 become \xNN, everything else stays. Two different names never give the same text.
std::string Printable(std::string_view bytes);

}  // namespace Lumenar::Client
