// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/numbers.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "instruments/scpi/words.h"

namespace Lumenar::Scpi {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// SCPI's numbers that mean something else, also where they come in single precision.
double Meant(double number) {
  if (!(std::abs(number) < 1e38)) return number;
  const auto size = static_cast<float>(std::abs(number));
  if (size == 9.91e37f) return kNaN;
  if (size == 9.9e37f) return std::copysign(kInfinity, number);
  return number;
}

[[noreturn]] void RefuseNumber(std::string_view text) {
  throw std::runtime_error(Quoted(text) + ", which is no number");
}

/// Of numbers outside the range of double: too large ones are infinite, too small ones 0.
double OutOfRange(std::string_view text) {
  const bool is_small = text.find("e-") != std::string_view::npos || text.find("E-") != std::string_view::npos;
  const double size = is_small ? 0 : kInfinity;
  return text.front() == '-' ? -size : size;
}

bool SameWord(std::string_view text, std::string_view word) {
  return std::equal(text.begin(), text.end(), word.begin(), word.end(),
                    [](char a, char b) { return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b; });
}

/// Hands the numbers of a text to `take`, one by one.
template <class Take>
void ForEachInText(std::string_view text, Take take) {
  for (bool is_last = false; !is_last;) {
    const std::size_t comma = text.find(',');
    is_last = comma == std::string_view::npos;
    take(NumberFromText(text.substr(0, comma)));
    text.remove_prefix(is_last ? text.size() : comma + 1);
  }
}

template <class Number>
Number InOwnOrder(const char* bytes, bool is_reversed) {
  std::array<char, sizeof(Number)> own;
  std::memcpy(own.data(), bytes, sizeof(Number));
  if (is_reversed) std::reverse(own.begin(), own.end());
  return std::bit_cast<Number>(own);
}

void RequireWholeNumbers(std::string_view block, std::size_t size_of_one) {
  if (block.size() % size_of_one == 0) return;
  throw std::runtime_error(
      fmt::format("a block of {} bytes, no multiple of the {} of a number", block.size(), size_of_one));
}

template <class Number, class Take>
void ForEachInBlock(std::string_view bytes, bool is_reversed, Take take) {
  RequireWholeNumbers(bytes, sizeof(Number));
  for (std::size_t at = 0; at < bytes.size(); at += sizeof(Number)) {
    const auto number = static_cast<double>(InOwnOrder<Number>(bytes.data() + at, is_reversed));
    take(std::is_floating_point_v<Number> ? Meant(number) : number);
  }
}

bool IsReversed(ByteOrder order) { return (order == ByteOrder::Big) != (std::endian::native == std::endian::big); }

template <class Take>
void ForEachNumber(const Answer& answer, const NumberForm& form, Take take) {
  if (!answer.is_block || form.block == BlockForm::Ascii) return ForEachInText(answer.bytes, take);
  const bool is_reversed = IsReversed(form.order);
  const std::string_view bytes = answer.bytes;
  switch (form.block) {
    case BlockForm::Real32: return ForEachInBlock<float>(bytes, is_reversed, take);
    case BlockForm::Real64: return ForEachInBlock<double>(bytes, is_reversed, take);
    case BlockForm::Int8: return ForEachInBlock<std::int8_t>(bytes, is_reversed, take);
    case BlockForm::Int16: return ForEachInBlock<std::int16_t>(bytes, is_reversed, take);
    case BlockForm::Int32: return ForEachInBlock<std::int32_t>(bytes, is_reversed, take);
    case BlockForm::Uint8: return ForEachInBlock<std::uint8_t>(bytes, is_reversed, take);
    case BlockForm::Uint16: return ForEachInBlock<std::uint16_t>(bytes, is_reversed, take);
    case BlockForm::Uint32: return ForEachInBlock<std::uint32_t>(bytes, is_reversed, take);
    case BlockForm::Ascii: break;
  }
}

/// Bytes of a number in a block.
std::size_t SizeOf(BlockForm form) {
  switch (form) {
    case BlockForm::Real64: return sizeof(double);
    case BlockForm::Real32:
    case BlockForm::Int32:
    case BlockForm::Uint32: return sizeof(float);
    case BlockForm::Int16:
    case BlockForm::Uint16: return sizeof(std::int16_t);
    case BlockForm::Int8:
    case BlockForm::Uint8:
    case BlockForm::Ascii: break;
  }
  return 1;
}

/// How many numbers an answer has, where it can be read.
std::size_t CountIn(const Answer& answer, BlockForm form) {
  const std::string& bytes = answer.bytes;
  if (answer.is_block && form != BlockForm::Ascii) return bytes.size() / SizeOf(form);
  return 1 + static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), ','));
}

/// The usual sweep, single precision as it is: in plain loops, which compilers make fast, without the way through double.
std::vector<float> SinglePrecision(std::string_view bytes, bool is_reversed) {
  constexpr float kNeedsALook = 9.8e37f;  // what means something else is larger; so are NaN and infinity
  RequireWholeNumbers(bytes, sizeof(float));
  std::vector<std::uint32_t> words(bytes.size() / sizeof(float));
  if (!words.empty()) std::memcpy(words.data(), bytes.data(), bytes.size());
  if (is_reversed)
    for (std::uint32_t& word : words) word = __builtin_bswap32(word);
  std::vector<float> samples(words.size());
  for (std::size_t i = 0; i < words.size(); ++i) samples[i] = std::bit_cast<float>(words[i]);
  for (float& sample : samples)
    if (!(std::abs(sample) < kNeedsALook)) sample = static_cast<float>(Meant(sample));
  return samples;
}

/// As a sample: infinite where a float has no room, which a plain conversion does not promise.
float SampleOf(double number) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  if (std::abs(number) > kLargest) return static_cast<float>(std::copysign(kInfinity, number));
  return static_cast<float>(number);
}

}  // namespace

double NumberFromText(std::string_view text) {
  const std::string_view whole = Trimmed(text);
  std::string_view digits = whole;
  if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
  if (SameWord(digits, "NINF")) return -kInfinity;
  double number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (digits.empty() || end != digits.data() + digits.size() || error == std::errc::invalid_argument)
    RefuseNumber(whole);
  return error == std::errc::result_out_of_range ? OutOfRange(digits) : Meant(number);
}

std::vector<float> SamplesOf(const Answer& answer, const NumberForm& form, const Scaling& scaling) {
  const std::size_t count = CountIn(answer, form.block);
  if (count > kMostPoints)
    throw std::runtime_error(fmt::format("a trace of {} points, more than {}", count, kMostPoints));
  std::vector<float> samples;
  if (answer.is_block && form.block == BlockForm::Real32 && scaling.IsNone()) {
    samples = SinglePrecision(answer.bytes, IsReversed(form.order));
  } else {
    samples.reserve(count);
    ForEachNumber(answer, form, [&](double number) { samples.push_back(SampleOf(scaling.Of(number))); });
  }
  if (samples.empty()) throw std::runtime_error("a block without numbers");
  return samples;
}

double NumberOf(const Answer& answer, const NumberForm& form) {
  double number = 0;
  std::size_t count = 0;
  ForEachNumber(answer, form, [&](double each) {
    number = each;
    ++count;
  });
  if (count != 1) throw std::runtime_error(fmt::format("{} numbers where one is expected", count));
  return number;
}

}  // namespace Lumenar::Scpi
