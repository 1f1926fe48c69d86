// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "instruments/replay/Recording.h"

namespace Lumenar::Replay {

/// Reads scattering parameters of one or two ports, Touchstone version 1: comments from `!` on, an option line
/// (`# GHz S RI R 50`), then one frequency a line with a pair of numbers for each parameter. One sweep; the recordings
/// are _S11, or _S11, _S21, _S12, _S22 in the file's order.
///
/// Samples are levels in dB without unit, 20 * log10|S|. By the decibel rule of a number without unit their linear form
/// is |S|^2, the ratio of powers; S itself is a ratio of amplitudes. |S| = 0 gives -inf. x_step is in hertz.
///
/// Of more than one option line the first counts. In a file of two ports a line of five numbers whose frequency does
/// not rise begins the noise parameters, which are left out with all that follows.
/// Errors   FormatError.      Threads  pure.
RecordedFile ReadTouchstone(std::string_view text, int ports);

}  // namespace Lumenar::Replay
