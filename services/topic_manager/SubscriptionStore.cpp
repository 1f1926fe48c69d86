#include "services/topic_manager/SubscriptionStore.h"

#include <stdexcept>
#include <system_error>

#include "platform/base/Diagnostic.h"

namespace Lumenar {
namespace {

constexpr long kLastHandle = 0x7fffffff;  // a handle is a 32-bit number on the wire

}  // namespace

SubscriptionStore::SubscriptionStore(std::optional<StateFile> file) : file_(std::move(file)) {
  if (!file_) return;
  std::string problem;
  StateFile::State state = file_->Read(problem);
  if (!problem.empty()) WriteError("topic_manager: state file " + problem);
  Lock lock(mutex_);
  next_handle_ = state.next_handle;
  for (StateFile::Entry& entry : state.entries) entries_.emplace(entry.handle, std::move(entry));
}

std::vector<StateFile::Entry> SubscriptionStore::Entries() const {
  std::uint64_t ignored = 0;
  return Snapshot(ignored).entries;
}

long SubscriptionStore::Add(const std::string& topic, const std::string& reference) {
  long handle = 0;
  std::uint64_t change = 0;
  {
    Lock lock(mutex_);
    if (next_handle_ >= kLastHandle) throw std::length_error("no handles left");
    handle = next_handle_++;
    entries_.emplace(handle, StateFile::Entry{handle, topic, reference});
    change = Change();
  }
  Persist(change);
  return handle;
}

void SubscriptionStore::Remove(long handle) {
  std::uint64_t change = 0;
  {
    Lock lock(mutex_);
    if (entries_.erase(handle) == 0) return;
    change = Change();
  }
  Persist(change);
}

/// Returns when the file holds a change. Changes that came while another was written are written together.
void SubscriptionStore::Persist(std::uint64_t change) {
  if (!file_) return;
  Lock writing(writing_);
  if (written_ >= change) return;
  std::uint64_t newest = 0;
  const StateFile::State state = Snapshot(newest);
  Write(state);
  written_ = newest;
}

StateFile::State SubscriptionStore::Snapshot(std::uint64_t& change) const {
  Lock lock(mutex_);
  change = changes_;
  StateFile::State state;
  state.next_handle = next_handle_;
  for (const auto& [handle, entry] : entries_) state.entries.push_back(entry);
  return state;
}

void SubscriptionStore::Write(const StateFile::State& state) {
  try {
    file_->Write(state);
    failing_ = false;
  } catch (const std::system_error& error) {
    if (!failing_) WriteError(std::string("topic_manager: state file not written: ") + error.what());
    failing_ = true;
  }
}

}  // namespace Lumenar
