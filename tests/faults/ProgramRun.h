// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {

/// A program of the build with arguments of its own, and its exit status for settings that it cannot use.
struct ProgramCase {
  std::string name;
  std::vector<std::string> arguments;
  int refusal;
};

/// Every program, the math engine and an instrument in their host.
std::vector<ProgramCase> AllPrograms();

std::unique_ptr<Process> Start(const ProgramCase& program, const std::map<std::string, std::string>& environment);

/// A program of the build behind a shell's line, which has it as "$@": "ulimit -f 1; exec \"$@\"".
std::unique_ptr<Process> StartInShell(const std::string& line, const std::string& program,
                                      std::vector<std::string> arguments,
                                      const std::map<std::string, std::string>& environment);

/// Waits for the end of a program; expects its exit status, and on standard error one line that holds `reason`.
void ExpectRefusal(Process& process, int status, const std::string& reason);

}  // namespace Lumenar::Test
