// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace Lumenar::Instruments {

/// How far a reading may be from what was measured, as data sheets say it: a share of the reading and a number of its
/// unit, both to either side.
struct ErrorBand {
  double of_reading = 0;  ///< 0.01 is one percent
  double of_unit = 0;

  /// Half the width of the band of one reading, in its unit; 0 where the reading is not finite.
  double Of(double reading) const;
};

/// Reads "0.0035 % + 0.0005", "50 ppm", "0.01": a share in percent or ppm, a number in the reading's unit, or both.
/// Errors   std::invalid_argument in one line.
ErrorBand ErrorBandFromText(std::string_view text);

}  // namespace Lumenar::Instruments
