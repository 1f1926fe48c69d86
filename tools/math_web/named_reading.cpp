// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/named_reading.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "client/MathObjects.h"
#include "client/Text.h"
#include "client/Wildcard.h"

namespace Lumenar::Web {
namespace {

constexpr const char* kItems[] = {"SIZE", "FULL", "RESULT"};

/// The readings that a text may mean: where it begins with the name of an engine, those of that engine alone, since a
/// math engine may have very many.
std::vector<Client::Engine> EnginesFor(const std::string& text, const std::vector<Client::Engine>& engines) {
  for (const Client::Engine& engine : engines) {
    const std::string prefix = Client::Printable(engine.name) + '/';
    if (Client::SameLetters(text.substr(0, prefix.size()), prefix)) return {engine};
  }
  return engines;
}

NamedReading FindReadingOf(Client::Connection& connection, const std::string& text) {
  const auto engines = EnginesFor(text, connection.Engines());
  const auto readings = connection.ReadingsOf(engines);
  if (Client::IsWildcard(text))
    throw Client::Error(Client::ErrorKind::BadArgument, Client::Printable(text) + " is a pattern: one name is needed");
  const Client::Reading& found = readings[Client::IndexesFor(text, readings, engines).front()];
  return {Client::FullName(found.name), found, std::nullopt};
}

}  // namespace

std::optional<ObjectText> ObjectFrom(const std::string& text, const std::string& factory) {
  if (const auto object = Client::MathNameFromText(text, factory)) return ObjectText{*object, ""};
  const std::size_t slash = text.rfind('/');
  if (slash == std::string::npos) return std::nullopt;
  const auto item = std::find_if(std::begin(kItems), std::end(kItems),
                                 [&](const char* one) { return Client::SameLetters(text.substr(slash + 1), one); });
  const auto object = Client::MathNameFromText(text.substr(0, slash), factory);
  if (item == std::end(kItems) || !object) return std::nullopt;
  return ObjectText{*object, std::string(*item) == "RESULT" ? "" : *item};
}

NamedReading FindNamed(Client::Connection& connection, const std::string& factory, const std::string& text) {
  const auto meant = ObjectFrom(text, factory);
  if (!meant) return FindReadingOf(connection, text);
  Client::MathObjects objects(connection, meant->object.engine);
  NamedReading found{Client::MathText(meant->object, factory), {}, meant->object};
  if (meant->item.empty()) {
    found.reading = objects.Result(meant->object.id);
  } else {
    found.reading = objects.Item(meant->object.id, meant->item);
    found.name += '/' + meant->item;
  }
  return found;
}

}  // namespace Lumenar::Web
