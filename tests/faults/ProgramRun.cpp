// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/ProgramRun.h"

#include <gmock/gmock.h>

#include <iterator>
#include <sstream>

namespace Lumenar::Test {

std::vector<ProgramCase> AllPrograms() {
  return {{"topic_manager", {}, 1},
          {"hw_enumeration", {}, 1},
          {"engine_host", {BuiltEngineLibrary("math_factory_hh").string()}, 1},
          {"engine_host", {BuiltEngineLibrary("probe").string()}, 1},
          {"math_web", {"--listen", "127.0.0.1:0"}, 1},
          {"mathctl", {"list"}, 2},
          {"mathctl", {"watch", "PROBE/1/WAKEUP"}, 2}};
}

std::unique_ptr<Process> Start(const ProgramCase& program, const std::map<std::string, std::string>& environment) {
  std::vector<std::string> command{BuiltProgram(program.name).string()};
  command.insert(command.end(), program.arguments.begin(), program.arguments.end());
  return std::make_unique<Process>(command, environment);
}

std::unique_ptr<Process> StartInShell(const std::string& line, const std::string& program,
                                      std::vector<std::string> arguments,
                                      const std::map<std::string, std::string>& environment) {
  std::vector<std::string> command{"bash", "-c", line, "bash"};
  std::istringstream emulator(LUMENAR_EMULATOR);
  command.insert(command.end(), std::istream_iterator<std::string>(emulator), {});
  command.push_back(BuiltProgram(program).string());
  command.insert(command.end(), arguments.begin(), arguments.end());
  return std::make_unique<Process>(command, environment);
}

void ExpectRefusal(Process& process, int status, const std::string& reason) {
  EXPECT_EQ(process.WaitForExit(std::chrono::seconds(20)), status) << process.Error();
  EXPECT_THAT(process.Error(), testing::MatchesRegex("[^\n]+\n")) << "one line";
  EXPECT_THAT(process.Error(), testing::HasSubstr(reason));
}

}  // namespace Lumenar::Test
