// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <cstdint>
#include <optional>

namespace Lumenar::Web {

/// In which form a client wants the numbers of a trace.
enum class Scale : std::uint8_t {
  AsIs,     ///< as they are published
  Decibel,  ///< in decibels, where the unit allows it
  Linear,   ///< out of decibels, where the unit allows it
};

/// The most columns that a picture may have.
inline constexpr std::uint32_t kMostColumns = 8192;

/// What a client wants to see of a trace.
struct View {
  std::uint32_t columns = 0;   ///< its width in pixels, at most kMostColumns; 0 for what is no trace
  std::optional<double> from;  ///< range on the trace's axis, in its unit; nothing: from its beginning, to its end
  std::optional<double> to;
  Scale scale = Scale::AsIs;
  friend bool operator==(const View&, const View&) = default;
  friend std::partial_ordering operator<=>(const View&, const View&) = default;
};

}  // namespace Lumenar::Web
