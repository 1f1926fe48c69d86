// SPDX-License-Identifier: Apache-2.0
#include "services/hw_enumeration/EngineTable.h"

#include <algorithm>

namespace Lumenar {
namespace {

bool IsShortAndPrintable(const std::string& text, std::size_t max_length) {
  const auto printable = [](char character) {
    return static_cast<unsigned char>(character) >= ' ' && character != 0x7f;
  };
  return !text.empty() && text.size() <= max_length && std::all_of(text.begin(), text.end(), printable);
}

}  // namespace

bool EngineTable::IsNameGood(const std::string& name) { return IsShortAndPrintable(name, kMaxNameLength); }

bool EngineTable::IsProgressGood(const std::string& progress) {
  return IsShortAndPrintable(progress, kMaxProgressLength);
}

std::optional<long> EngineTable::Announce(const Key& key) {
  if (entries_.count(key) == 0 && entries_.size() >= kMaxEngines) return std::nullopt;
  entries_[key] = Entry{++last_announcement_, {}};
  return last_announcement_;
}

bool EngineTable::Report(const Key& key, long announcement, const std::string& progress) {
  const auto found = entries_.find(key);
  if (found == entries_.end() || found->second.announcement != announcement) return false;
  found->second.progress = progress;
  return true;
}

}  // namespace Lumenar
