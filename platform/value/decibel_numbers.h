// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/value/decibel_kernels.h"

#include <cmath>

namespace Lumenar::Value {

/// The decibel rules in the precision of the argument. Single precision gives the same bits everywhere; double
/// precision uses the C library and is as good as its log10 and pow (1 to 2 units in the last place).
inline float To_decibel(float number, double k) noexcept { return Linear_to_decibel(number, k); }
inline double To_decibel(double number, double k) noexcept { return 10.0 * k * std::log10(number); }
inline float From_decibel(float level_dB, double k) noexcept { return Decibel_to_linear(level_dB, k); }
inline double From_decibel(double level_dB, double k) noexcept { return k * std::pow(10.0, level_dB / 10.0); }

}  // namespace Lumenar::Value
