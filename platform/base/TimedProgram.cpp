// SPDX-License-Identifier: Apache-2.0
#include "platform/base/TimedProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace Lumenar {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLookAround{100};
constexpr int kNotStarted = 127;

/// A descriptor that is closed with its owner.
class Descriptor {
 public:
  Descriptor() = default;
  ~Descriptor() { Close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  void Take(int descriptor) { descriptor_ = descriptor; }
  int Get() const { return descriptor_; }
  bool IsOpen() const { return descriptor_ >= 0; }
  void Close() {
    if (IsOpen()) ::close(std::exchange(descriptor_, -1));
  }

 private:
  int descriptor_ = -1;
};

/// One stream of the program: both ends of its pipe, and what came.
struct ReadStream {
  Descriptor read;
  Descriptor write;
  std::string text;

  void Open() {
    std::array<int, 2> ends{};
    // Above the standard three, which the new process gives other meanings to.
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "no pipe");
    read.Take(::fcntl(ends[0], F_DUPFD_CLOEXEC, 10));
    write.Take(::fcntl(ends[1], F_DUPFD_CLOEXEC, 10));
    const int error = errno;
    for (const int end : ends) ::close(end);
    if (!read.IsOpen() || !write.IsOpen()) throw std::system_error(error, std::generic_category(), "no pipe");
  }

  void Receive(std::size_t most) {
    char block[4096];
    const ssize_t count = ::read(read.Get(), block, sizeof block);
    if (count < 0 && errno == EINTR) return;
    if (count <= 0) return read.Close();
    text.append(block, std::min(static_cast<std::size_t>(count), most - std::min(most, text.size())));
  }
};

std::vector<char*> PointersTo(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// Runs in the new process between fork and exec, where only async-signal-safe calls may be made: other threads of the
/// old one may have held locks.
[[noreturn]] void BecomeTimedProgram(char* const* words, int out, int error) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  ::setpgid(0, 0);
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  ::signal(SIGPIPE, SIG_DFL);
  ::close(STDIN_FILENO);
  ::open("/dev/null", O_RDONLY);
  ::dup2(out, STDOUT_FILENO);
  ::dup2(error, STDERR_FILENO);
  ::close_range(STDERR_FILENO + 1, ~0U, 0);
  ::execv(words[0], words);
  ::_exit(kNotStarted);
}

/// The process, which is gone when this is, and with it all that it started, unless it was let go. It is waited for at
/// the very end: until then its number, which is that of its group, is nobody else's.
class TimedChild {
 public:
  explicit TimedChild(pid_t pid) : pid_(pid) {}
  ~TimedChild() {
    if (!let_go_) {
      ::kill(-pid_, SIGKILL);
      ::kill(pid_, SIGKILL);  // it may not have made its group yet
    }
    while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {}
  }
  TimedChild(const TimedChild&) = delete;
  TimedChild& operator=(const TimedChild&) = delete;

  std::optional<int> Status() {
    siginfo_t info{};
    if (!status_ && ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
        info.si_pid == pid_)
      status_ = info.si_code == CLD_EXITED ? info.si_status : 128 + info.si_status;
    return status_;
  }

  /// It has ended, in good order: what it left running may go on.
  void LetGo() { let_go_ = true; }

 private:
  const pid_t pid_;
  std::optional<int> status_;
  bool let_go_ = false;
};

/// Reads what comes within a while.
void ReceiveSome(ReadStream& out, ReadStream& error, milliseconds pause, std::size_t most) {
  std::array<pollfd, 2> ready{pollfd{out.read.Get(), POLLIN, 0}, pollfd{error.read.Get(), POLLIN, 0}};
  if (::poll(ready.data(), ready.size(), static_cast<int>(pause.count())) <= 0) return;
  if (ready[0].revents != 0) out.Receive(most);
  if (ready[1].revents != 0) error.Receive(most);
}

}  // namespace

ProgramEnd RunTimedProgram(const std::vector<std::string>& words, const ProgramLimits& limits,
                           const std::function<bool()>& give_up) {
  const auto end = steady_clock::now() + limits.time;
  std::vector<std::string> copies = words;
  const std::vector<char*> pointers = PointersTo(copies);
  ReadStream out, error;
  out.Open();
  error.Open();
  const pid_t pid = ::fork();
  if (pid == 0) BecomeTimedProgram(pointers.data(), out.write.Get(), error.write.Get());
  if (pid < 0) throw std::system_error(errno, std::generic_category(), "no process for " + words.at(0));
  TimedChild child(pid);
  out.write.Close();
  error.write.Close();
  std::optional<int> status;
  while (!(status = child.Status()) || out.read.IsOpen() || error.read.IsOpen()) {
    const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
    if (left.count() <= 0 || (give_up && give_up())) break;
    // A pipe that is closed on its other side is at its end at once, a process shortly after it.
    const bool reads = out.read.IsOpen() || error.read.IsOpen();
    ReceiveSome(out, error, std::min(left, reads ? kLookAround : milliseconds(2)), limits.bytes);
  }
  if (status && !out.read.IsOpen() && !error.read.IsOpen()) child.LetGo();
  return {status, std::move(out.text), std::move(error.text)};
}

std::string ProgramBeside(const std::string& name) {
  std::error_code none;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", none);
  const std::string path = (program.parent_path() / name).string();
  if (::access(path.c_str(), X_OK) != 0) throw std::runtime_error(path + " is not there, or may not be run");
  return path;
}

std::string LastLine(const std::string& text) {
  const std::size_t end = text.find_last_not_of(" \t\r\n");
  if (end == std::string::npos) return {};
  const std::size_t before = text.rfind('\n', end);
  const std::size_t begin = before == std::string::npos ? 0 : before + 1;
  return text.substr(begin, end - begin + 1);
}

}  // namespace Lumenar
