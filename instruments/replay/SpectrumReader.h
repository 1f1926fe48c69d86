// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "instruments/replay/Recording.h"

namespace Lumenar::Replay {

/// Reads spectrum sweeps, one stretch of the spectrum a line: date, local time, lowest and highest frequency, bin step
/// (all in hertz), number of samples, then the levels of the bins from low to high. A sweep begins where the frequency
/// starts again.
///
/// The programs that write this form repeat the last level of each line; it is left out. A line may have up to two
/// levels more than its frequencies tell, as such programs round the cropping of a line in two ways.
///
/// Levels are dB of an unknown reference, without unit. x_step is the bin step; the recorded rate is the mean one, of
/// the sweeps' times.
/// Errors   FormatError; among them sweeps of different lengths.      Threads  pure.
RecordedFile ReadSpectrum(std::string_view text);

}  // namespace Lumenar::Replay
