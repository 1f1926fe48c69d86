// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include "platform/base/Mutex.h"
#include "services/topic_manager/StateFile.h"

namespace Lumenar {

/// The handles that were given out and to whom, kept in the state file where there is one. Handles count up from 1,
/// also over a later manager with the same file; after 2^31 - 1 they start anew, and one that somebody has is passed
/// over.
/// Threads   any.
class SubscriptionStore {
 public:
  /// What the topics and references of all subscriptions may take together, as text.
  static constexpr std::size_t kMostBytes = std::size_t{256} << 20;

  /// Reads the file, which may hold more than `most_bytes`; says in one line on standard error what of it could not be
  /// read.
  explicit SubscriptionStore(std::optional<StateFile> file, std::size_t most_bytes = kMostBytes);

  /// The subscriptions known, as read and changed since.
  std::vector<StateFile::Entry> Entries() const;

  /// A new handle, other than `but`. The file holds it when Save has returned. A file that cannot be written is noted
  /// once; the subscription then stands as long as this process runs.
  /// Errors   std::length_error when somebody has each of the handles, or there is no room for more.
  long Add(const std::string& topic, const std::string& reference, long but = 0);

  /// Writes to the file what it does not hold yet.
  void Save();

  /// For each of the claims, in their order, the handle of the subscription that it means; 0 where there is none. That
  /// is the one with its handle, if topic and subscriber are the same too; else another one of this topic and subscriber,
  /// each for one claim at most. Owners may know their subscriptions by handles of an earlier manager.
  std::vector<long> Find(const std::vector<StateFile::Entry>& claims) const;

  void Remove(long handle);

 private:
  bool Stands(const StateFile::Entry& entry) const REQUIRES(mutex_);
  long FindAnother(const StateFile::Entry& claim, const std::set<long>& but) const REQUIRES(mutex_);
  long NewHandle(long but) REQUIRES(mutex_);
  std::uint64_t Change(const std::string& line) REQUIRES(mutex_);
  void Persist(std::uint64_t change);
  void Write() REQUIRES(writing_);
  bool MustWriteAnew() const REQUIRES(writing_, mutex_);
  StateFile::State State() const REQUIRES(mutex_);

  const std::optional<StateFile> file_;
  const std::size_t most_bytes_;
  mutable Mutex mutex_;
  std::map<long, StateFile::Entry> entries_ GUARDED_BY(mutex_);
  std::unordered_multimap<std::size_t, long> by_subscriber_ GUARDED_BY(mutex_);  ///< by a hash of topic and reference
  std::size_t bytes_ GUARDED_BY(mutex_) = 0;                                     ///< of the topics and references
  long next_handle_ GUARDED_BY(mutex_) = 1;
  std::uint64_t changes_ GUARDED_BY(mutex_) = 0;
  std::string pending_ GUARDED_BY(mutex_);  ///< lines of the changes that the file does not hold yet

  Mutex writing_;  ///< held over the writing of the file, for which only those wait who need it written; before mutex_
  std::uint64_t written_ GUARDED_BY(writing_) = 0;  ///< the last change that the file holds
  std::uint64_t added_ GUARDED_BY(writing_) = 0;    ///< changes added since the file was written anew
  bool begun_ GUARDED_BY(writing_) = false;         ///< this process has written the file anew
  bool failing_ GUARDED_BY(writing_) = false;
};

}  // namespace Lumenar
