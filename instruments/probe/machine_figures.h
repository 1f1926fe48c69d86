// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace Lumenar::Probe {

/// A measured number with its error band, relative to the value.
struct Figure {
  double value = 0;
  double minus_err = 0;
  double plus_err = 0;
};

/// Processor time since the machine started, over all processors, in clock ticks.
struct CpuTimes {
  std::int64_t busy = 0;
  std::int64_t total = 0;
};

/// The first line of /proc/stat. Waiting for input and output counts as idle. Nothing for any other text.
std::optional<CpuTimes> ParseCpuTimes(std::string_view stat);

/// The load between two moments in percent. The kernel counts whole ticks, so the busy time of the interval is known to
/// one tick either way: the band is one tick in the ticks of the interval. Nothing when no tick has passed.
std::optional<Figure> CpuLoad(const CpuTimes& before, const CpuTimes& after);

/// The free memory that /proc/meminfo tells, in bytes. Nothing for any other text.
std::optional<double> ParseMemoryFree(std::string_view meminfo);

/// The last of several readings of one quantity; the band reaches to the smallest and the greatest of them.
class Spread {
 public:
  void Add(double value);

  /// Nothing when there was no reading since the last call.
  std::optional<Figure> Take();

 private:
  std::optional<Figure> figure_;  // the errors are the extremes
};

/// A small file's text; nothing when it cannot be read.
std::optional<std::string> FileText(const std::filesystem::path& path);

}  // namespace Lumenar::Probe
