// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Lumenar::Test {

/// A process started by a test; its output is kept. Ended (SIGTERM, then SIGKILL after 5 s) by the destructor.
class Process {
 public:
  /// Its output is kept in the files `log_stem`.out and .err.
  /// Errors   std::runtime_error when the program cannot be started.
  Process(std::vector<std::string> command, std::map<std::string, std::string> environment,
          std::filesystem::path log_stem);

  /// Its output is kept in memory and goes with this object.
  explicit Process(std::vector<std::string> command, std::map<std::string, std::string> environment = {});

  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t Pid() const;
  bool IsRunning();
  /// SIGSTOP returns once the process has stopped.
  void Signal(int signal_number);

  /// The exit status (128 + signal for a signal); throws std::runtime_error when the process outlives `limit`.
  int WaitForExit(std::chrono::milliseconds limit = std::chrono::seconds(10));

  std::string Out() const;    ///< all of standard output so far
  std::string Error() const;  ///< all of standard error so far

  /// Waits until a whole line of standard output (or of standard error) equals `line`; false after `limit`.
  bool WaitForLine(const std::string& line, std::chrono::milliseconds limit = std::chrono::seconds(10));

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// Polls `condition` each few milliseconds; false after `limit`. The one way of waiting in tests.
bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit = std::chrono::seconds(10));

/// A whole platform of real processes for one test: naming service, topic manager and hardware enumeration on free
/// loopback ports, in a private directory that goes with it. Engines are added as needed.
class IsolatedPlatform {
 public:
  struct Options {
    bool topic_manager = true;
    bool hw_enumeration = true;
    std::string transport;  ///< further lines of the transport configuration
    std::vector<std::string> topic_manager_arguments{};

    /// A naming service and nothing else.
    static Options NamingOnly() {
      Options options;
      options.topic_manager = false;
      options.hw_enumeration = false;
      return options;
    }
  };

  IsolatedPlatform();
  explicit IsolatedPlatform(const Options& options);
  ~IsolatedPlatform();

  /// The environment that points a program at this platform: LUMENAR_NAMING and LUMENAR_TRANSPORT_CONF, and
  /// XDG_STATE_HOME for what programs keep.
  const std::map<std::string, std::string>& Environment() const;
  const std::filesystem::path& Directory() const;
  std::string NamingAddress() const;

  /// Sets Environment() in the calling process, so that ORB objects made in the test itself use this platform; unset
  /// again when the platform goes.
  void UseInThisProcess() const;

  /// Starts engine_host with an engine library of the build ("math_factory_hh", "probe", "replay", "sim") and waits
  /// until its start-up line "Lumenar::MathInit createEngine done" or the instrument's equivalent; extra environment
  /// configures an instrument.
  Process& StartEngine(const std::string& library, std::map<std::string, std::string> environment = {});

  /// Starts any program of the build by name ("mathctl") with arguments.
  std::unique_ptr<Process> Start(const std::string& program, std::vector<std::string> arguments,
                                 std::map<std::string, std::string> environment = {});

  Process& NamingService();
  Process& TopicManager();
  Process& HwEnumeration();

  /// Kills a service with SIGKILL, or starts it again where it was.
  void KillTopicManager();
  void StartTopicManager();
  void KillNamingService();
  void StartNamingService();
  void KillHwEnumeration();
  void StartHwEnumeration();

  /// Starts the naming service, while it is not running, on a disk that has room for `bytes` in each file.
  void StartNamingServiceOnSmallDisk(unsigned long bytes);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// Paths of the build, for tests on built files.
std::filesystem::path BuiltProgram(const std::string& name);
std::filesystem::path BuiltEngineLibrary(const std::string& name);  // "math_factory_hh" -> .../libmath_factory_hh.so.1

}  // namespace Lumenar::Test
