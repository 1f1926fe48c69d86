// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Lumenar::Value::Detail {

/// The slow and certain evaluations behind the kernels, for the few numbers that the double estimate cannot round.

/// log10(x) rounded once to float.
/// Numbers  x positive and finite; good to 2^-95, and no logarithm comes closer to a rounding boundary than 2^-56.
float Log10_by_double_double(float x) noexcept;

/// k * 10^q rounded once to float, with overflow to infinity and denormal results.
/// Numbers  q finite, k finite and not 0. Exact ties (q integral, |q| <= 22) are found exactly; else good to 2^-93.
float Power_by_double_double(float q, double k) noexcept;

}  // namespace Lumenar::Value::Detail
