// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <memory>

#include "client/Text.h"
#include "client/Wildcard.h"
#include "client/values.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {
namespace {

using Client::Error;
using Client::ErrorKind;

constexpr const char* kSetFooter =
    "A long takes a whole number, an enumeration a number or a name, a scalar a number with or without units, as "
    "\"2.5\n"
    "ms\"; an action takes no value and is triggered.\n"
    "\n"
    "Examples:\n"
    "  mathctl set math:3 SIZE 10\n"
    "  mathctl set PROBE/1/START 10";

// set ID SIZE VALUE
void SetOfObject(const Session& session, const Client::MathName& object, const std::vector<std::string>& rest) {
  if (rest.size() != 2) throw Error(ErrorKind::BadArgument, "a math object takes: set ID SIZE VALUE");
  if (!Client::SameLetters(rest[0], "SIZE")) {
    throw Error(ErrorKind::BadArgument,
                fmt::format("a math object has no attribute \"{}\" to set, only SIZE", Client::Printable(rest[0])));
  }
  session.ObjectsOf(object).SetSize(object.id, Client::LongFromText(rest[1]));
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

void Set(const Session& session, const std::vector<std::string>& words) {
  const std::vector<std::string> rest(words.begin() + 1, words.end());
  if (const auto object = session.MathFrom(words[0])) return SetOfObject(session, *object, rest);
  if (Client::IsWildcard(words[0])) throw Error(ErrorKind::BadArgument, "set takes one attribute, not a pattern");
  Client::SetValue(session.connection.FindReading(words[0]), Joined(rest));
}

}  // namespace

void DefineSet(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("set", "Sets an attribute, or triggers an action");
  verb->footer(kSetFooter);
  const auto words = std::make_shared<std::vector<std::string>>();
  verb->add_option("ATTRIBUTE", *words, "The attribute, or a math object and SIZE; then the value")->required();
  verb->callback([&command, words] { command.run = [words](const Session& session) { Set(session, *words); }; });
}

}  // namespace Lumenar::Mathctl
