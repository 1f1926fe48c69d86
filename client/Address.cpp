// SPDX-License-Identifier: Apache-2.0
#include "client/Address.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

#include "client/Error.h"
#include "client/Nearest.h"
#include "client/Text.h"
#include "client/Wildcard.h"
#include "platform/orb/names.h"

namespace Lumenar::Client {
namespace {

constexpr std::size_t kMostNearNames = 3;

// The forms in which a reading can be named, the fullest first.
using Form = std::string (*)(const ReadingName&);
constexpr Form kForms[] = {
    [](const ReadingName& name) { return name.engine + '/' + name.item; },
    [](const ReadingName& name) { return std::string(Corvanta::NameWithoutInstance(name.engine)) + '/' + name.item; },
    [](const ReadingName& name) { return name.item; },
};

// Whether a typed text is a name.
using Compare = bool (*)(std::string_view text, std::string_view name);
constexpr Compare kComparisons[] = {
    [](std::string_view text, std::string_view name) { return text == name; },
    SameLetters,
};

std::vector<std::size_t> Fitting(std::string_view text, const std::vector<ReadingName>& names, Form form,
                                 Compare same) {
  std::vector<std::size_t> fitting;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string name = form(names[i]);
    if (same(text, name) || same(text, Printable(name))) fitting.push_back(i);
  }
  return fitting;
}

// Those of the first form and comparison that fit at all.
std::vector<std::size_t> FirstFitting(std::string_view text, const std::vector<ReadingName>& names) {
  for (const Compare same : kComparisons) {
    for (const Form form : kForms) {
      auto fitting = Fitting(text, names, form, same);
      if (!fitting.empty()) return fitting;
    }
  }
  return {};
}

bool FitsPattern(std::string_view pattern, const ReadingName& name) {
  return std::any_of(std::begin(kForms), std::end(kForms),
                     [&](Form form) { return WildcardFits(pattern, Printable(form(name))); });
}

// The full names of the readings of which one form is near the text.
std::vector<std::string> NearNames(std::string_view text, const std::vector<ReadingName>& names) {
  const std::size_t limit = NearLimit(text);
  std::vector<std::pair<std::size_t, std::string>> distances;
  for (const ReadingName& name : names) {
    std::size_t least = limit + 1;
    for (const Form form : kForms) least = std::min(least, EditDistance(text, form(name), limit));
    if (least <= limit) distances.emplace_back(least, FullName(name));
  }
  std::stable_sort(distances.begin(), distances.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> near;
  for (auto& [distance, name] : distances) {
    if (near.size() < kMostNearNames && distance <= distances.front().first + 1) near.push_back(std::move(name));
  }
  return near;
}

// Where a reading that is not there may come from.
std::string Advice(std::string_view text) {
  return text.starts_with("REFERENCE/") ? "; `mathctl reference load` offers a stored one"
                                        : "; `mathctl readings` lists them";
}

[[noreturn]] void ThrowNotThere(std::string_view text, const std::vector<ReadingName>& names) {
  const std::string near = IsWildcard(text) ? "" : NearText(NearNames(text, names));
  throw Error(ErrorKind::NotFound,
              fmt::format("no reading \"{}\"{}", Printable(text), near.empty() ? Advice(text) : near));
}

[[noreturn]] void ThrowAmbiguous(std::string_view text, const std::vector<ReadingName>& names,
                                 const std::vector<std::size_t>& fitting) {
  std::vector<std::string> candidates;
  for (const std::size_t i : fitting) candidates.push_back(FullName(names[i]));
  throw Error(ErrorKind::BadArgument,
              fmt::format("\"{}\" may mean any of: {}", Printable(text), fmt::join(candidates, ", ")));
}

}  // namespace

std::string FullName(const ReadingName& name) { return Printable(name.engine + '/' + name.item); }

std::optional<std::int32_t> MathIdFromText(std::string_view text) {
  constexpr std::string_view kPrefix = "math:";
  if (SameLetters(text.substr(0, kPrefix.size()), kPrefix)) text.remove_prefix(kPrefix.size());
  std::int32_t id = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (error != std::errc() || end != text.data() + text.size() || id < 0 || text.front() == '-') return std::nullopt;
  return id;
}

std::size_t MatchReading(std::string_view text, const std::vector<ReadingName>& names) {
  const auto fitting = FirstFitting(text, names);
  if (fitting.size() == 1) return fitting.front();
  if (!fitting.empty()) ThrowAmbiguous(text, names, fitting);
  ThrowNotThere(text, names);
}

std::vector<std::size_t> MatchReadings(std::string_view text, const std::vector<ReadingName>& names) {
  if (!IsWildcard(text) || !FirstFitting(text, names).empty()) return {MatchReading(text, names)};
  std::vector<std::size_t> fitting;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (FitsPattern(text, names[i])) fitting.push_back(i);
  }
  if (fitting.empty()) ThrowNotThere(text, names);
  return fitting;
}

}  // namespace Lumenar::Client
