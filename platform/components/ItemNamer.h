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

 private:
  const std::string prefix_;
  Lumenar::Mutex mutex_;
  std::map<std::string, unsigned long> used_ GUARDED_BY(mutex_);
};

}  // namespace Corvanta
