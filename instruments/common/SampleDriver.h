// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "instruments/common/Instrument.h"
#include "platform/base/PeriodicTask.h"
#include "platform/components/attributes/EngineAttribLong_i.h"

namespace Lumenar::Instruments {

/// Decides when a reading publishes its next sample: at a rate, or, with the rate 0, each time that a client sets the
/// long attribute NAME_STEP. Sample 0 comes at Start either way.
///
/// A client's Set publishes one sample, whatever the number (it is stored, so clients may count their steps with it),
/// and returns when the sample is published.
class SampleDriver {
 public:
  /// `next` publishes the next sample and returns whether there are more; never called by two threads at once.
  SampleDriver(const Place& place, const std::string& name, double rate_Hz, std::function<bool()> next);
  ~SampleDriver();
  SampleDriver(const SampleDriver&) = delete;
  SampleDriver& operator=(const SampleDriver&) = delete;

  void Start();
  void Stop() noexcept;

 private:
  void Step(int value);
  void Next();

  const std::function<bool()> next_;
  std::unique_ptr<PeriodicTask> task_;
  Mutex order_;  ///< held over the publication, a call that the time limit bounds, so that samples come in order
  bool ended_ GUARDED_BY(order_) = false;
  std::unique_ptr<Corvanta::EngineAttribLong_i> step_;
};

}  // namespace Lumenar::Instruments
