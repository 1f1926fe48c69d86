// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Lumenar::Replay {

/// One line of a text, without its end.
struct Line {
  std::size_t number;  ///< from 1
  std::string_view text;
};

/// Takes a text apart into lines that end in LF or CR LF; a byte-order mark in front is skipped.
class LineReader {
 public:
  explicit LineReader(std::string_view text);

  /// Nothing at the end of the text.
  std::optional<Line> Next();

  /// The number of the line that Next returned last; 1 before.
  std::size_t Number() const noexcept { return number_ == 0 ? 1 : number_; }

 private:
  std::string_view rest_;
  std::size_t number_ = 0;
};

/// Without blanks and tabs at both ends.
std::string_view Trim(std::string_view text) noexcept;

/// Takes the first field, up to `separator` or the end, off a text, trimmed. Nothing when the text is used up; a
/// separator at the end is followed by an empty field.
std::optional<std::string_view> TakeField(std::optional<std::string_view>& rest, char separator);

/// Takes the first word, between blanks and tabs, off a text; empty when there is none.
std::string_view TakeWord(std::string_view& rest) noexcept;

/// A part of a file for a message: in quotation marks, on one line, not too long.
std::string Quoted(std::string_view text);

/// A finite decimal number; a sign may stand in front.
/// Errors   FormatError.
double ParseNumber(std::string_view field, std::size_t line);

/// A number as a sample; NaN and infinity are numbers here ("nan", "inf", "-inf").
/// Errors   FormatError.
float ParseSample(std::string_view field, std::size_t line);

/// A computed number as a sample.
/// Errors   FormatError when it is finite and too large for one.
float SampleOf(double number, std::size_t line);

}  // namespace Lumenar::Replay
