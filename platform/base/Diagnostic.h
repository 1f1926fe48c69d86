// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sstream>
#include <string>
#include <string_view>

namespace Lumenar {

/// Writes one line and a newline to standard output and flushes; lines of several threads never mix.
/// Every line that the system writes leaves through WriteOut or WriteError.
/// Errors   those of the stream (std::bad_cast where it has no character-type facet).      Threads  any.
void WriteOut(std::string_view line);

/// How much a line on standard error matters, as the system's log counts it.
enum class Priority { Error = 3, Warning = 4, Notice = 5 };

/// The same for standard error. Where that is the system's journal, the line begins with its priority, "<3>" to "<5>",
/// which the journal takes off.
void WriteError(std::string_view line, Priority priority = Priority::Error);

/// WriteError for the lines whose every byte is agreed on with those who read them: they never begin with a priority.
void WriteFixedError(std::string_view line);

/// Whether a descriptor is the stream "DEVICE:INODE" that JOURNAL_STREAM tells of; false for null.
bool IsStream(int descriptor, const char* stream);

/// Writes a diagnostic line to standard output: the source path without extension, ":", the function's name, then
/// the text (" Error: ..." or " Warning: ...") and the values, glued together without blanks.
template <class... Parts>
void Diagnose(std::string_view path, std::string_view function, const Parts&... parts) {
  std::ostringstream line;
  line << path << ':' << function;
  (line << ... << parts);
  WriteOut(line.str());
}

}  // namespace Lumenar
