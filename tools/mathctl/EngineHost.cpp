// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/EngineHost.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <utility>

#include "client/Error.h"
#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "platform/signals/Signals.h"

namespace Lumenar::Mathctl {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLookForSignals{100};
constexpr milliseconds kEndOfHost{1500};
constexpr std::size_t kMostLines = 10000;
constexpr std::size_t kLongestHostLine = 65536;

[[noreturn]] void FailToStart(const std::string& what, int error) {
  throw Client::Error(Client::ErrorKind::Refused, fmt::format("{}: {}", what, std::strerror(error)));
}

std::string HostPath() {
  std::error_code none;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", none);
  return (program.parent_path() / "engine_host").string();
}

/// Two ends of a pipe; what is not taken is closed.
class Pipe {
 public:
  Pipe() {
    if (::pipe2(ends_.data(), O_CLOEXEC) != 0) FailToStart("no pipe to engine_host", errno);
  }
  ~Pipe() {
    for (const int end : ends_)
      if (end >= 0) ::close(end);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int ReadEnd() const { return ends_[0]; }
  int WriteEnd() const { return ends_[1]; }
  int TakeReadEnd() { return std::exchange(ends_[0], -1); }
  int TakeWriteEnd() { return std::exchange(ends_[1], -1); }

 private:
  std::array<int, 2> ends_{-1, -1};
};

/// The environment of this process with some variables set.
std::vector<std::string> EnvironmentWith(const std::map<std::string, std::string>& settings) {
  std::vector<std::string> environment;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    const std::string text = *variable;
    if (!settings.contains(text.substr(0, text.find('=')))) environment.push_back(text);
  }
  for (const auto& [name, value] : settings) environment.push_back(name + '=' + value);
  return environment;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// In the new process, where only calls may be made that are safe beside threads that are gone.
[[noreturn]] void Become(const char* path, char* const* arguments, char* const* environment, int go, int out,
                         int error) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  ::setpgid(0, 0);  // Ctrl-C is this program's alone, which ends the engine in turn
  const int descriptor = ::dup2(go, EngineHost::kGoDescriptor);
  if (descriptor >= 0 && go == EngineHost::kGoDescriptor) ::fcntl(go, F_SETFD, 0);
  ::dup2(out, STDOUT_FILENO);
  ::dup2(error, STDERR_FILENO);
  ::execve(path, arguments, environment);
  ::_exit(127);
}

}  // namespace

EngineHost::EngineHost(const std::string& library, const std::map<std::string, std::string>& settings) {
  const std::string path = HostPath();
  if (::access(path.c_str(), X_OK) != 0) FailToStart(path, errno);
  Pipe go, out, error;
  std::vector<std::string> words{path, library};
  std::vector<std::string> environment = EnvironmentWith(settings);
  const std::vector<char*> arguments = Pointers(words);
  const std::vector<char*> variables = Pointers(environment);
  // Above those that the new process gives new meanings to.
  const int go_end = ::fcntl(go.ReadEnd(), F_DUPFD_CLOEXEC, 10);
  const int out_end = ::fcntl(out.WriteEnd(), F_DUPFD_CLOEXEC, 10);
  const int error_end = ::fcntl(error.WriteEnd(), F_DUPFD_CLOEXEC, 10);
  pid_ = ::fork();
  if (pid_ == 0) Become(path.c_str(), arguments.data(), variables.data(), go_end, out_end, error_end);
  const int failure = errno;
  for (const int end : {go_end, out_end, error_end})
    if (end >= 0) ::close(end);
  if (pid_ < 0) FailToStart("no process for engine_host", failure);
  go_ = go.TakeWriteEnd();
  out_.descriptor = out.TakeReadEnd();
  error_.descriptor = error.TakeReadEnd();
}

EngineHost::~EngineHost() { End(); }

void EngineHost::Go() {
  const char any = 1;
  if (::write(go_, &any, 1) != 1) FailAsEnded();
}

bool EngineHost::WaitForLine(const std::string& text, milliseconds limit) {
  const auto end = steady_clock::now() + limit;
  std::size_t looked_at = 0;
  while (true) {
    for (; looked_at < out_.lines.size(); ++looked_at) {
      if (!out_.lines[looked_at].starts_with(text)) continue;
      started_ = true;
      return true;
    }
    Signals::ThrowIfPending();
    if (out_.descriptor < 0) FailAsEnded();
    const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
    if (left.count() <= 0) return false;
    Receive(std::min(left, kLookForSignals));
  }
}

void EngineHost::Receive(milliseconds limit) {
  std::array<pollfd, 2> ready{pollfd{out_.descriptor, POLLIN, 0}, pollfd{error_.descriptor, POLLIN, 0}};
  if (::poll(ready.data(), ready.size(), static_cast<int>(limit.count())) <= 0) return;
  if (ready[1].revents != 0) ReceiveFrom(error_);
  if (ready[0].revents != 0) ReceiveFrom(out_);
  PassErrorsOn();
}

void EngineHost::ReceiveFrom(Stream& stream) {
  char block[4096];
  const ssize_t count = ::read(stream.descriptor, block, sizeof block);
  if (count <= 0) {
    ::close(std::exchange(stream.descriptor, -1));
    return;
  }
  stream.rest.append(block, static_cast<std::size_t>(count));
  for (std::size_t end = 0; (end = stream.rest.find('\n')) != std::string::npos; stream.rest.erase(0, end + 1)) {
    if (stream.lines.size() < kMostLines) stream.lines.push_back(stream.rest.substr(0, end));
  }
  if (stream.rest.size() > kLongestHostLine) stream.rest.clear();
}

void EngineHost::PassErrorsOn() {
  for (const std::string& line : error_.lines) {
    last_error_ = Client::Printable(line);
    if (started_) WriteError("mathctl: engine_host: " + last_error_);
  }
  error_.lines.clear();
}

void EngineHost::FailAsEnded() {
  while (error_.descriptor >= 0) ReceiveFrom(error_);
  PassErrorsOn();
  throw Client::Error(Client::ErrorKind::Refused,
                      last_error_.empty() ? "engine_host ended and did not say why" : "engine_host: " + last_error_);
}

void EngineHost::AskToEnd() noexcept {
  if (pid_ > 0) ::kill(pid_, SIGTERM);
}

// Asked to end, and made to when it does not.
void EngineHost::End() noexcept {
  for (const int descriptor : {go_, out_.descriptor, error_.descriptor})
    if (descriptor >= 0) ::close(descriptor);
  if (pid_ <= 0) return;
  ::kill(pid_, SIGTERM);
  const auto end = steady_clock::now() + kEndOfHost;
  while (::waitpid(pid_, nullptr, WNOHANG) == 0) {
    if (steady_clock::now() >= end) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, nullptr, 0);
      return;
    }
    ::poll(nullptr, 0, 5);
  }
}

}  // namespace Lumenar::Mathctl
