// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Common_Math/src/MathInit.h"
#include "platform/components/GUI_Able_i.h"
#include "platform/components/ItemNamer.h"
#include "platform/components/readings/EngineBasicTrace_i.h"
#include "platform/components/readings/EngineReadingLong_i.h"
#include "platform/components/readings/EngineReadingValueDouble_i.h"
#include "tests/stress/StressClients.h"

namespace Lumenar::Test {

/// A whole engine in the calling process, where a sanitizer sees it, under a
/// flood of samples of all its inputs that come through a real topic manager.
/// What clients do to it meanwhile is StressClients'.
///
/// The engine may be shut down in the middle of it.
class EngineStress {
 public:
  /// The environment names the naming service. Starts the samples.
  EngineStress();

  /// Ends the samples, and then the engine.
  ~EngineStress();

  /// Ends the ORB as the engine's host does after a signal, under the requests
  /// that other processes make; ends the samples as an instrument does: while
  /// calls still go out.
  void ShutDown();

  Corvanta::MathFactory::Interfaces_ptr Factory() const { return factory_; }

  /// Trace, scalar and long, and once more.
  const StressClients::Inputs& Inputs() const { return inputs_; }

  /// For other processes: the reference of the factory, then those of the
  /// inputs.
  std::vector<std::string> References() const;

  unsigned long Published() const { return published_; }

 private:
  void Publish(unsigned seed);
  void PublishOne(std::minstd_rand& random);
  void EndSamples();

  std::unique_ptr<MathInit> engine_;
  Corvanta::ItemNamer namer_{"STRESS/1"};
  std::unique_ptr<GUI_Able_i> registration_;
  std::unique_ptr<Corvanta::EngineBasicTrace_i> traces_[2];
  std::unique_ptr<Corvanta::EngineReadingValueDouble_i> scalars_[2];
  std::unique_ptr<Corvanta::EngineReadingLong_i> longs_[2];
  StressClients::Inputs inputs_;
  Corvanta::MathFactory::Interfaces_var factory_;
  std::atomic<bool> stop_{false};
  std::atomic<unsigned long> published_{0};
  std::vector<std::thread> threads_;
};

}  // namespace Lumenar::Test
