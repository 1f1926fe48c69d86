// SPDX-License-Identifier: Apache-2.0
#include "tests/support/PseudoTerminal.h"

#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>

#include "tests/support/IsolatedPlatform.h"
#include "tests/support/launch.h"

namespace Lumenar::Test {
namespace {

winsize WindowOf(PseudoTerminal::Size size) { return {size.rows, size.columns, 0, 0}; }

// A terminal as a new window has it, but that it neither echoes nor turns "\n" into "\r\n".
termios Settings() {
  termios settings{};
  settings.c_iflag = ICRNL | IUTF8;
  settings.c_oflag = 0;
  settings.c_cflag = CS8 | CREAD | B38400;
  settings.c_lflag = ISIG | ICANON | IEXTEN;
  settings.c_cc[VINTR] = 3;
  settings.c_cc[VQUIT] = 28;
  settings.c_cc[VERASE] = 127;
  settings.c_cc[VEOF] = 4;
  settings.c_cc[VSUSP] = 26;
  settings.c_cc[VMIN] = 1;
  return settings;
}

[[noreturn]] void BecomeProgramOnTerminal(const LaunchWords& launch) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // a test that is killed leaves nothing behind
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  signal(SIGPIPE, SIG_DFL);  // as a shell would start it; the ORB of the test ignores it
  execvpe(launch.Command()[0], launch.Command(), launch.Environment());
  constexpr char kComplaint[] = "cannot be started\n";
  [[maybe_unused]] const auto written = write(STDERR_FILENO, kComplaint, sizeof kComplaint - 1);
  _exit(127);
}

std::vector<std::string> CommandOf(const std::filesystem::path& program, const std::vector<std::string>& words) {
  std::vector<std::string> command{program.string()};
  command.insert(command.end(), words.begin(), words.end());
  return command;
}

}  // namespace

PseudoTerminal::PseudoTerminal(const std::filesystem::path& program, const std::vector<std::string>& words,
                               const std::map<std::string, std::string>& environment)
    : PseudoTerminal(program, words, environment, Size()) {}

PseudoTerminal::PseudoTerminal(const std::filesystem::path& program, const std::vector<std::string>& words,
                               const std::map<std::string, std::string>& environment, Size size)
    : program_(program.string()) {
  std::map<std::string, std::string> changes = environment;
  changes.emplace("TERM", "xterm-256color");
  const LaunchWords launch(CommandOf(program, words), changes);
  const termios settings = Settings();
  const winsize window = WindowOf(size);
  pid_ = forkpty(&terminal_, nullptr, &settings, &window);
  if (pid_ == 0) BecomeProgramOnTerminal(launch);
  if (pid_ < 0) throw std::runtime_error(program_ + " on a terminal: " + std::strerror(errno));
}

PseudoTerminal::~PseudoTerminal() {
  if (!status_) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  close(terminal_);
}

// False once the program has gone and all that it wrote has come, or at `end`.
bool PseudoTerminal::Receive(std::chrono::steady_clock::time_point end) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
  pollfd waiting{terminal_, POLLIN, 0};
  if (poll(&waiting, 1, static_cast<int>(std::max<long long>(left.count(), 0))) <= 0) return false;
  char bytes[4096];
  const ssize_t count = read(terminal_, bytes, sizeof bytes);
  if (count <= 0) return false;  // EIO: nobody has the terminal open any more
  all_.append(bytes, static_cast<std::size_t>(count));
  return true;
}

std::string PseudoTerminal::ReadUntil(const std::string& text, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  std::size_t found;
  while ((found = all_.find(text, read_)) == std::string::npos) {
    if (!Receive(end)) {
      throw std::runtime_error(program_ + " did not write \"" + text + "\" but \"" + all_.substr(read_) + "\"");
    }
  }
  const std::string came = all_.substr(read_, found + text.size() - read_);
  read_ += came.size();
  return came;
}

void PseudoTerminal::Write(const std::string& text) {
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t count = write(terminal_, text.data() + sent, text.size() - sent);
    if (count < 0 && errno != EINTR) throw std::runtime_error(program_ + ": " + std::strerror(errno));
    sent += count < 0 ? 0 : static_cast<std::size_t>(count);
  }
}

void PseudoTerminal::Resize(Size size) {
  const winsize window = WindowOf(size);
  if (ioctl(terminal_, TIOCSWINSZ, &window) != 0) throw std::runtime_error(program_ + ": " + std::strerror(errno));
}

int PseudoTerminal::Wait(std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (Receive(end)) {}
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
  const bool ended = status_ || WaitUntil(
                                    [this] {
                                      int raw = 0;
                                      if (waitpid(pid_, &raw, WNOHANG) != pid_) return false;
                                      status_ = WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : WEXITSTATUS(raw);
                                      return true;
                                    },
                                    left);
  if (!ended) throw std::runtime_error(program_ + " is still running; it wrote \"" + all_ + "\"");
  return *status_;
}

}  // namespace Lumenar::Test
