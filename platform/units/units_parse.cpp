// SPDX-License-Identifier: Apache-2.0
#include "platform/units/Units.h"

#include "platform/units/exceptions.h"
#include "platform/units/prefixes.h"
#include "platform/units/unit_table.h"

#include <fmt/format.h>

#include <charconv>
#include <limits>
#include <optional>
#include <span>
#include <stdexcept>
#include <vector>

namespace Lumenar::Value {
namespace {

[[noreturn]] void Refuse(std::string_view text, std::string_view part, std::string_view why) {
  throw std::invalid_argument(fmt::format("unit \"{}\": \"{}\" {}", text, part, why));
}

/// Other spellings, replaced before a text is read.
struct Spelling {
  std::string_view written;
  std::string_view read;
};

constexpr std::array kSpellings = {
    Spelling{"\u00B5", "u"},   Spelling{"\u03BC", "u"}, Spelling{"\u03A9", "ohm"}, Spelling{"\u2126", "ohm"},
    Spelling{"\u00B0", "deg"}, Spelling{"\u00B7", "*"}, Spelling{"\u22C5", "*"},   Spelling{"\u00B2", "^2"},
    Spelling{"\u00B3", "^3"},  Spelling{".", "*"},      Spelling{"%RH", "%"},
};

std::string Plain_spelling(std::string_view text) {
  std::string plain(text);
  for (const Spelling& spelling : kSpellings) {
    for (std::size_t at = 0; (at = plain.find(spelling.written, at)) != std::string::npos; at += spelling.read.size()) {
      plain.replace(at, spelling.written.size(), spelling.read);
    }
  }
  return plain;
}

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  return first == std::string_view::npos ? std::string_view{}
                                         : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return lower;
}

std::optional<std::int64_t> Whole_number(std::string_view text) {
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
  }
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc{} && end == text.data() + text.size();
  return whole && number >= -(std::int64_t{1} << 32) && number <= (std::int64_t{1} << 32) ? std::optional(number)
                                                                                          : std::nullopt;
}

/// A symbol or name with its prefix: the unit, and the power of the base that the prefix stands for.
struct Named_unit {
  Units_list unit;
  std::int64_t power;
  bool binary_prefix;
};

bool Is_name_of(const Unit_row& row, std::string_view lower) {
  std::string_view names = row.names;
  while (!names.empty()) {
    const std::string_view name = names.substr(0, names.find(' '));
    const bool starts = lower.substr(0, name.size()) == name;
    const std::string_view ending = starts ? lower.substr(name.size()) : std::string_view{};
    if (starts && (ending.empty() || ending == "s")) {
      return true;
    }
    names.remove_prefix(std::min(names.size(), name.size() + 1));
  }
  return false;
}

std::optional<Named_unit> Without_prefix(std::string_view word, std::string_view lower) {
  for (const Unit_row& row : Unit_table()) {
    if (row.stem == word || Is_name_of(row, lower)) {
      return Named_unit{row.unit, row.stem_power, false};
    }
  }
  return std::nullopt;
}

std::optional<Named_unit> With_prefix(std::string_view word, std::string_view lower, std::span<const Prefix> prefixes,
                                      bool binary) {
  for (const Unit_row& row : Unit_table()) {
    if (row.prefixes == Prefixes::None || (binary && row.prefixes != Prefixes::Binary)) {
      continue;
    }
    for (const Prefix& prefix : prefixes) {
      const bool symbol = word.substr(0, prefix.symbol.size()) == prefix.symbol &&
                          word.substr(std::min(word.size(), prefix.symbol.size())) == row.stem;
      const bool name = lower.substr(0, prefix.name.size()) == prefix.name &&
                        Is_name_of(row, lower.substr(std::min(lower.size(), prefix.name.size())));
      if (symbol || name) {
        return Named_unit{row.unit, std::int64_t{prefix.power} + row.stem_power, binary};
      }
    }
  }
  return std::nullopt;
}

/// A symbol alone comes first: "cd" is the candela, "Pa" the pascal, "T" the tesla.
std::optional<Named_unit> Find_word(std::string_view word) {
  const std::string lower = Lower(word);
  if (auto found = Without_prefix(word, lower)) {
    return found;
  }
  if (auto found = With_prefix(word, lower, kDecimalPrefixes, false)) {
    return found;
  }
  return With_prefix(word, lower, kBinaryPrefixes, true);
}

/// Reads the factors of a linear unit: "10^-4", "mV^2", "/ohm", "*s".
class Reader {
 public:
  /// `typed` is what was asked for, for the refusal; `text` the part of it that is read, in plain spelling.
  Reader(std::string_view typed, std::string_view text) : typed_(typed), text_(text) {}

  Units Read() {
    while (at_ < text_.size()) {
      Read_operator();
      Read_factor();
    }
    return Result();
  }

