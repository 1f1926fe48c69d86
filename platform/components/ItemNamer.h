#pragma once

#include <map>
#include <string>

#include "platform/base/Mutex.h"

namespace Corvanta {

/// Names the items of one engine, and their topics. Threads: any.
class ItemNamer {
 public:
  /// `prefix` stands before every topic name; with an empty prefix a topic is named as its item.
  explicit ItemNamer(std::string prefix);

  /// The item name for `name`: `name` itself for the first, "NAME.2", "NAME.3" ... for the next. A number is never given twice,
  /// so that no late subscriber of a deleted item's topic meets another item.
  std::string Add(const std::string& name);

  /// The topic of an item: "PREFIX/ITEM".
  std::string DDS_Topic(const std::string& item) const;

  /// The registered name of the engine that publishes on a topic, "PROBE/1" for "PROBE/1/WAKEUP"; empty for a topic without prefix.
  static std::string EngineOf(const std::string& topic);

 private:
  bool WasGiven(const std::string& item) const REQUIRES(mutex_);

  const std::string prefix_;
  mutable Lumenar::Mutex mutex_;
  std::map<std::string, unsigned long> asked_ GUARDED_BY(mutex_);  ///< names asked for, with the last number of each
};

}  // namespace Corvanta
