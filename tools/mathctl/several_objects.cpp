// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/several_objects.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "client/Error.h"
#include "client/Text.h"
#include "client/Wildcard.h"
#include "platform/base/Diagnostic.h"

namespace Lumenar::Mathctl {
namespace {

void AddFitting(const Session& session, const std::string& pattern, std::vector<Client::MathName>& objects) {
  bool any = false;
  for (const Client::MathStatus& status : session.Objects().List()) {
    const Client::MathName name{session.options.factory, status.id};
    const bool fits = Client::WildcardFits(pattern, fmt::format("math:{}", status.id)) ||
                      Client::WildcardFits(pattern, session.TextOf(name));
    if (fits) objects.push_back(name);
    any = any || fits;
  }
  if (any) return;
  throw Client::Error(Client::ErrorKind::NotFound,
                      fmt::format("no math object \"{}\"; `mathctl list` lists them", Client::Printable(pattern)));
}

}  // namespace

bool HasWildcard(const std::vector<std::string>& texts) {
  return std::any_of(texts.begin(), texts.end(), [](const std::string& text) { return Client::IsWildcard(text); });
}

std::vector<Client::MathName> FindObjects(const Session& session, const std::vector<std::string>& texts) {
  std::vector<Client::MathName> all;
  for (const std::string& text : texts) {
    if (Client::IsWildcard(text)) {
      AddFitting(session, text, all);
    } else {
      all.push_back(session.RequireMath(text));
    }
  }
  std::vector<Client::MathName> objects;
  for (const Client::MathName& name : all) {
    if (std::find(objects.begin(), objects.end(), name) == objects.end()) objects.push_back(name);
  }
  return objects;
}

void ForEachObject(const std::vector<Client::MathName>& objects,
                   const std::function<void(const Client::MathName&)>& each) {
  std::optional<Client::Error> first;
  for (const Client::MathName& object : objects) {
    try {
      each(object);
    } catch (const Client::Error& error) {
      if (first) WriteError(fmt::format("mathctl: {}", error.what()));
      if (!first) first = error;
    }
  }
  if (first) throw *first;
}

}  // namespace Lumenar::Mathctl
