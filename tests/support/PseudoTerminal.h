// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Lumenar::Test {

/// A program that runs on a terminal of its own, as at a person's: its standard input, output and error are the
/// terminal, which is its controlling one, so that Write("\x03") is Ctrl-C. What it writes comes as it wrote it ("\n"
/// stays "\n") and nothing of what is typed is echoed by the terminal. Killed by the destructor if it still runs.
/// Threads   one.
class PseudoTerminal {
 public:
  struct Size {
    unsigned short columns = 80;
    unsigned short rows = 24;
  };

  /// Starts a program with `words` behind its name; the environment is this process's with some variables set.
  /// Errors   std::runtime_error when there is no terminal to be had or the program cannot be started.
  explicit PseudoTerminal(const std::filesystem::path& program, const std::vector<std::string>& words = {},
                          const std::map<std::string, std::string>& environment = {});
  PseudoTerminal(const std::filesystem::path& program, const std::vector<std::string>& words,
                 const std::map<std::string, std::string>& environment, Size size);
  ~PseudoTerminal();
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  /// What came since the last call, up to and with `text`.
  /// Errors   std::runtime_error that shows what came instead, after `limit` or when the program ended without it.
  std::string ReadUntil(const std::string& text, std::chrono::milliseconds limit = std::chrono::seconds(10));

  /// Types.
  void Write(const std::string& text);

  /// The window becomes another size; the program is told (SIGWINCH).
  void Resize(Size size);

  /// The exit status (128 + signal for a signal), once the program has ended; All() is the whole of its output then.
  /// Errors   std::runtime_error when it outlives `limit`.
  int Wait(std::chrono::milliseconds limit = std::chrono::seconds(10));

  /// All that came so far and was looked at by ReadUntil or Wait.
  const std::string& All() const { return all_; }

  pid_t Pid() const { return pid_; }

 private:
  bool Receive(std::chrono::steady_clock::time_point end);

  const std::string program_;
  pid_t pid_ = 0;
  int terminal_ = -1;
  std::string all_;
  std::size_t read_ = 0;  // how much of it ReadUntil has given
  std::optional<int> status_;
};

}  // namespace Lumenar::Test
