// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "MathFactory.hh"
#include "platform/base/Mutex.h"

namespace Lumenar::Test {

/// A number from low to high, both inclusive.
inline int Between(std::minstd_rand& random, int low, int high) {
  return std::uniform_int_distribution<int>(low, high)(random);
}

/// Threads that do to an engine, all at once, what clients can: creation (also
/// such as must fail), deletion, look-ups, results, SIZE, RESET, TYPE.
class StressClients {
 public:
  using Inputs = std::vector<Corvanta::EngineReadingBase_var>;

  /// What an exception of the ORB means to them besides OBJECT_NOT_EXIST for an
  /// object that was deleted meanwhile.
  enum class EndOfTheEngine { IsAFault, MayCome };

  /// Starts the threads. `inputs` are trace, scalar, long, and once more.
  StressClients(Corvanta::MathFactory::Interfaces_ptr factory, Inputs inputs, EndOfTheEngine end);

  /// Stops the threads, if Stop did not.
  ~StressClients();

  /// Ends the calls and gives the references back.
  void Stop();

  /// What happened that must not: ids given twice, exceptions that no client
  /// should see, values of the wrong kind.
  std::vector<std::string> Faults() const;

  struct Counts {
    unsigned long created = 0, refused = 0, deleted = 0, looked_at = 0;
  };
  Counts Done() const;

 private:
  using Random = std::minstd_rand;

  void Repeat(unsigned seed, const std::function<void(Random&)>& step);
  void CreateOne(Random& random);
  void DeleteOne(Random& random);
  void LookAtOne(Random& random);
  void SetAttributesOfOne(Random& random);
  Corvanta::MathFactory::ReadingAttribSeq RandomInputs(Random& random);
  long RandomId(Random& random) const;
  void NoteCreated(CORBA::Long id);
  void Fault(const std::string& text);

  Corvanta::MathFactory::Interfaces_var factory_;
  Inputs inputs_;
  const EndOfTheEngine end_;
  std::atomic<bool> stop_{false};
  std::atomic<unsigned long> created_{0}, refused_{0}, deleted_{0}, looked_at_{0};
  mutable Mutex mutex_;
  std::set<CORBA::Long> given_ GUARDED_BY(mutex_);  ///< all ids ever
  std::set<CORBA::Long> live_ GUARDED_BY(mutex_);
  std::vector<std::string> faults_ GUARDED_BY(mutex_);
  std::vector<std::thread> threads_;
};

}  // namespace Lumenar::Test
