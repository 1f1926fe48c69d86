// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "instruments/scpi/DeviceConfig.h"

namespace Lumenar::Scpi {

/// "KEY = VALUE" of a line.
struct FileEntry {
  std::string_view key;
  std::string_view value;
};

/// A line without its comment, and without blanks at both ends. A comment begins with "#" at the beginning of a line, or
/// between blanks: commands may hold that sign, as in "#H1F". Within quotation marks, single or double, it is a
/// character like others.
/// Errors   std::invalid_argument when quotation marks are not closed, or a character is not printable.
std::string_view WithoutComment(std::string_view line);

/// The entries of a line, several behind one another, with or without ";" between. A key is a word of small letters and
/// "_" with a "=" behind it.
/// Errors   std::invalid_argument for a line that does not begin with a key.
std::vector<FileEntry> EntriesOf(std::string_view line);

/// The messages of a value: " ; ", with a blank on both sides, stands between two. Without blanks a ";" is the
/// instrument's own and stays within its message.
/// Errors   std::invalid_argument for a character that is no ASCII.
std::vector<Message> MessagesOf(std::string_view value);

}  // namespace Lumenar::Scpi
