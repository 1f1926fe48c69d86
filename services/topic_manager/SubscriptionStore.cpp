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
  Lock lock(mutex_);
  return State().entries;
}

long SubscriptionStore::Add(const std::string& topic, const std::string& reference) {
  long handle = 0;
  std::uint64_t change = 0;
  {
    Lock lock(mutex_);
    if (next_handle_ >= kLastHandle) throw std::length_error("no handles left");
    handle = next_handle_++;
    const auto added = entries_.emplace(handle, StateFile::Entry{handle, topic, reference}).first;
    change = Change(StateFile::BeginLine(added->second));
  }
  Persist(change);
  return handle;
}

void SubscriptionStore::Remove(long handle) {
  std::uint64_t change = 0;
  {
    Lock lock(mutex_);
    if (entries_.erase(handle) == 0) return;
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
    Write(written_);
    failing_ = false;
  } catch (const std::system_error& error) {
    if (!failing_) WriteError(std::string("topic_manager: state file not written: ") + error.what());
    failing_ = true;
  }
}

/// Adds what is pending, or writes the file anew when it has grown well beyond what stands, or may be damaged at its end.
void SubscriptionStore::Write(std::uint64_t& newest) {
  const std::uint64_t before = newest;
  std::string lines;
  std::optional<StateFile::State> all;
  {
    Lock lock(mutex_);
    newest = changes_;
    lines.swap(pending_);
    if (MustWriteAnew()) all = State();
  }
  if (!all) {
    file_->Append(lines);
    added_ += newest - before;
    return;
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
