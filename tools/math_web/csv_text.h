// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/math_web/Sample.h"

namespace Lumenar::Web {

/// The most points of a trace that are given as CSV, about 25 MB.
inline constexpr std::size_t kMostCsvPoints = 1'100'000;

/// A sample in full as CSV: of a trace a row a point, "x [Hz],SIM/1/LEVEL [dBm]" above them; of a scalar one row with
/// its value and the ends of its error band. Numbers are written so that they are read again as they were.
/// Errors   Client::Error Refused for a longer trace.      Threads  pure.
std::string CsvText(const std::string& name, const Sample& sample);

/// The name of a file for it: letters, digits, '-' and '_', and ".csv".
std::string CsvFileName(const std::string& name);

}  // namespace Lumenar::Web
