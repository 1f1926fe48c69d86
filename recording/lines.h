// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "recording/Recording.h"

namespace Lumenar::Recording {

/// The longest line of a recording, in bytes: that of the longest trace that the platform carries (2^24 points), and
/// room to spare.
inline constexpr std::size_t kLongestLine = (std::size_t{1} << 24) * 16 / 3 + (std::size_t{1} << 20);

/// One line of a recording, with its CRC and the line end.
std::string LineOf(const Header& header);
std::string LineOf(const ReadingInfo& reading);
/// Errors   std::invalid_argument for a record of no kind.
std::string LineOf(const Sample& sample);
std::string LineOf(const Event& event);
std::string LineOf(const End& end);

/// JSON fields, "{...", without the brace that closes them, as a line with its CRC and the line end.
std::string SealedLine(std::string fields);

/// Any line of a recording.
using ParsedLine = std::variant<Header, ReadingInfo, Sample, Event, End>;

/// The reverse of LineOf; `line` is without its line end.
/// Errors   std::invalid_argument that says in one line what is wrong.
ParsedLine ParseLine(std::string_view line);

}  // namespace Lumenar::Recording
