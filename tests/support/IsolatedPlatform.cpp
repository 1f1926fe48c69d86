// SPDX-License-Identifier: Apache-2.0
#include "tests/support/IsolatedPlatform.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "platform/base/Diagnostic.h"
#include "tests/support/ProcessLines.h"

namespace Lumenar::Test {
namespace {

namespace fs = std::filesystem;

fs::path PrivateDirectory() {
  std::string name = (fs::temp_directory_path() / "lumenar-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error(name + ": " + std::strerror(errno));
  return name;
}

/// A loopback port that nobody uses at the moment.
std::uint16_t FreePort() {
  const int socket_fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  const bool bound = bind(socket_fd, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                     getsockname(socket_fd, reinterpret_cast<sockaddr*>(&address), &size) == 0;
  close(socket_fd);
  if (!bound) throw std::runtime_error(std::string("no free port: ") + std::strerror(errno));
  return ntohs(address.sin_port);
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

fs::path Existing(const fs::path& path) {
  if (!fs::exists(path)) throw std::runtime_error(path.string() + " is not there: is it built?");
  return path;
}

[[noreturn]] void NotStarted(const std::string& what, const Process& process) {
  throw std::runtime_error(what + " did not start; it wrote:\n" + process.Out() + process.Error());
}

}  // namespace

struct IsolatedPlatform::Impl {
  fs::path directory = PrivateDirectory();
  std::uint16_t naming_port = 0;
  std::map<std::string, std::string> environment;
  std::vector<std::string> topic_manager_arguments;
  int log_number = 0;
  bool used_in_this_process = false;
  // Ended in reverse order: who uses a service goes before it.
  std::unique_ptr<Process> naming;
  std::unique_ptr<Process> topic_manager;
  std::unique_ptr<Process> hw_enumeration;
  std::vector<std::unique_ptr<Process>> engines;

  ~Impl() {
    engines.clear();
    hw_enumeration.reset();
    topic_manager.reset();
    naming.reset();
    if (used_in_this_process)
      for (const auto& variable : environment) unsetenv(variable.first.c_str());
    if (testing::Test::HasFailure()) {
      WriteError("the logs of the failed test are kept in " + directory.string());
    } else {
      std::error_code ignored;
      fs::remove_all(directory, ignored);
    }
  }

  std::unique_ptr<Process> Launch(std::vector<std::string> command, std::map<std::string, std::string> extra = {}) {
    const std::string log = fs::path(command[0]).filename().string() + "-" + std::to_string(++log_number);
    extra.insert(environment.begin(), environment.end());
    return std::make_unique<Process>(std::move(command), std::move(extra), directory / log);
  }

  std::unique_ptr<Process> LaunchService(const std::string& program, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), BuiltProgram(program).string());
    auto process = Launch(std::move(arguments));
    if (!process->WaitForLine(program + " ready")) NotStarted(program, *process);
    return process;
  }

  /// `wrapper` is a command that runs the service.
  bool StartNaming(const std::vector<std::string>& wrapper = {}) {
    const std::string port = std::to_string(naming_port);
    fs::create_directories(directory / "naming");
    std::vector<std::string> command{"omniNames",
                                     "-start",
                                     port,
                                     "-always",
                                     "-nohostname",
                                     "-datadir",
                                     (directory / "naming").string(),
                                     "-ORBendPoint",
                                     "giop:tcp:127.0.0.1:" + port};
    command.insert(command.begin(), wrapper.begin(), wrapper.end());
    naming = Launch(std::move(command));
    return WaitForLineThat(*naming, [](const std::string& line) { return EndsWith(line, "Checkpointing completed."); });
  }

  /// Another process may take the free port first; then another port is tried.
  void StartNamingAnywhere() {
    constexpr int kAttempts = 5;
    for (int attempt = 1;; ++attempt) {
      naming_port = FreePort();
      if (StartNaming()) return;
      if (attempt == kAttempts) NotStarted("omniNames", *naming);
      fs::remove_all(directory / "naming");
    }
  }

  void WriteTransport(const std::string& lines) {
    const fs::path file = directory / "transport.conf";
    std::ofstream(file) << lines << '\n';
    environment["LUMENAR_NAMING"] = "127.0.0.1:" + std::to_string(naming_port);
    environment["LUMENAR_TRANSPORT_CONF"] = file.string();
    environment["XDG_STATE_HOME"] = (directory / "state").string();
  }
};

IsolatedPlatform::IsolatedPlatform() : IsolatedPlatform(Options()) {}

IsolatedPlatform::IsolatedPlatform(const Options& options) : impl_(std::make_unique<Impl>()) {
  impl_->StartNamingAnywhere();
  impl_->WriteTransport(options.transport);
  impl_->topic_manager_arguments = options.topic_manager_arguments;
  if (options.topic_manager) StartTopicManager();
  if (options.hw_enumeration) StartHwEnumeration();
}

IsolatedPlatform::~IsolatedPlatform() = default;

const std::map<std::string, std::string>& IsolatedPlatform::Environment() const { return impl_->environment; }

const fs::path& IsolatedPlatform::Directory() const { return impl_->directory; }

std::string IsolatedPlatform::NamingAddress() const { return impl_->environment.at("LUMENAR_NAMING"); }

void IsolatedPlatform::UseInThisProcess() const {
  impl_->used_in_this_process = true;
  for (const auto& [name, value] : impl_->environment) setenv(name.c_str(), value.c_str(), 1);
}

Process& IsolatedPlatform::StartEngine(const std::string& library, std::map<std::string, std::string> environment) {
  impl_->engines.push_back(impl_->Launch({BuiltProgram("engine_host").string(), BuiltEngineLibrary(library).string()},
                                         std::move(environment)));
  Process& engine = *impl_->engines.back();
  const auto says_started = [](const std::string& line) { return EndsWith(line, " createEngine done"); };
  if (!WaitForLineThat(engine, says_started)) NotStarted(library, engine);
  return engine;
}

std::unique_ptr<Process> IsolatedPlatform::Start(const std::string& program, std::vector<std::string> arguments,
                                                 std::map<std::string, std::string> environment) {
  arguments.insert(arguments.begin(), BuiltProgram(program).string());
  return impl_->Launch(std::move(arguments), std::move(environment));
}

Process& IsolatedPlatform::NamingService() { return *impl_->naming; }

Process& IsolatedPlatform::TopicManager() {
  if (!impl_->topic_manager) throw std::logic_error("IsolatedPlatform: expected a topic manager, found none started");
  return *impl_->topic_manager;
}

Process& IsolatedPlatform::HwEnumeration() {
  if (!impl_->hw_enumeration) throw std::logic_error("IsolatedPlatform: expected hw_enumeration, found none started");
  return *impl_->hw_enumeration;
}

void IsolatedPlatform::KillTopicManager() {
  TopicManager().Signal(SIGKILL);
  TopicManager().WaitForExit();
}

void IsolatedPlatform::StartTopicManager() {
  std::vector<std::string> arguments{"--state", (impl_->directory / "subscriptions.state").string()};
  arguments.insert(arguments.end(), impl_->topic_manager_arguments.begin(), impl_->topic_manager_arguments.end());
  impl_->topic_manager = impl_->LaunchService("topic_manager", arguments);
}

void IsolatedPlatform::KillNamingService() {
  impl_->naming->Signal(SIGKILL);
  impl_->naming->WaitForExit();
}

void IsolatedPlatform::StartNamingService() {
  if (!impl_->StartNaming()) NotStarted("omniNames", *impl_->naming);
}

void IsolatedPlatform::StartNamingServiceOnSmallDisk(unsigned long bytes) {
  // A limit on the size of files fails a write as a full disk does, once its signal is ignored. What the service writes
  // to its log goes through a process without the limit.
  const std::string limit =
      "trap '' XFSZ; exec prlimit --fsize=" + std::to_string(bytes) + " \"$@\" > >(exec cat) 2>&1";
  if (!impl_->StartNaming({"bash", "-c", limit, "bash"})) NotStarted("omniNames", *impl_->naming);
}

void IsolatedPlatform::KillHwEnumeration() {
  HwEnumeration().Signal(SIGKILL);
  HwEnumeration().WaitForExit();
}

void IsolatedPlatform::StartHwEnumeration() {
  impl_->hw_enumeration =
      impl_->LaunchService("hw_enumeration", {"--state", (impl_->directory / "engines.state").string()});
}

fs::path BuiltProgram(const std::string& name) { return Existing(fs::path(LUMENAR_BUILT_PROGRAMS) / name); }

fs::path BuiltEngineLibrary(const std::string& name) {
  return Existing(fs::path(LUMENAR_BUILT_LIBRARIES) / ("lib" + name + ".so.1"));
}

}  // namespace Lumenar::Test
