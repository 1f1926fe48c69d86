// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/AnswerReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

#include "instruments/scpi/words.h"

namespace Lumenar::Scpi {
namespace {

constexpr std::size_t kLongestHead = 11;  // "#9" and nine digits
constexpr std::size_t kLongestEnd = 2;

bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

}  // namespace

void AnswerReader::Add(std::string_view bytes) {
  bytes_ += bytes;
  DropEndsInFront();
  if (bytes_.size() > largest_ + kLongestHead + kLongestEnd)
    throw std::runtime_error(fmt::format("more than {} bytes (largest)", largest_));
  if (!is_text_ && !IsBlock()) ReadHead();
  if (is_text_) LookForEnd();
  if (IsBlock()) LookForEndOfBlock();
}

/// Where a block has no end that one could wait for, it may come with the next answer.
void AnswerReader::DropEndsInFront() {
  if (end_ != LineEnd::None || is_text_ || IsBlock()) return;
  bytes_.erase(0, std::min(bytes_.find_first_not_of("\r\n"), bytes_.size()));
}

/// "#", the number of digits, the length in as many. Other texts may begin with "#", too: "#H1F" is a number.
void AnswerReader::ReadHead() {
  if (bytes_.empty()) return;
  is_text_ = bytes_[0] != '#' || (bytes_.size() > 1 && !IsDigit(bytes_[1]));
  if (is_text_ || bytes_.size() < 2) return;
  const auto digits = static_cast<std::size_t>(bytes_[1] - '0');
  if (digits == 0)
    throw std::runtime_error("a block of indefinite length (#0), whose end cannot be told: it needs a definite one");
  const std::string_view length = std::string_view(bytes_).substr(2, digits);
  if (!std::all_of(length.begin(), length.end(), IsDigit))
    throw std::runtime_error("a block whose length is no number: " + Quoted(std::string_view(bytes_).substr(0, 11)));
  if (length.size() < digits) return;
  std::from_chars(length.data(), length.data() + digits, length_);
  if (length_ > largest_)
    throw std::runtime_error(fmt::format("a block that announces {} bytes, more than {} (largest)", length_, largest_));
  content_ = 2 + digits;
}

void AnswerReader::LookForEnd() {
  if (end_ == LineEnd::None) return;
  const std::size_t found = bytes_.find('\n', looked_at_);
  looked_at_ = bytes_.size();
  if (found == std::string::npos) return;
  RequireNothingBehind(found + 1);
  content_ = 0;
  length_ = found;
  is_whole_ = true;
}

void AnswerReader::LookForEndOfBlock() {
  const std::size_t end = content_ + length_;
  if (bytes_.size() < end) return;
  if (end_ == LineEnd::None) {
    const std::size_t behind = std::min(bytes_.find_first_not_of("\r\n", end), bytes_.size());
    RequireNothingBehind(behind);
    is_whole_ = true;
    return;
  }
  const std::string_view rest = std::string_view(bytes_).substr(end);
  const std::size_t at_line_feed = !rest.empty() && rest[0] == '\r' ? 1 : 0;
  if (rest.size() <= at_line_feed) return;
  if (rest[at_line_feed] != '\n')
    throw std::runtime_error(fmt::format("a block with more than the {} bytes that it announces", length_));
  RequireNothingBehind(end + at_line_feed + 1);
  is_whole_ = true;
}

void AnswerReader::RequireNothingBehind(std::size_t end) const {
  if (bytes_.size() == end) return;
  throw std::runtime_error("more than one answer, the second begins with " +
                           Quoted(std::string_view(bytes_).substr(end, 40)));
}

bool AnswerReader::EndsWithSilence() const { return end_ == LineEnd::None && is_text_; }

std::string AnswerReader::Progress() const {
  if (bytes_.empty()) return {};
  if (IsBlock() && bytes_.size() >= content_ + length_)
    return fmt::format("all of the {} bytes that its block announces, but no line end", length_);
  if (IsBlock()) return fmt::format("{} of the {} bytes that its block announces", bytes_.size() - content_, length_);
  return fmt::format("{} bytes without a line end", bytes_.size());
}

Answer AnswerReader::Take() {
  if (IsBlock()) {
    bytes_.erase(content_ + length_);
    bytes_.erase(0, content_);
    return {std::move(bytes_), true};
  }
  if (is_whole_) bytes_.erase(length_);
  bytes_.erase(std::min(bytes_.find_last_not_of("\r\n") + 1, bytes_.size()));
  return {std::move(bytes_), false};
}

}  // namespace Lumenar::Scpi
