// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/SubscriptionStore.h"

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <system_error>

#include "platform/base/Diagnostic.h"

namespace Lumenar {
namespace {

std::size_t HashOf(const std::string& topic, const std::string& reference) {
  return std::hash<std::string>()(topic) * 31 + std::hash<std::string>()(reference);
}

}  // namespace

SubscriptionStore::SubscriptionStore(std::optional<StateFile> file, std::size_t most_bytes)
    : file_(std::move(file)), most_bytes_(most_bytes) {
  if (!file_) return;
  std::string problem;
  StateFile::State state = file_->Read(problem);
  if (!problem.empty()) WriteError("topic_manager: state file " + problem);
  Lock lock(mutex_);
  next_handle_ = state.next_handle;
  for (StateFile::Entry& entry : state.entries) {
    by_subscriber_.emplace(HashOf(entry.topic, entry.reference), entry.handle);
    bytes_ += entry.topic.size() + entry.reference.size();
    entries_.emplace(entry.handle, std::move(entry));
  }
}

std::vector<StateFile::Entry> SubscriptionStore::Entries() const {
  Lock lock(mutex_);
  return State().entries;
}

long SubscriptionStore::Add(const std::string& topic, const std::string& reference, long but) {
  const std::size_t bytes = topic.size() + reference.size();
  Lock lock(mutex_);
  if (bytes_ + bytes > most_bytes_) throw std::length_error("no room for subscriptions");
  const long handle = NewHandle(but);
  const auto added = entries_.emplace(handle, StateFile::Entry{handle, topic, reference}).first;
  by_subscriber_.emplace(HashOf(topic, reference), handle);
  bytes_ += bytes;
  Change(StateFile::BeginLine(added->second));
  return handle;
}

void SubscriptionStore::Save() {
  std::uint64_t change = 0;
  {
    Lock lock(mutex_);
    change = changes_;
  }
  Persist(change);
}

/// Those that stand under their own handles come first: nobody else gets theirs.
std::vector<long> SubscriptionStore::Find(const std::vector<StateFile::Entry>& claims) const {
  std::vector<long> handles(claims.size(), 0);
  std::set<long> found;
  Lock lock(mutex_);
  for (std::size_t i = 0; i < claims.size(); ++i)
    if (Stands(claims[i]) && found.insert(claims[i].handle).second) handles[i] = claims[i].handle;
  for (std::size_t i = 0; i < claims.size(); ++i) {
    if (handles[i] != 0) continue;
    handles[i] = FindAnother(claims[i], found);
    if (handles[i] != 0) found.insert(handles[i]);
  }
  return handles;
}

bool SubscriptionStore::Stands(const StateFile::Entry& entry) const {
  const auto found = entries_.find(entry.handle);
  return found != entries_.end() && found->second == entry;
}

long SubscriptionStore::FindAnother(const StateFile::Entry& claim, const std::set<long>& but) const {
  const auto [first, last] = by_subscriber_.equal_range(HashOf(claim.topic, claim.reference));
  for (auto candidate = first; candidate != last; ++candidate) {
    if (but.count(candidate->second) == 0 && Stands({candidate->second, claim.topic, claim.reference}))
      return candidate->second;
  }
  return 0;
}

/// The next handle that nobody has, and that is not `but`; after the last one they start anew.
long SubscriptionStore::NewHandle(long but) {
  if (entries_.size() + 1 >= static_cast<std::size_t>(StateFile::kLastHandle))
    throw std::length_error("no handles left");
  const auto after = [](long handle) { return handle == StateFile::kLastHandle ? 1 : handle + 1; };
  while (entries_.count(next_handle_) != 0 || next_handle_ == but) next_handle_ = after(next_handle_);
  const long handle = next_handle_;
  next_handle_ = after(handle);
  return handle;
}

void SubscriptionStore::Remove(long handle) {
  std::uint64_t change = 0;
  {
    Lock lock(mutex_);
    const auto found = entries_.find(handle);
    if (found == entries_.end()) return;
    const auto [first, last] = by_subscriber_.equal_range(HashOf(found->second.topic, found->second.reference));
    by_subscriber_.erase(
        std::find_if(first, last, [handle](const auto& candidate) { return candidate.second == handle; }));
    bytes_ -= found->second.topic.size() + found->second.reference.size();
    entries_.erase(found);
    change = Change(StateFile::EndLine(handle));
  }
  Persist(change);
}

std::uint64_t SubscriptionStore::Change(const std::string& line) {
  if (file_) pending_ += line;
  return ++changes_;
}

/// Returns when the file holds a change. Changes that came while another was written are written together.
void SubscriptionStore::Persist(std::uint64_t change) {
  if (!file_) return;
  Lock writing(writing_);
  if (written_ >= change) return;
  try {
    Write();
    failing_ = false;
  } catch (const std::system_error& error) {
    if (!failing_) WriteError(std::string("topic_manager: state file not written: ") + error.what());
    failing_ = true;
  }
}

/// Adds what is pending, or writes the file anew when it has grown well beyond what stands, or may be damaged at its
/// end.
void SubscriptionStore::Write() {
  const std::uint64_t before = written_;
  std::string lines;
  std::optional<StateFile::State> all;
  {
    Lock lock(mutex_);
    written_ = changes_;
    lines.swap(pending_);
    if (MustWriteAnew()) all = State();
  }
  if (!all) {
    try {
      file_->Append(lines);
      added_ += written_ - before;
      return;
    } catch (const std::system_error&) {
      // It is gone, or is something else, or holds a part of the lines: it has to be written anew.
      Lock lock(mutex_);
      written_ = changes_;
      pending_.clear();
      all = State();
    }
  }
  file_->Write(*all);
  begun_ = true;
  added_ = 0;
}

bool SubscriptionStore::MustWriteAnew() const {
  constexpr std::uint64_t kFew = 1000;
  return !begun_ || failing_ || added_ > entries_.size() + kFew;
}

StateFile::State SubscriptionStore::State() const {
  StateFile::State state;
  state.next_handle = next_handle_;
  for (const auto& [handle, entry] : entries_) state.entries.push_back(entry);
  return state;
}

}  // namespace Lumenar
