// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "judge/Operation.h"

namespace Lumenar::Judge {

/// Whether two numbers have the same bits. All that are not a number count as one: which of them an addition gives
/// depends on the processor.
bool SameBits(float a, float b);
bool SameBits(double a, double b);

/// Whether two values are the same in every field: numbers by their bits, units slot by slot, of traces also what
/// stands in front of the samples.
bool SameBits(const Datum& a, const Datum& b);

}  // namespace Lumenar::Judge
