#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Lumenar {

/// The subscriptions of a topic manager over its restarts: a text file of one line per subscription
/// ("sub HANDLE TOPIC REFERENCE", the topic percent-escaped) after a line with the next handle. Changes are added at its end, a
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

  /// What can be read; a file that is not there is an empty state. `problem` says in one line what could not be read,
  /// else it is left empty. The next handle is above every handle read.
  State Read(std::string& problem) const;

  /// Replaces the file in one step; readable by its owner only.
  /// Errors   std::system_error.
  void Write(const State& state) const;

  /// Adds lines, made by the functions below, to the file that is there: the time does not grow with the number of subscriptions.
  /// Errors   std::system_error; the file should be written anew then.
  void Append(const std::string& lines) const;

  static std::string BeginLine(const Entry& entry);
  static std::string EndLine(long handle);

  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace Lumenar
