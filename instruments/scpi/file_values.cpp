// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/file_values.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>

#include "instruments/scpi/file_lines.h"
#include "instruments/scpi/words.h"

namespace Lumenar::Scpi {
namespace {

constexpr double kLargestNumber = std::numeric_limits<double>::max();

[[noreturn]] void Expected(const std::string& what, std::string_view found) {
  throw std::invalid_argument(fmt::format("expected {}, found {}", what, Quoted(found)));
}

std::optional<double> NumberIn(std::string_view text) {
  double number = 0;
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool is_whole = error == std::errc() && end == text.data() + text.size() && std::isfinite(number);
  return is_whole ? std::optional(number) : std::nullopt;
}

template <class Meaning>
struct Word {
  std::string_view text;
  Meaning meaning;
};

/// The meaning of a word of a table, in small or large letters.
template <class Meaning, std::size_t kCount>
Meaning MeaningOf(std::string_view text, const std::array<Word<Meaning>, kCount>& words) {
  std::string list;
  for (const auto& [word, meaning] : words) {
    if (text == word) return meaning;
    list += (list.empty() ? "" : ", ") + std::string(word);
  }
  Expected("one of " + list, text);
}

/// A number with a unit of a table behind it: the product.
template <std::size_t kCount>
double Amount(std::string_view text, const std::array<Word<double>, kCount>& units, const std::string& form) {
  const std::size_t end = std::min(text.find_first_not_of("0123456789.+"), text.size());
  const auto number = NumberIn(Trimmed(text.substr(0, end)));
  const std::string_view unit = Trimmed(text.substr(end));
  for (const auto& [word, factor] : units)
    if (number && unit == word) return *number * factor;
  Expected(form, text);
}

std::vector<std::string_view> WordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  while (!(text = Trimmed(text)).empty()) {
    const std::size_t end = std::min(text.find_first_of(" \t"), text.size());
    words.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return words;
}

Message OneMessage(std::string_view text) {
  const auto messages = MessagesOf(text);
  if (messages.size() != 1) Expected("one message", text);
  return messages.front();
}

void RequireLevelsThatCanBeMadeLinear(const Value::Units& units, std::string_view text) {
  if (!units.is_dB) return;
  const double k = Value::Units_library::Decibel_factor(units);
  if (k == 1) return;
  const std::string why = k < 0 ? "a level over a unit in the denominator" : "a level of a power of a unit";
  throw std::invalid_argument(
      fmt::format("{} is {}, which no operation can make linear and a level again: write the level of the unit alone "
                  "(dBm, dBuV) and say what it is over in the reading's name, as NOISE_PER_HZ",
                  Quoted(text), why));
}

}  // namespace

double PlainNumber(std::string_view text) { return NumberBetween(text, -kLargestNumber, kLargestNumber); }

double NumberBetween(std::string_view text, double lower, double upper) {
  const auto number = NumberIn(text);
  const bool is_any = upper == kLargestNumber;
  if (!number || *number < lower || *number > upper)
    Expected(is_any ? "a number" : fmt::format("a number from {} to {}", lower, upper), text);
  return *number;
}

Milliseconds Duration(std::string_view text, Milliseconds lower, Milliseconds upper) {
  constexpr std::array kUnits = {Word<double>{"s", 1000}, Word<double>{"ms", 1}};
  const std::string form =
      fmt::format("a time from {} to {}, as \"3 s\" or \"500 ms\"", DurationText(lower), DurationText(upper));
  const double time_ms = Amount(text, kUnits, form);
  if (!(time_ms >= static_cast<double>(lower.count()) && time_ms <= static_cast<double>(upper.count())))
    Expected(form, text);
  return Milliseconds(std::llround(time_ms));
}

std::size_t Size(std::string_view text, std::size_t lower, std::size_t upper) {
  constexpr std::array kUnits = {Word<double>{"B", 1}, Word<double>{"kB", 1e3}, Word<double>{"MB", 1e6}};
  const std::string form = fmt::format("a size from {} to {} bytes, as \"16 MB\" or \"64 kB\"", lower, upper);
  const double bytes = Amount(text, kUnits, form);
  if (!(bytes >= static_cast<double>(lower) && bytes <= static_cast<double>(upper))) Expected(form, text);
  return static_cast<std::size_t>(bytes);
}

LineEnd LineEndFromText(std::string_view text) {
  constexpr std::array kWords = {Word<LineEnd>{"lf", LineEnd::Lf}, Word<LineEnd>{"crlf", LineEnd::CrLf},
                                 Word<LineEnd>{"none", LineEnd::None}};
  return MeaningOf(text, kWords);
}

ByteOrder ByteOrderFromText(std::string_view text) {
  constexpr std::array kWords = {Word<ByteOrder>{"big", ByteOrder::Big}, Word<ByteOrder>{"little", ByteOrder::Little}};
  return MeaningOf(text, kWords);
}

BlockForm BlockFormFromText(std::string_view text) {
  using Form = Word<BlockForm>;
  constexpr std::array kWords = {
      Form{"real32", BlockForm::Real32}, Form{"real64", BlockForm::Real64}, Form{"int8", BlockForm::Int8},
      Form{"int16", BlockForm::Int16},   Form{"int32", BlockForm::Int32},   Form{"uint8", BlockForm::Uint8},
      Form{"uint16", BlockForm::Uint16}, Form{"uint32", BlockForm::Uint32}, Form{"ascii", BlockForm::Ascii}};
  return MeaningOf(text, kWords);
}

std::string Question(std::string_view text) {
  const Message message = OneMessage(text);
  if (!message.is_question) Expected("a question, with a \"?\"", text);
  return message.text;
}

std::string QuestionOrNone(std::string_view text) { return text == "none" ? std::string() : Question(text); }

std::string Command(std::string_view text) {
  const std::size_t place = text.find("{}");
  const bool is_one = place != std::string_view::npos && text.find("{}", place + 2) == std::string_view::npos;
  if (!is_one) Expected("a command with {} once, where the number goes", text);
  const Message message = OneMessage(text);
  if (message.is_question) Expected("a command without \"?\"", text);
  return message.text;
}

Figure FigureFromText(std::string_view text) {
  const auto number = NumberIn(text);
  return number ? Figure{*number, {}} : Figure{0, Question(text)};
}

std::vector<Figure> FiguresFromText(std::string_view text) {
  std::vector<std::string> parts;
  const bool are_numbers = NumberIn(text.substr(0, text.find_first_of(" \t"))).has_value();
  for (const std::string_view word : WordsOf(text)) {
    const bool begins = parts.empty() || are_numbers || word[0] == ':' || word[0] == '*';
    if (begins) parts.emplace_back();
    parts.back() += (begins ? "" : " ") + std::string(word);
  }
  if (parts.empty() || parts.size() > 2) Expected("first and last point, or the distance of two", text);
  std::vector<Figure> figures;
  for (const std::string& part : parts) figures.push_back(FigureFromText(part));
  return figures;
}

Value::Units ReadingUnit(std::string_view text) {
  const Value::Units units = Value::Units_from_text(text);
  RequireLevelsThatCanBeMadeLinear(units, text);
  return units;
}

std::pair<Value::Units_list, double> AxisUnit(std::string_view text) {
  const Value::Units units = Value::Units_from_text(text);
  const bool is_one = !units.is_dB && units.slots[0].exponent == 1 && units.slots[1].unit == Value::U_None;
  if (!is_one) Expected("one unit, as Hz, MHz or s", text);
  return {units.slots[0].unit, std::pow(Value::Units_library::Get_unit_base(units), units.base_power)};
}

std::pair<double, double> Limits(std::string_view text) {
  const auto words = WordsOf(text);
  if (words.size() != 2) Expected("two numbers, LOWER UPPER", text);
  const std::pair limits(PlainNumber(words[0]), PlainNumber(words[1]));
  if (limits.first > limits.second) Expected("LOWER UPPER, in this order", text);
  return limits;
}

}  // namespace Lumenar::Scpi
