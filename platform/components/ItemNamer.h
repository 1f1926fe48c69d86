// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <utility>

#include "platform/base/Mutex.h"

namespace Corvanta {

/// Names the items of one engine, and their topics. Threads: any.
class ItemNamer {
 public:
  /// `prefix` stands before every topic name; with an empty prefix a topic is named as its item.
  explicit ItemNamer(std::string prefix) : ItemNamer(std::move(prefix), {}) {}

  /// With a mark, which stands behind every topic name: "PREFIX/ITEM@MARK".
  ItemNamer(std::string prefix, std::string mark);

  /// A mark that no other engine has, nor the same engine when it is started again: topics that carry it belong to the
  /// items of this run alone.
  /// Errors   std::system_error when the system gives no random numbers.
  static std::string MarkOfThisRun();

  /// The item name for `name`: `name` itself for the first, "NAME.2", "NAME.3" ... for the next. A number is never
  /// given twice, so that no late subscriber of a deleted item's topic meets another item.
  std::string Add(const std::string& name);

  const std::string& Prefix() const noexcept { return prefix_; }

  /// The topic of an item: "PREFIX/ITEM", and the mark.
  std::string DDS_Topic(const std::string& item) const;

  /// The registered name of the engine that publishes on a topic, "PROBE/1" for "PROBE/1/WAKEUP"; empty for a topic
  /// without prefix.
  static std::string EngineOf(const std::string& topic);

 private:
  bool WasGiven(const std::string& item) const REQUIRES(mutex_);

  const std::string prefix_;
  const std::string mark_;  ///< with its sign; may be empty
  mutable Lumenar::Mutex mutex_;
  std::map<std::string, unsigned long> asked_ GUARDED_BY(mutex_);  ///< names asked for, with the last number of each
};

}  // namespace Corvanta
