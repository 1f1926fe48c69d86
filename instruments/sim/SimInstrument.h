// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <vector>

#include "instruments/common/Instrument.h"
#include "instruments/sim/SimConfig.h"

namespace Lumenar::Sim {

/// Readings whose every sample is known beforehand, and long attributes. Sample 0 is there from the start; the sequence
/// number of a trace is the number of its sample.
class SimInstrument : public Instruments::Instrument {
 public:
  /// Errors   as ReadSimConfig.
  explicit SimInstrument(const Instruments::Settings& settings);
  ~SimInstrument() override;

  void Offer(const Instruments::Place& place) override;

  /// One of the items as it is offered.
  class Item;

 private:
  const std::vector<ItemConfig> configs_;
  std::vector<std::unique_ptr<Item>> items_;
};

}  // namespace Lumenar::Sim
