// SPDX-License-Identifier: Apache-2.0
#include "client/Address.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <charconv>

#include "client/Error.h"
#include "client/Text.h"
#include "platform/orb/names.h"

namespace Lumenar::Client {
namespace {

// The forms in which a reading can be named, the fullest first.
using Form = std::string (*)(const ReadingName&);
constexpr Form kForms[] = {
    [](const ReadingName& name) { return name.engine + '/' + name.item; },
    [](const ReadingName& name) { return std::string(Corvanta::NameWithoutInstance(name.engine)) + '/' + name.item; },
    [](const ReadingName& name) { return name.item; },
};

std::vector<std::size_t> Fitting(std::string_view text, const std::vector<ReadingName>& names, Form form) {
  std::vector<std::size_t> fitting;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string name = form(names[i]);
    if (name == text || Printable(name) == text) fitting.push_back(i);
  }
  return fitting;
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
  if (text.substr(0, kPrefix.size()) == kPrefix) text.remove_prefix(kPrefix.size());
  std::int32_t id = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (error != std::errc() || end != text.data() + text.size() || id < 0 || text.front() == '-') return std::nullopt;
  return id;
}

std::size_t MatchReading(std::string_view text, const std::vector<ReadingName>& names) {
  for (const Form form : kForms) {
    const auto fitting = Fitting(text, names, form);
    if (fitting.size() == 1) return fitting.front();
    if (!fitting.empty()) ThrowAmbiguous(text, names, fitting);
  }
  throw Error(ErrorKind::NotFound, fmt::format("no reading \"{}\"", Printable(text)));
}

}  // namespace Lumenar::Client
