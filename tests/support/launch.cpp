// SPDX-License-Identifier: Apache-2.0
#include "tests/support/launch.h"

#include <filesystem>
#include <iterator>
#include <sstream>
#include <utility>

extern char** environ;

namespace Lumenar::Test {
namespace {

/// This process's environment with some variables set.
std::vector<std::string> MergedEnvironment(const std::map<std::string, std::string>& changes) {
  std::vector<std::string> merged;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    if (changes.count(text.substr(0, text.find('='))) == 0) merged.push_back(text);
  }
  for (const auto& [name, value] : changes) merged.push_back(name + "=" + value);
  return merged;
}

/// The command with which a program of the build starts: behind the emulator when it is built for another processor.
std::vector<std::string> Runnable(std::vector<std::string> command) {
  const bool built = std::filesystem::path(command.at(0)).parent_path() == LUMENAR_BUILT_PROGRAMS;
  std::istringstream emulator(LUMENAR_EMULATOR);
  if (built) command.insert(command.begin(), std::istream_iterator<std::string>(emulator), {});
  return command;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

LaunchWords::LaunchWords(std::vector<std::string> command, const std::map<std::string, std::string>& changes)
    : command_(Runnable(std::move(command))),
      environment_(MergedEnvironment(changes)),
      command_pointers_(Pointers(command_)),
      environment_pointers_(Pointers(environment_)) {}

}  // namespace Lumenar::Test
