// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace Lumenar::Mathctl {

/// An engine in a process of its own: engine_host, from beside this program, with an engine library. It ends with this
/// object, and with this program.
class EngineHost {
 public:
  /// `settings` are added to the environment. Standard output and error come here; what engine_host writes to standard
  /// error is passed on, line by line.
  /// Errors   Client::Error Refused when the process cannot be started.
  EngineHost(const std::string& library, const std::map<std::string, std::string>& settings);
  ~EngineHost();
  EngineHost(const EngineHost&) = delete;
  EngineHost& operator=(const EngineHost&) = delete;

  /// The descriptor, in the process, that is readable once Go was called.
  static constexpr int kGoDescriptor = 3;
  void Go();

  /// Reads lines of standard output until one begins with `text`; true then. False after `limit`.
  /// Errors   Client::Error Refused when the process ended, with what it said last; Signal_Exception.
  bool WaitForLine(const std::string& text, std::chrono::milliseconds limit);

  /// Without waiting for the end.
  void AskToEnd() noexcept;

  /// The lines of standard output that came so far.
  const std::vector<std::string>& Lines() const { return out_.lines; }

 private:
  /// What came from one of the process's streams.
  struct Stream {
    int descriptor = -1;
    std::string rest;  // of a line that has not ended
    std::vector<std::string> lines;
  };

  void Receive(std::chrono::milliseconds limit);
  static void ReceiveFrom(Stream& stream);
  void PassErrorsOn();
  [[noreturn]] void FailAsEnded();
  void End() noexcept;

  pid_t pid_ = -1;
  int go_ = -1;
  Stream out_;
  Stream error_;
  std::string last_error_;
  bool started_ = false;  // its errors are passed on from then; before, they are the reason why it did not start
};

}  // namespace Lumenar::Mathctl
