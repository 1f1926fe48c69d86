#include "platform/components/ItemNamer.h"

#include <utility>

namespace Corvanta {

ItemNamer::ItemNamer(std::string prefix) : prefix_(std::move(prefix)) {}

std::string ItemNamer::Add(const std::string& name) {
  Lumenar::Lock lock(mutex_);
  unsigned long& number = used_[name];
  std::string item;
  do {
    ++number;
    item = number == 1 ? name : name + '.' + std::to_string(number);
  } while (number > 1 && used_.count(item) != 0);  // somebody asked for "NAME.2" by that name
  used_.emplace(item, 1);
  return item;
}

std::string ItemNamer::DDS_Topic(const std::string& item) const { return prefix_.empty() ? item : prefix_ + '/' + item; }

}  // namespace Corvanta
