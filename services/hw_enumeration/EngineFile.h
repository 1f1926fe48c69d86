// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <utility>

#include "platform/base/TextFile.h"
#include "services/hw_enumeration/EngineTable.h"

namespace Lumenar {

/// The known engines over a restart of the service, since an engine announces itself only when it starts: a text file
/// of one line for each engine (instance, progress, name; tabs between) after a title.
/// Threads   one caller at a time.
class EngineFile {
 public:
  explicit EngineFile(std::filesystem::path path) : path_(std::move(path)) {}

  /// Enters what can be read into a table; a file that is not there is empty. `problem` says in one line what could not
  /// be read, else it is left empty.
  /// Errors   std::runtime_error, "PATH: reason", for what is no regular file: it would never do as a state file.
  void Read(EngineTable& table, std::string& problem) const;

  /// The same of an open file; `name` is for the problem.
  static void ReadFrom(TextFile& file, const std::string& name, EngineTable& table, std::string& problem);

  /// Replaces the file in one step; readable by its owner only.
  /// Errors   std::system_error.
  void Write(const EngineTable& table) const;

 private:
  std::filesystem::path path_;
};

}  // namespace Lumenar
