// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/ErrorRule.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace Lumenar::Sigrok {
namespace {

constexpr std::string_view kSpaces = " \t";
constexpr double kPpmOfPercent = 10000;

std::string_view WithoutSpaces(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kSpaces);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpaces) - first + 1);
}

/// Takes a number off the front of a text; a sign of its exponent belongs to it.
double TakeNumber(std::string_view& rest) {
  double number = 0;
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  if (error != std::errc() || !std::isfinite(number) || number < 0)
    throw std::invalid_argument(fmt::format("expected a rule like \"0.5 % + 0.003\", found \"{}\"", rest));
  rest = WithoutSpaces(rest.substr(static_cast<std::size_t>(end - rest.data())));
  return number;
}

bool TakeWord(std::string_view& rest, std::string_view word) {
  if (rest.substr(0, word.size()) != word) return false;
  rest = WithoutSpaces(rest.substr(word.size()));
  return true;
}

}  // namespace

double ErrorRule::Of(double reading) const noexcept {
  return std::isfinite(reading) ? std::abs(reading) * percent / 100 + absolute : 0;
}

ErrorRule ParseErrorRule(std::string_view text) {
  ErrorRule rule;
  std::string_view rest = WithoutSpaces(text);
  do {
    const double number = TakeNumber(rest);
    if (TakeWord(rest, "%")) {
      rule.percent += number;
    } else if (TakeWord(rest, "ppm")) {
      rule.percent += number / kPpmOfPercent;
    } else {
      rule.absolute += number;
    }
  } while (TakeWord(rest, "+"));
  if (!rest.empty()) throw std::invalid_argument(fmt::format("\"{}\" is none of a rule like \"0.5 % + 0.003\"", rest));
  return rule;
}

std::vector<NamedErrorRule> ParseErrorRules(std::string_view text) {
  std::vector<NamedErrorRule> rules;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(';'), text.size());
    const std::string_view item = WithoutSpaces(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (item.empty()) continue;
    const std::size_t equals = item.find('=');
    const bool named = equals != std::string_view::npos;
    rules.push_back({std::string(named ? WithoutSpaces(item.substr(0, equals)) : std::string_view()),
                     ParseErrorRule(named ? item.substr(equals + 1) : item)});
  }
  return rules;
}

const ErrorRule* FindErrorRule(const std::vector<NamedErrorRule>& rules, std::string_view reading) noexcept {
  const ErrorRule* general = nullptr;
  for (const NamedErrorRule& named : rules) {
    if (named.reading == reading) return &named.rule;
    if (named.reading.empty()) general = &named.rule;
  }
  return general;
}

}  // namespace Lumenar::Sigrok
