// SPDX-License-Identifier: Apache-2.0
#include "platform/components/ItemNamer.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <random>

namespace Corvanta {
namespace {

std::string Numbered(const std::string& name, unsigned long number) {
  return number == 1 ? name : name + '.' + std::to_string(number);
}

}  // namespace

ItemNamer::ItemNamer(std::string prefix, std::string mark)
    : prefix_(std::move(prefix)), mark_(mark.empty() ? std::string() : '@' + mark) {}

std::string ItemNamer::MarkOfThisRun() {
  std::random_device random;
  const std::uint64_t number = (std::uint64_t{random()} << 32) | random();
  return fmt::format("{:016x}", number);
}

std::string ItemNamer::Add(const std::string& name) {
  Lumenar::Lock lock(mutex_);
  const bool given = WasGiven(name);
  unsigned long& number = asked_[name];
  if (given) number = 1;
  std::string item;
  do {
    item = Numbered(name, ++number);
  } while (number > 1 && asked_.count(item) != 0);  // somebody asked for "NAME.2" by that name
  return item;
}

/// Whether `item` is "NAME.n" with a number that was given to NAME. The names given are not kept one by one: objects
/// come and go for months.
bool ItemNamer::WasGiven(const std::string& item) const {
  const std::size_t dot = item.rfind('.');
  if (dot == std::string::npos || asked_.count(item) != 0) return false;
  const auto found = asked_.find(item.substr(0, dot));
  unsigned long number = 0;
  std::from_chars(item.data() + dot + 1, item.data() + item.size(), number);
  return found != asked_.end() && number >= 2 && number <= found->second && Numbered(found->first, number) == item;
}

std::string ItemNamer::DDS_Topic(const std::string& item) const {
  return (prefix_.empty() ? item : prefix_ + '/' + item) + mark_;
}

std::string ItemNamer::EngineOf(const std::string& topic) {
  const std::size_t end = topic.rfind('/');
  return end == std::string::npos ? std::string() : topic.substr(0, end);
}

}  // namespace Corvanta
