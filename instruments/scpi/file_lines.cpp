// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/file_lines.h"

#include <stdexcept>

#include "instruments/scpi/words.h"

namespace Lumenar::Scpi {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsKeyLetter(char c) { return (c >= 'a' && c <= 'z') || c == '_'; }

/// Follows a text byte by byte and knows whether it is within quotation marks.
class Quotation {
 public:
  /// Whether this byte stands outside of them; the marks themselves do not.
  bool IsOutside(char c) {
    if (mark_ != 0) {
      if (c == mark_) mark_ = 0;
      return false;
    }
    if (c == '"' || c == '\'') mark_ = c;
    return mark_ == 0;
  }

  bool IsOpen() const { return mark_ != 0; }

 private:
  char mark_ = 0;
};

bool StandsFree(std::string_view line, std::size_t at) {
  return (at == 0 || IsBlank(line[at - 1])) && (at == 0 || at + 1 == line.size() || IsBlank(line[at + 1]));
}

/// Where the value of a key that begins at `at` begins; 0 when no key does.
std::size_t ValueBehindKey(std::string_view line, std::size_t at) {
  if (at > 0 && !IsBlank(line[at - 1]) && line[at - 1] != ';') return 0;
  std::size_t end = at;
  while (end < line.size() && IsKeyLetter(line[end])) ++end;
  std::size_t equals = end;
  while (equals < line.size() && IsBlank(line[equals])) ++equals;
  const bool is_key = end > at && equals < line.size() && line[equals] == '=';
  return is_key ? equals + 1 : 0;
}

std::string_view KeyAt(std::string_view line, std::size_t at) {
  std::size_t end = at;
  while (end < line.size() && IsKeyLetter(line[end])) ++end;
  return line.substr(at, end - at);
}

/// A value without the ";" that parts it from the next key.
std::string_view Value(std::string_view text) {
  text = Trimmed(text);
  if (!text.empty() && text.back() == ';') text.remove_suffix(1);
  return Trimmed(text);
}

Message MessageOf(std::string_view text) {
  Quotation quotation;
  Message message{std::string(text), false};
  for (const char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80)
      throw std::invalid_argument("a message with a character that is no ASCII: " + Quoted(text));
    message.is_question |= quotation.IsOutside(c) && c == '?';
  }
  return message;
}

}  // namespace

std::string_view WithoutComment(std::string_view line) {
  line = Trimmed(line);
  Quotation quotation;
  for (std::size_t at = 0; at < line.size(); ++at) {
    const auto code = static_cast<unsigned char>(line[at]);
    if (quotation.IsOutside(line[at]) && line[at] == '#' && StandsFree(line, at)) return Trimmed(line.substr(0, at));
    if ((code < 0x20 && !IsBlank(line[at])) || code == 0x7f)
      throw std::invalid_argument("a character that is not printable");
  }
  if (quotation.IsOpen()) throw std::invalid_argument("a quotation mark is not closed");
  return Trimmed(line);
}

std::vector<FileEntry> EntriesOf(std::string_view line) {
  std::vector<FileEntry> entries;
  Quotation quotation;
  for (std::size_t at = 0; at < line.size(); ++at) {
    const std::size_t value = quotation.IsOutside(line[at]) ? ValueBehindKey(line, at) : 0;
    if (value == 0 && entries.empty()) throw std::invalid_argument("expected KEY = VALUE, or [trace NAME]");
    if (value == 0) continue;
    if (!entries.empty()) entries.back().value = line.substr(0, at).substr(entries.back().value.data() - line.data());
    entries.push_back({KeyAt(line, at), line.substr(value)});
    at = value - 1;
  }
  for (FileEntry& entry : entries) entry.value = Value(entry.value);
  return entries;
}

std::vector<Message> MessagesOf(std::string_view value) {
  std::vector<Message> messages;
  Quotation quotation;
  std::size_t begin = 0;
  for (std::size_t at = 0; at <= value.size(); ++at) {
    const bool is_end = at == value.size();
    const bool parts = !is_end && quotation.IsOutside(value[at]) && value[at] == ';' && StandsFree(value, at);
    if (!is_end && !parts) continue;
    const std::string_view text = Trimmed(value.substr(begin, at - begin));
    if (!text.empty()) messages.push_back(MessageOf(text));
    begin = at + 1;
  }
  return messages;
}

}  // namespace Lumenar::Scpi
