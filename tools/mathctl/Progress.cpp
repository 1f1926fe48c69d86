// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstddef>
#include <string_view>

namespace Lumenar::Mathctl {
namespace {

constexpr std::chrono::milliseconds kShowEach{250};
constexpr std::size_t kUsualWidth = 80;

std::size_t TerminalWidth() {
  winsize size{};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1 ? size.ws_col : kUsualWidth;
}

// A terminal that takes no more is no reason to end the work.
void WriteToTerminal(std::string_view text) {
  if (::write(STDERR_FILENO, text.data(), text.size()) < 0) return;
}

}  // namespace

Progress::Progress(bool quiet) : shown_(!quiet && ::isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() { Clear(); }

bool Progress::IsDue() const { return shown_ && std::chrono::steady_clock::now() - last_ >= kShowEach; }

void Progress::Show(const std::string& text) {
  if (!shown_) return;
  last_ = std::chrono::steady_clock::now();
  there_ = true;
  WriteToTerminal("\r" + text.substr(0, TerminalWidth() - 1) + "\x1b[K");
}

void Progress::Clear() {
  if (there_) WriteToTerminal("\r\x1b[K");
  there_ = false;
}

}  // namespace Lumenar::Mathctl
