// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Lumenar::Recording {

/// SHA-256 of bytes that come in pieces.
/// Errors   std::runtime_error where the cryptography library refuses.
class Digest {
 public:
  Digest();
  ~Digest();
  Digest(const Digest&) = delete;
  Digest& operator=(const Digest&) = delete;

  void Add(std::string_view bytes);

  /// Of all bytes so far, as 64 hexadecimal digits.
  std::string Text() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// CRC-32 (that of zlib and Ethernet), as 8 hexadecimal digits.
std::string CrcText(std::string_view bytes);

}  // namespace Lumenar::Recording
