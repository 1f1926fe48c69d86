// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "instruments/common/Settings.h"
#include "instruments/sim/Waveform.h"
#include "platform/units/Units.h"

namespace Lumenar::Sim {

enum class Kind { Trace, Value, Long, Setting };

/// One reading or attribute of the simulator.
struct ItemConfig {
  Kind kind = Kind::Trace;
  std::string name;
  WaveForm form;
  double rate_Hz = 10;          ///< 0: a sample each time that a client sets NAME_STEP
  Value::Units units;           ///< trace, value
  std::uint32_t points = 1001;  ///< trace
  double x_step = 0;            ///< trace
  double error = 0;             ///< value: the band is -error .. +error
  int initial = 0;              ///< setting
  int lower = 0;                ///< setting
  int upper = 1000;             ///< setting
};

/// Reads items, one a line or with ";" between; empty ones and those that begin with "#" are skipped. An item is
///
///   trace:NAME[:KEY=VALUE]...     points, rate, units, wave, amplitude, offset, period, seed, xstep
///   value:NAME[:KEY=VALUE]...     rate, units, wave, amplitude, offset, period, seed, error
///   long:NAME[:KEY=VALUE]...      rate, wave, amplitude, offset, period, seed
///   setting:NAME[:KEY=VALUE]...   value, lower, upper; a long attribute that clients set
///
/// wave is one of constant, count, ramp, sine, square, noise; a cyclic wave's period is by default the number of points
/// of a trace, 100 for the others.
/// Errors   std::invalid_argument that names the item and what is wrong with it.
std::vector<ItemConfig> ParseItems(std::string_view text);

/// The items of SIM_READINGS and of the file SIM_CONFIG, in this order.
/// Errors   std::invalid_argument; among them none at all, and a file that cannot be read.
std::vector<ItemConfig> ReadSimConfig(const Instruments::Settings& settings);

}  // namespace Lumenar::Sim
