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

/// The same for standard error.
void WriteError(std::string_view line);

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
