// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

#include "tests/fuzz/targets.h"

namespace Lumenar::Fuzz {

/// Takes values off the front of an input; what is not there any more reads as zero.
class Input {
 public:
  explicit Input(Bytes bytes) : rest_(bytes) {}

  template <class T>
  T Take() {
    static_assert(std::is_trivially_copyable_v<T> && !std::is_same_v<T, bool>);
    T value{};
    const std::size_t size = std::min(sizeof value, rest_.size());
    if (size > 0) std::memcpy(&value, rest_.data(), size);
    rest_ = rest_.subspan(size);
    return value;
  }

  bool TakeBool() { return (Take<std::uint8_t>() & 1) != 0; }

  /// A text of at most 255 bytes behind its length.
  std::string TakeText() {
    const std::size_t said = Take<std::uint8_t>();  // first: it makes the rest shorter
    const std::size_t size = std::min(said, rest_.size());
    std::string text(rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(size));
    rest_ = rest_.subspan(size);
    return text;
  }

  bool IsEmpty() const { return rest_.empty(); }
  Bytes Rest() const { return rest_; }

 private:
  Bytes rest_;
};

/// A whole input as text.
inline std::string TextOf(Bytes bytes) { return {bytes.begin(), bytes.end()}; }

}  // namespace Lumenar::Fuzz
