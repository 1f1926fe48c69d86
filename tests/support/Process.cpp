// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "tests/support/IsolatedPlatform.h"
#include "tests/support/ProcessLines.h"
#include "tests/support/launch.h"

namespace Lumenar::Test {
namespace {

std::string FileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool HasLineThat(const std::string& text, const std::function<bool(const std::string&)>& matches) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    if (!lines.eof() && matches(line)) return true;  // a line without its end is not whole yet
  return false;
}

/// All that the child needs.
struct LaunchPlan {
  const LaunchWords& words;
  int out;
  int error;
  int report;  // gets errno when the program cannot be started
  pid_t parent;
};

[[noreturn]] void BecomeProgram(const LaunchPlan& launch) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // a test that is killed leaves nothing behind
  if (getppid() != launch.parent) _exit(127);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  signal(SIGPIPE, SIG_DFL);  // as a shell would start it; the ORB of the test ignores it
  dup2(launch.out, STDOUT_FILENO);
  dup2(launch.error, STDERR_FILENO);
  execvpe(launch.words.Command()[0], launch.words.Command(), launch.words.Environment());
  const int error = errno;
  [[maybe_unused]] const auto written = write(launch.report, &error, sizeof error);
  _exit(127);
}

/// The path of a new file in memory, which goes when the descriptor is closed.
std::filesystem::path InMemory(int& descriptor) {
  descriptor = memfd_create("log", MFD_CLOEXEC);
  if (descriptor < 0) throw std::runtime_error(std::string("memfd_create: ") + std::strerror(errno));
  return "/proc/self/fd/" + std::to_string(descriptor);
}

int OpenLog(const std::filesystem::path& path) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (descriptor < 0) throw std::runtime_error(path.string() + ": " + std::strerror(errno));
  return descriptor;
}

}  // namespace

struct Process::Impl {
  pid_t pid = 0;
  std::optional<int> status;
  std::string program;
  std::filesystem::path out;
  std::filesystem::path error;
  int out_memory = -1;  // of the files in memory, where the logs are no others
  int error_memory = -1;

  ~Impl() {
    for (int descriptor : {out_memory, error_memory})
      if (descriptor >= 0) close(descriptor);
  }

  void Launch(std::vector<std::string> command, const std::map<std::string, std::string>& environment);

  bool HasExited() {
    int raw = 0;
    if (!status && waitpid(pid, &raw, WNOHANG) == pid)
      status = WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : WEXITSTATUS(raw);
    return status.has_value();
  }
};

void Process::Impl::Launch(std::vector<std::string> command, const std::map<std::string, std::string>& environment) {
  program = command.at(0);
  const LaunchWords words(std::move(command), environment);
  int report[2];
  if (pipe2(report, O_CLOEXEC) != 0) throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
  const LaunchPlan launch{words, OpenLog(out), OpenLog(error), report[1], getpid()};
  pid = fork();
  if (pid == 0) BecomeProgram(launch);
  const int fork_error = errno;
  for (int descriptor : {launch.out, launch.error, report[1]}) close(descriptor);
  int start_error = 0;
  const bool failed = pid < 0 || read(report[0], &start_error, sizeof start_error) > 0;
  close(report[0]);
  if (!failed) return;
  if (pid > 0) waitpid(pid, nullptr, 0);
  throw std::runtime_error("cannot start " + program + ": " + std::strerror(pid < 0 ? fork_error : start_error));
}

Process::Process(std::vector<std::string> command, std::map<std::string, std::string> environment,
                 std::filesystem::path log_stem)
    : impl_(std::make_unique<Impl>()) {
  impl_->out = log_stem.string() + ".out";
  impl_->error = log_stem.string() + ".err";
  impl_->Launch(std::move(command), environment);
}

Process::Process(std::vector<std::string> command, std::map<std::string, std::string> environment)
    : impl_(std::make_unique<Impl>()) {
  impl_->out = InMemory(impl_->out_memory);
  impl_->error = InMemory(impl_->error_memory);
  impl_->Launch(std::move(command), environment);
}

Process::~Process() {
  constexpr std::chrono::seconds kPatience(5);
  if (impl_->HasExited()) return;
  kill(impl_->pid, SIGCONT);  // one that a test has stopped would not end
  kill(impl_->pid, SIGTERM);
  if (WaitUntil([this] { return impl_->HasExited(); }, kPatience)) return;
  kill(impl_->pid, SIGKILL);
  waitpid(impl_->pid, nullptr, 0);
}

pid_t Process::Pid() const { return impl_->pid; }

bool Process::IsRunning() { return !impl_->HasExited(); }

void Process::Signal(int signal_number) {
  if (!IsRunning() || kill(impl_->pid, signal_number) != 0 || signal_number != SIGSTOP) return;
  siginfo_t stopped{};  // its threads run on for a moment after the signal was sent
  waitid(P_PID, static_cast<id_t>(impl_->pid), &stopped, WSTOPPED | WEXITED | WNOWAIT);
}

int Process::WaitForExit(std::chrono::milliseconds limit) {
  if (!WaitUntil([this] { return impl_->HasExited(); }, limit))
    throw std::runtime_error(impl_->program + " is still running");
  return *impl_->status;
}

std::string Process::Out() const { return FileText(impl_->out); }

std::string Process::Error() const { return FileText(impl_->error); }

bool Process::WaitForLine(const std::string& line, std::chrono::milliseconds limit) {
  return WaitForLineThat(
      *this, [&line](const std::string& found) { return found == line; }, limit);
}

bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    if (condition()) return true;
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
  }
}

bool WaitForLineThat(Process& process, const std::function<bool(const std::string&)>& matches,
                     std::chrono::milliseconds limit) {
  bool found = false;
  WaitUntil(
      [&] {
        const bool ended = !process.IsRunning();  // asked first: what it wrote before its end is all in the files
        found = HasLineThat(process.Out(), matches) || HasLineThat(process.Error(), matches);
        return found || ended;
      },
      limit);
  return found;
}

}  // namespace Lumenar::Test
