// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libsigrok/libsigrok.h>

#include <cstddef>
#include <optional>

namespace Lumenar::Sigrok {

/// Numbers of a packet, read as its encoding says: whole ones of 1, 2, 4 or 8 bytes, with or without sign, and floats
/// of 4 or 8, in either byte order.
/// Numbers  raw * scale + offset, each step in double: whole numbers beyond 2^53 are rounded, and raw * p / q twice.
/// Threads  pure.
class SampleDecoder {
 public:
  /// Errors   std::invalid_argument for an encoding that there is not.
  explicit SampleDecoder(const sr_analog_encoding& encoding);

  /// Number `index` of the packet's data.
  double At(const void* data, std::size_t index) const noexcept;

 private:
  double Raw(const void* data, std::size_t index) const noexcept;

  const sr_analog_encoding encoding_;
  const bool plain_;  // scale 1, offset 0
};

/// One count of the last digit that the packet's numbers have, in their unit; nothing where digits are not decimal.
std::optional<double> LastDigit(const sr_analog_encoding& encoding) noexcept;

}  // namespace Lumenar::Sigrok
