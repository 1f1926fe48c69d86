// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

namespace Lumenar::Test {

/// What a program is started with, prepared before fork: afterwards only async-signal-safe calls are allowed.
class LaunchWords {
 public:
  /// A command of this build is put behind the emulator when it is built for another processor. Its environment is this
  /// process's, with some variables set.
  LaunchWords(std::vector<std::string> command, const std::map<std::string, std::string>& changes);
  LaunchWords(const LaunchWords&) = delete;
  LaunchWords& operator=(const LaunchWords&) = delete;

  char* const* Command() const { return command_pointers_.data(); }
  char* const* Environment() const { return environment_pointers_.data(); }

 private:
  std::vector<std::string> command_;
  std::vector<std::string> environment_;
  std::vector<char*> command_pointers_;
  std::vector<char*> environment_pointers_;
};

}  // namespace Lumenar::Test
