// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace Lumenar::Web {

/// What stands before the numbers of a binary frame; docs/web.md has the table.
inline constexpr std::size_t kFrameHead = 96;
using FrameHead = std::array<unsigned char, kFrameHead>;

/// The longest unit, in bytes, that a head has room for.
inline constexpr std::size_t kUnitRoom = 16;

/// A picture of one sample of a trace, as a frame tells of it.
struct FrameFacts {
  std::uint32_t stream = 0;
  bool whole = true;  ///< its points themselves; else a minimum and a maximum for each column
  std::uint32_t count = 0;
  std::uint32_t skipped = 0;  ///< samples that the stream passed over, in all
  std::uint32_t points = 0;   ///< of the trace
  double time_s = 0;          ///< of capture, since the epoch
  double x = 0;
  double x_step = 0;
  double trace_x = 0;
  double trace_step = 0;
  std::string y_unit;  ///< left out where it is longer than kUnitRoom
  std::string x_unit;
};

/// The head, little-endian.      Threads  pure.
FrameHead HeadOf(const FrameFacts& facts);

}  // namespace Lumenar::Web
