// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Lumenar {

/// What a program left that was run with a time limit.
struct ProgramEnd {
  /// Exit status, 128 + signal for one that a signal ended; nothing where it was killed, because the limit had passed
  /// or the caller gave up.
  std::optional<int> status;
  std::string out;    ///< standard output, at most as many bytes as were asked for
  std::string error;  ///< standard error, likewise
};

/// How long a program may run, and how much of what it writes is kept; the rest is read and forgotten.
struct ProgramLimits {
  std::chrono::milliseconds time{10000};
  std::size_t bytes = std::size_t{1} << 20;
};

/// Runs a program (a path, then its arguments) to its end, in a process group of its own, which is killed at the limit.
/// Standard input is empty, no descriptor is inherited, no signal blocked; it ends with the calling thread. `give_up`,
/// asked ten times a second, ends it before; what it throws leaves this function once the program is gone.
/// Errors   std::system_error when no process can be made; a program that cannot be started has the status 127.
/// Threads  any.
ProgramEnd RunTimedProgram(const std::vector<std::string>& words, const ProgramLimits& limits,
                           const std::function<bool()>& give_up = {});

/// The path of a program that is installed beside the one that runs.
/// Errors   std::runtime_error when it is not there.
std::string ProgramBeside(const std::string& name);

/// The last line of a text that holds something; empty where none does.
std::string LastLine(const std::string& text);

}  // namespace Lumenar
