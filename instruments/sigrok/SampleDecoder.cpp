// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/SampleDecoder.h"

#include <fmt/format.h>

#include <bit>
#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace Lumenar::Sigrok {
namespace {

constexpr unsigned kBitsOfByte = 8;

bool IsKnown(const sr_analog_encoding& encoding) {
  const unsigned size = encoding.unitsize;
  if (encoding.scale.q == 0 || encoding.offset.q == 0) return false;
  if (encoding.is_float != FALSE) return size == 4 || size == 8;
  return size == 1 || size == 2 || size == 4 || size == 8;
}

bool IsPlain(const sr_analog_encoding& encoding) {
  const sr_rational& scale = encoding.scale;
  return scale.p >= 0 && static_cast<std::uint64_t>(scale.p) == scale.q && encoding.offset.p == 0;
}

/// The bytes of a number as a whole one.
std::uint64_t BitsOf(const std::uint8_t* bytes, unsigned size, bool big_endian) {
  std::uint64_t bits = 0;
  for (unsigned i = 0; i < size; ++i) {
    const unsigned place = big_endian ? size - 1 - i : i;
    bits |= std::uint64_t{bytes[i]} << (kBitsOfByte * place);
  }
  return bits;
}

}  // namespace

SampleDecoder::SampleDecoder(const sr_analog_encoding& encoding) : encoding_(encoding), plain_(IsPlain(encoding)) {
  if (IsKnown(encoding)) return;
  throw std::invalid_argument(fmt::format("{} of {} bytes, scale {}/{}, offset {}/{} cannot be read",
                                          encoding.is_float != FALSE ? "floats" : "whole numbers", encoding.unitsize,
                                          encoding.scale.p, encoding.scale.q, encoding.offset.p, encoding.offset.q));
}

double SampleDecoder::Raw(const void* data, std::size_t index) const noexcept {
  const unsigned size = encoding_.unitsize;
  const std::uint8_t* bytes = static_cast<const std::uint8_t*>(data) + index * size;
  const std::uint64_t bits = BitsOf(bytes, size, encoding_.is_bigendian != FALSE);
  if (encoding_.is_float != FALSE)
    return size == 4 ? double{std::bit_cast<float>(static_cast<std::uint32_t>(bits))} : std::bit_cast<double>(bits);
  if (encoding_.is_signed == FALSE) return static_cast<double>(bits);
  const unsigned above = 64 - kBitsOfByte * size;
  return static_cast<double>(static_cast<std::int64_t>(bits << above) >> above);
}

double SampleDecoder::At(const void* data, std::size_t index) const noexcept {
  const double raw = Raw(data, index);
  if (plain_) return raw;
  const auto quotient = [](double number, const sr_rational& ratio) {
    return number * static_cast<double>(ratio.p) / static_cast<double>(ratio.q);
  };
  return quotient(raw, encoding_.scale) + quotient(1, encoding_.offset);
}

std::optional<double> LastDigit(const sr_analog_encoding& encoding) noexcept {
  if (encoding.is_digits_decimal == FALSE) return std::nullopt;
  const std::string text = fmt::format("1e{}", -int{encoding.digits});
  double count = 0;
  std::from_chars(text.data(), text.data() + text.size(), count);  // the nearest number to the power of ten
  return count;
}

}  // namespace Lumenar::Sigrok
