// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Lumenar::Scpi {

/// What ends a message, either way. With None a text ends when the device falls silent.
enum class LineEnd { Lf, CrLf, None };

/// One answer of a device.
struct Answer {
  std::string bytes;      ///< a text without its end, or what a block holds
  bool is_block = false;  ///< came as a block of definite length, "#3100...", as IEEE 488.2 has it
};

/// Puts one answer together from the pieces in which it comes. A line feed ends a text; a carriage return before it
/// belongs to the end. A block has the length that it announces, and its end behind that.
///
/// Memory is taken for bytes that have come, never for a length that was announced.
/// Errors   std::runtime_error in one line for what can be no answer: the connection is of no use any more then.
/// Threads  one.
class AnswerReader {
 public:
  /// `largest`: bytes of one answer.
  AnswerReader(LineEnd end, std::size_t largest) : end_(end), largest_(largest) {}

  /// Errors   also for bytes behind the end.
  void Add(std::string_view bytes);

  /// Whether all of it has come.
  bool IsWhole() const { return is_whole_; }

  /// Whether silence would be its end: of a text, where LineEnd::None.
  bool EndsWithSilence() const;

  /// How far an answer has come that is not whole, for a message; empty when nothing of it has.
  std::string Progress() const;

  /// The answer, once it is whole or has ended with silence; this is of no use then.
  Answer Take();

 private:
  void DropEndsInFront();
  void ReadHead();
  void LookForEnd();
  void LookForEndOfBlock();
  void RequireNothingBehind(std::size_t end) const;
  bool IsBlock() const { return content_ > 0; }

  const LineEnd end_;
  const std::size_t largest_;
  std::string bytes_;
  std::size_t looked_at_ = 0;  ///< for a line feed
  std::size_t content_ = 0;    ///< where that of a block begins; 0 as long as none is known
  std::size_t length_ = 0;     ///< of the content
  bool is_text_ = false;
  bool is_whole_ = false;
};

}  // namespace Lumenar::Scpi
