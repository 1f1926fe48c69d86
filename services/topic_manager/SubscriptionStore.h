#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "platform/base/Mutex.h"
#include "services/topic_manager/StateFile.h"

namespace Lumenar {

/// The handles that were given out and to whom, kept in the state file where there is one. Handles start at 1 and are
/// never used again, also not by a later manager with the same file.
/// Threads   any.
class SubscriptionStore {
 public:
  /// Reads the file; says in one line on standard error what of it could not be read.
  explicit SubscriptionStore(std::optional<StateFile> file);

  /// The subscriptions known, as read and changed since.
  std::vector<StateFile::Entry> Entries() const;

  /// A new handle. The file holds it when this returns; a file that cannot be written is noted once and costs the
  /// subscription its life beyond this process only.
  /// Errors   std::length_error when all handles were given out.
  long Add(const std::string& topic, const std::string& reference);

  void Remove(long handle);

 private:
  std::uint64_t Change(const std::string& line) REQUIRES(mutex_);
  void Persist(std::uint64_t change);
  void Write(std::uint64_t& newest) REQUIRES(writing_);
  bool MustWriteAnew() const REQUIRES(writing_, mutex_);
  StateFile::State State() const REQUIRES(mutex_);

  const std::optional<StateFile> file_;
  mutable Mutex mutex_;
  std::map<long, StateFile::Entry> entries_ GUARDED_BY(mutex_);
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
