// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/plot_terminal.h"

#include <strings.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string_view>

#include "tools/mathctl/Terminal.h"

namespace Lumenar::Mathctl {
namespace {

std::string_view EnvironmentText(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

// A number of columns or lines that an environment variable tells; `otherwise` where it tells none.
int SizeFrom(const char* name, int otherwise) {
  constexpr int kMost = 10000;
  const std::string_view text = EnvironmentText(name);
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && number > 0 ? std::min(number, kMost) : otherwise;
}

bool LocaleIsUtf8() {
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const std::string_view value = EnvironmentText(name);
    if (value.empty()) continue;
    const std::string_view codeset = value.substr(std::min(value.find('.'), value.size()));
    return strncasecmp(codeset.data(), ".utf-8", 6) == 0 || strncasecmp(codeset.data(), ".utf8", 5) == 0;
  }
  return false;
}

}  // namespace

CharacterForm FormOfOutput(bool ascii) {
  CharacterForm form;
  form.columns = SizeFrom("COLUMNS", form.columns);
  form.rows = SizeFrom("LINES", form.rows);
  winsize size{};
  const bool terminal = isatty(STDOUT_FILENO) == 1;
  if (terminal && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0) {
    form.columns = size.ws_col;
    form.rows = size.ws_row;
  }
  form.utf8 = !ascii && LocaleIsUtf8();
  form.colours = Terminal::IsThere() && Terminal::WantsColor();
  return form;
}

}  // namespace Lumenar::Mathctl
