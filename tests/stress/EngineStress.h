#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Common_Math/src/MathInit.h"
#include "MathFactory.hh"
#include "platform/base/Mutex.h"
#include "platform/components/GUI_Able_i.h"
#include "platform/components/ItemNamer.h"
#include "platform/components/readings/EngineBasicTrace_i.h"
#include "platform/components/readings/EngineReadingLong_i.h"
#include "platform/components/readings/EngineReadingValueDouble_i.h"

namespace Lumenar::Test {

/// A whole engine in the calling process, where a sanitizer sees it, under all that clients can do to it at once: creation (also
/// such as must fail), deletion, look-ups, results, SIZE, RESET, TYPE, and samples of every input through a real topic manager.
///
/// The engine may be shut down in the middle of it.
class EngineStress {
 public:
  /// The environment names the naming service. Starts the threads.
  EngineStress();

  /// Stops the threads, if Stop did not.
  ~EngineStress();

  /// Ends the calls, and then the engine.
  void Stop();

  /// Ends the engine as its host does after a signal, while the calls go on; then the calls.
  void ShutDownUnderLoad();

  /// What happened that must not: ids given twice, exceptions that no client should see, values of the wrong kind.
  std::vector<std::string> Faults() const;

  struct Counts {
    unsigned long created = 0, refused = 0, deleted = 0, looked_at = 0, published = 0;
  };
  Counts Done() const;

 private:
  using Random = std::minstd_rand;

  void Repeat(unsigned seed, const std::function<void(Random&)>& step);
  void CreateOne(Random& random);
  void DeleteOne(Random& random);
  void LookAtOne(Random& random);
  void SetAttributesOfOne(Random& random);
  void PublishOne(Random& random);
  Corvanta::MathFactory::ReadingAttribSeq RandomInputs(Random& random);
  long RandomId(Random& random) const;
  void NoteCreated(CORBA::Long id);
  void Fault(const std::string& text);

  std::unique_ptr<MathInit> engine_;
  Corvanta::ItemNamer namer_{"STRESS/1"};
  std::unique_ptr<GUI_Able_i> registration_;
  std::unique_ptr<Corvanta::EngineBasicTrace_i> traces_[2];
  std::unique_ptr<Corvanta::EngineReadingValueDouble_i> scalars_[2];
  std::unique_ptr<Corvanta::EngineReadingLong_i> longs_[2];
  std::vector<Corvanta::EngineReadingBase_var> inputs_;
  Corvanta::MathFactory::Interfaces_var factory_;

  std::atomic<bool> stop_{false};
  std::atomic<bool> shutting_down_{false};
  std::atomic<unsigned long> created_{0}, refused_{0}, deleted_{0}, looked_at_{0}, published_{0};
  mutable Mutex mutex_;
  std::set<CORBA::Long> given_ GUARDED_BY(mutex_);  ///< all ids ever
  std::set<CORBA::Long> live_ GUARDED_BY(mutex_);
  std::vector<std::string> faults_ GUARDED_BY(mutex_);
  std::vector<std::thread> threads_;
};

}  // namespace Lumenar::Test
