// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/LineReader.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "instruments/replay/Recording.h"

namespace Lumenar::Replay {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t";
constexpr std::size_t kLongestQuote = 40;

/// A number of any kind, NaN and infinity too.
double ParseAny(std::string_view field, std::size_t line) {
  std::string_view digits = field;
  if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-')
    digits.remove_prefix(1);  // from_chars knows no plus sign
  double number = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error == std::errc::result_out_of_range) throw FormatError(line, Quoted(field) + " is out of range");
  if (error != std::errc() || stop != end) throw FormatError(line, Quoted(field) + " is not a number");
  return number;
}

}  // namespace

LineReader::LineReader(std::string_view text) : rest_(text) {
  if (rest_.substr(0, kByteOrderMark.size()) == kByteOrderMark) rest_.remove_prefix(kByteOrderMark.size());
}

std::optional<Line> LineReader::Next() {
  if (rest_.empty()) return std::nullopt;
  const std::size_t end = rest_.find('\n');
  std::string_view text = rest_.substr(0, end);
  rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
  if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
  return Line{++number_, text};
}

std::string_view Trim(std::string_view text) noexcept {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<std::string_view> TakeField(std::optional<std::string_view>& rest, char separator) {
  if (!rest) return std::nullopt;
  const std::size_t end = rest->find(separator);
  const std::string_view field = Trim(rest->substr(0, end));
  if (end == std::string_view::npos) {
    rest.reset();
  } else {
    rest->remove_prefix(end + 1);
  }
  return field;
}

std::string_view TakeWord(std::string_view& rest) noexcept {
  rest = Trim(rest);
  const std::string_view word = rest.substr(0, rest.find_first_of(kBlanks));
  rest.remove_prefix(word.size());
  return word;
}

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text.substr(0, kLongestQuote)) quoted += c >= ' ' && c <= '~' ? c : '?';
  if (text.size() > kLongestQuote) quoted += "...";
  return quoted + '"';
}

double ParseNumber(std::string_view field, std::size_t line) {
  const double number = ParseAny(field, line);
  if (!std::isfinite(number)) throw FormatError(line, Quoted(field) + " is not a finite number");
  return number;
}

float ParseSample(std::string_view field, std::size_t line) { return SampleOf(ParseAny(field, line), line); }

float SampleOf(double number, std::size_t line) {
  if (std::isfinite(number) && std::abs(number) > std::numeric_limits<float>::max()) {
    throw FormatError(line, "a level is too large for a sample");
  }
  return static_cast<float>(number);
}

}  // namespace Lumenar::Replay
