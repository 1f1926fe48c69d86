// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "platform/base/Diagnostic.h"

namespace Lumenar::Mathctl {
namespace {

constexpr const char* kEnter = "\x1b[?1049h\x1b[?25l";  // alternate screen, no cursor
constexpr const char* kLeave = "\x1b[?25h\x1b[?1049l";
constexpr const char* kHome = "\x1b[H";
constexpr const char* kToEndOfLine = "\x1b[K";
constexpr const char* kToEndOfScreen = "\x1b[J";

struct KnownKey {
  std::string_view bytes;
  Terminal::Key key;
};

constexpr KnownKey kKeys[] = {
    {"q", Terminal::Key::Quit},         {"Q", Terminal::Key::Quit},       {"\x03", Terminal::Key::Quit},
    {"\x1b[A", Terminal::Key::Up},      {"\x1bOA", Terminal::Key::Up},    {"k", Terminal::Key::Up},
    {"\x1b[B", Terminal::Key::Down},    {"\x1bOB", Terminal::Key::Down},  {"j", Terminal::Key::Down},
    {"\x1b[5~", Terminal::Key::PageUp}, {"b", Terminal::Key::PageUp},     {"\x1b[6~", Terminal::Key::PageDown},
    {" ", Terminal::Key::PageDown},     {"\x1b[H", Terminal::Key::First}, {"g", Terminal::Key::First},
    {"\x1b[F", Terminal::Key::Last},    {"G", Terminal::Key::Last},
};

bool IsSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

bool Terminal::IsThere() {
  const char* kind = std::getenv("TERM");
  return isatty(STDOUT_FILENO) == 1 && (kind == nullptr || std::string_view(kind) != "dumb");
}

bool Terminal::WantsColor() { return !IsSet("NO_COLOR"); }

// Ctrl-C stays a signal.
Terminal::Terminal() {
  keys_ = isatty(STDIN_FILENO) == 1 && tcgetattr(STDIN_FILENO, &before_) == 0;
  if (keys_) {
    termios raw = before_;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &raw);
  }
  Lock lock(mutex_);
  taken_ = true;
  WriteOut(kEnter);
}

Terminal::~Terminal() { Leave(); }

void Terminal::Leave() noexcept {
  Lock lock(mutex_);
  if (!std::exchange(taken_, false)) return;
  if (keys_) tcsetattr(STDIN_FILENO, TCSANOW, &before_);
  const std::string_view leave(kLeave);
  [[maybe_unused]] const auto written = write(STDOUT_FILENO, leave.data(), leave.size());
}

Terminal::Size Terminal::GetSize() const {
  winsize window{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_col == 0 || window.ws_row == 0) return {};
  return {window.ws_col, window.ws_row};
}

// One write, so that no half of a picture is seen. The newline behind it stays on the screen: the last row is left free.
void Terminal::Draw(const std::vector<std::string>& lines) {
  Lock lock(mutex_);
  if (!taken_) return;
  std::string picture = kHome;
  const std::size_t shown = std::min(lines.size(), GetSize().rows - 1);
  for (std::size_t i = 0; i < shown; ++i) {
    if (i > 0) picture += '\n';
    picture += lines[i];
    picture += kToEndOfLine;
  }
  picture += kToEndOfScreen;
  WriteOut(picture);
}

std::optional<Terminal::Key> Terminal::NextKey(Wakeup& wakeup, std::chrono::milliseconds limit) {
  if (!wakeup.WaitFor(keys_ ? STDIN_FILENO : -1, limit)) return std::nullopt;
  return ReadKey();
}

/// What the keys sent that were pressed meanwhile; of several the first counts.
std::optional<Terminal::Key> Terminal::ReadKey() {
  char bytes[32];
  const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
  if (count <= 0) {
    keys_ = false;  // the terminal has gone
    return std::nullopt;
  }
  const std::string_view pressed(bytes, static_cast<std::size_t>(count));
  for (const KnownKey& known : kKeys) {
    if (pressed.substr(0, known.bytes.size()) == known.bytes) return known.key;
  }
  return Key::Other;
}

std::string CutTo(const std::string& line, std::size_t columns) {
  std::size_t characters = 0;
  for (std::size_t at = 0; at < line.size(); ++at) {
    const bool begins = (static_cast<unsigned char>(line[at]) & 0xC0) != 0x80;
    if (begins && characters++ == columns) return line.substr(0, at);
  }
  return line;
}

}  // namespace Lumenar::Mathctl
