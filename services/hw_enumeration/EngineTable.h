// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Lumenar {

/// The engines that announced themselves, with their start-up progress.
/// Threads   the caller's lock.
class EngineTable {
 public:
  static constexpr std::size_t kMaxEngines = 1024;
  static constexpr std::size_t kMaxNameLength = 256;
  static constexpr std::size_t kMaxProgressLength = 32;

  /// An engine by its file name and instance number.
  using Key = std::pair<std::string, long>;

  struct Entry {
    long announcement;     ///< number of the announcement, never used again
    std::string progress;  ///< empty until the first report
  };

  /// Whether a name, or a progress text, can be taken: short, and printable, as it stands in the lines of the log.
  static bool IsNameGood(const std::string& name);
  static bool IsProgressGood(const std::string& progress);

  /// Enters an engine, in the place of an earlier announcement of it; its announcement number, or nothing when the
  /// table is full.
  std::optional<long> Announce(const Key& key);

  /// False when this announcement was replaced.
  bool Report(const Key& key, long announcement, const std::string& progress);

  const std::map<Key, Entry>& Entries() const { return entries_; }

 private:
  std::map<Key, Entry> entries_;
  long last_announcement_ = 0;
};

}  // namespace Lumenar