 private:
  void Read_operator() {
    std::string_view signs = text_.substr(at_);
    signs = signs.substr(0, std::min(signs.size(), signs.find_first_not_of(" \t\r\n*/")));
    at_ += signs.size();
    const std::string_view sign = Trim(signs);
    const bool starts = factors_ == 0;
    if (sign.size() > 1 || (starts && !sign.empty() && sign != Divide_sign) || at_ == text_.size()) {
      Refuse(typed_, sign.empty() ? typed_ : sign, "is not understood");
    }
    inverse_ = sign == Divide_sign;
    ++factors_;
  }

  void Read_factor() {
    std::string_view factor = text_.substr(at_);
    factor = factor.substr(0, factor.find_first_of(" \t\r\n*/"));
    at_ += factor.size();
    const std::size_t caret = factor.find(Pow_sign);
    const std::string_view word = factor.substr(0, caret);
    std::int64_t exponent = 1;
    if (caret != std::string_view::npos) {
      const auto number = Whole_number(factor.substr(caret + Pow_sign.size()));
      if (!number) {
        Refuse(typed_, factor, "has no whole exponent of 32 bits");
      }
      exponent = *number;
    }
    Add(factor, word, inverse_ ? -exponent : exponent, caret == std::string_view::npos);
  }

  void Add(std::string_view factor, std::string_view word, std::int64_t exponent, bool is_bare) {
    if (word == "1" && is_bare) {
      return;
    }
    if (word == "10" || word == "2") {
      (word == "2" ? power_of_2_ : power_of_10_) += exponent;
      return;
    }
    const auto unit = Find_word(word);
    if (!unit) {
      const bool is_root = word.substr(0, 4) == "sqrt";
      Refuse(typed_, factor, is_root ? "is a root: exponents are whole numbers" : "is not understood");
    }
    (unit->binary_prefix ? power_of_2_ : power_of_10_) += unit->power * exponent;
    slots_.push_back({unit->unit, Narrow(factor, exponent)});
  }

  std::int32_t Narrow(std::string_view part, std::int64_t number) const {
    using Limits = std::numeric_limits<std::int32_t>;
    if (number < Limits::min() || number > Limits::max()) {
      Refuse(typed_, part, "is outside 32 bits");
    }
    return static_cast<std::int32_t>(number);
  }

  Units Result() const {
    Units units;
    if (slots_.size() > kUnitSlots) {
      Refuse(typed_, typed_, "has more than five factors");
    }
    std::copy(slots_.begin(), slots_.end(), units.slots.begin());
    units = Arrange(units);
    const bool binary = Units_library::Get_unit_base(units) == 2.0;
    if ((binary ? power_of_10_ : power_of_2_) != 0) {
      Refuse(typed_, typed_, binary ? "needs a binary prefix (Ki, Mi, ...)" : "takes decimal prefixes only");
    }
    units.base_power = Narrow(text_, binary ? power_of_2_ : power_of_10_);
    return units;
  }

  Units Arrange(const Units& units) const {
    try {
      return Units_library::Arrange_tuple(units);
    } catch (const OperationNotValid&) {
      Refuse(typed_, typed_, "has an exponent outside 32 bits");
    }
  }

  std::string_view typed_;
  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t factors_ = 0;
  bool inverse_ = false;
  std::int64_t power_of_10_ = 0;
  std::int64_t power_of_2_ = 0;
  std::vector<Unit_slot> slots_;
};

/// What stands under the logarithm of a level: "m" and "m/Hz" of "dBm" and "dBm/Hz" mean the milliwatt; "c" and "i" of
/// "dBc" and "dBi", levels against a carrier and against an antenna that radiates alike everywhere, a plain ratio.
std::string Level_unit(std::string_view behind_dB) {
  const std::string_view unit = Trim(behind_dB);
  if (unit.size() >= 2 && unit.front() == '(' && unit.back() == ')') {
    return std::string(Trim(unit.substr(1, unit.size() - 2)));
  }
  const bool is_letter = behind_dB == unit && !unit.empty() && (unit.size() == 1 || unit[1] == '/');
  if (is_letter && unit[0] == 'm') {
    return fmt::format("mW{}", unit.substr(1));
  }
  if (is_letter && (unit[0] == 'c' || unit[0] == 'i')) {
    return std::string(unit.substr(1));
  }
  return std::string(unit);
}

}  // namespace

Units Units_from_text(std::string_view text) {
  const std::string plain = Plain_spelling(Trim(text));
  const std::string_view all = plain;
  if (all.substr(0, 2) != "dB") {
    return Reader(text, all).Read();
  }
  const std::string level_unit = Level_unit(all.substr(2));
  Units units = Reader(text, level_unit).Read();
  units.is_dB = true;
  return units;
}

}  // namespace Lumenar::Value
