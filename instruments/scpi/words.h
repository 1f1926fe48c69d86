// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace Lumenar::Scpi {

/// What a device said, for a message: in quotation marks, on one line, bytes that are no printable characters as \x0a,
/// and not longer than a line may be.
std::string Quoted(std::string_view text);

/// "3 s", "250 ms".
std::string DurationText(std::chrono::milliseconds duration);

/// Without blanks, tabs and line ends at both ends.
std::string_view Trimmed(std::string_view text);

}  // namespace Lumenar::Scpi
