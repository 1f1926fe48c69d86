// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/base/TextFile.h"

namespace Lumenar {

/// The subscriptions of a topic manager over its restarts: a text file of one line per subscription ("sub HANDLE TOPIC
/// REFERENCE", the topic percent-escaped) after a line with the next handle. Changes are added at its end, a
/// subscription that ended as "end HANDLE", until the file is written anew.
/// Threads   one caller at a time.
class StateFile {
 public:
  struct Entry {
    long handle;
    std::string topic;
    std::string reference;  ///< stringified object reference
    bool operator==(const Entry&) const = default;
  };

  struct State {
    long next_handle = 1;
    std::vector<Entry> entries;
  };

  explicit StateFile(std::filesystem::path path) : path_(std::move(path)) {}

  static constexpr long kLastHandle = 0x7fffffff;                         ///< a handle is a 32-bit number on the wire
  static constexpr std::size_t kLongestReference = std::size_t{1} << 16;  ///< bytes of a reference as text

  /// What can be read; a file that is not there is an empty state. `problem` says in one line what could not be read,
  /// else it is left empty. The next handle is the one behind those given out last: above every handle read, or 1 again
  /// after the last.
  /// Errors   std::runtime_error, "PATH: reason", for what is no regular file: it would never do as a state file.
  State Read(std::string& problem) const;

  /// The same of an open file; `name` is for the problem.
  static State ReadFrom(TextFile& file, const std::string& name, std::string& problem);

  /// Replaces the file in one step; readable by its owner only.
  /// Errors   std::system_error.
  void Write(const State& state) const;

  /// Adds lines, made by the functions below, to the file that is there: the time does not grow with the number of
  /// subscriptions.
  /// Errors   std::system_error; the file should be written anew then.
  void Append(const std::string& lines) const;

  static std::string BeginLine(const Entry& entry);
  static std::string EndLine(long handle);

  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace Lumenar
