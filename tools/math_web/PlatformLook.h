// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "client/Connection.h"
#include "client/TopicNames.h"
#include "platform/base/Mutex.h"
#include "tools/math_web/Snapshot.h"

namespace Lumenar::Web {

/// Looks at the whole platform, as often as somebody wants to know.
/// Threads  any; one look at a time. Calls other processes.
class PlatformLook {
 public:
  PlatformLook(Client::Connection& connection, std::string factory);

  /// A snapshot that is no older than `age`: the last one, or a new look.
  std::shared_ptr<const Snapshot> NotOlderThan(std::chrono::steady_clock::duration age);

  /// The last one; empty before the first.
  std::shared_ptr<const Snapshot> Last() const;

  /// The reading, or the RESULT of the math object, that the last look found under a name.
  /// Errors   Client::Error; it may call other processes.
  Client::Reading ReadingOf(const std::string& name);

  /// How long the last look took.
  std::chrono::steady_clock::duration Took() const;

 private:
  using Clock = std::chrono::steady_clock;
  using Published = std::unordered_map<std::string, std::uint64_t>;

  /// What is remembered of a topic between looks.
  struct TopicMemory {
    std::uint64_t published = 0;
    std::optional<double> rate;
    std::optional<Clock::time_point> changed;
  };

  /// What is remembered of a reading, whose value is not asked for at each look.
  struct ValueMemory {
    std::optional<Value::Units> units;
    std::string x_unit;
    std::uint32_t points = 0;
    Clock::time_point asked{};
  };

  Snapshot Look() REQUIRES(looking_);
  void LookAtManager(Snapshot& now, Published& published) REQUIRES(looking_);
  void LookAtEngine(const Client::Engine& engine, Snapshot& now) REQUIRES(looking_);
  void TakeItems(const Client::Engine& engine, EngineFacts& facts, Snapshot& now) REQUIRES(looking_);
  void TakeObjects(const std::string& engine, EngineFacts& facts, Snapshot& now) REQUIRES(looking_);
  void KeepFormer(const std::string& engine, Snapshot& now) REQUIRES(looking_);
  void NoteRates(const Published& published, Snapshot& now) REQUIRES(looking_);
  void NoteValues(Snapshot& now) REQUIRES(looking_);
  bool AskValue(const std::string& name, ValueMemory& memory) REQUIRES(looking_);
  void ForgetTheGone(const Snapshot& now) REQUIRES(looking_);

  Client::Connection& connection_;
  const std::string factory_;
  Mutex looking_;  // held over calls to other processes: whoever wants a look waits for the one that goes on
  Client::TopicNames names_ GUARDED_BY(looking_);
  std::map<std::string, TopicMemory> topics_ GUARDED_BY(looking_);
  std::map<std::string, ValueMemory> values_ GUARDED_BY(looking_);
  std::map<std::string, Client::Reading> references_ GUARDED_BY(looking_);
  Clock::time_point looked_ GUARDED_BY(looking_){};
  mutable Mutex mutex_;  // a leaf
  std::shared_ptr<const Snapshot> last_ GUARDED_BY(mutex_) = std::make_shared<const Snapshot>();
  Clock::duration took_ GUARDED_BY(mutex_){};
};

}  // namespace Lumenar::Web
