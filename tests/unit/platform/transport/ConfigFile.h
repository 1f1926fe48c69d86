// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace Corvanta::Test {

/// A configuration file for the length of a test.
class ConfigFile {
 public:
  explicit ConfigFile(const std::string& text)
      : path_(std::filesystem::temp_directory_path() / ("transport-" + std::to_string(getpid()) + ".conf")) {
    std::ofstream(path_) << text;
  }
  ~ConfigFile() { std::filesystem::remove(path_); }
  std::string Path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace Corvanta::Test
