// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Access.h"

#include <fmt/format.h>

#include <algorithm>

#include "client/Text.h"

namespace Lumenar::Web {
namespace {

constexpr std::size_t kLongestShown = 100;

bool SameHost(std::string_view a, std::string_view b) { return Client::SameLetters(a, b); }

std::string Shown(std::string_view text) { return Client::Printable(text.substr(0, kLongestShown)); }

/// The part behind "http://" or "https://"; the whole text where it has neither.
std::string_view HostOfOrigin(std::string_view origin) {
  const std::size_t scheme = origin.find("://");
  return scheme == std::string_view::npos ? origin : origin.substr(scheme + 3);
}

/// A comparison whose time does not tell how much of the text is right.
bool SameSecret(std::string_view given, std::string_view secret) {
  unsigned difference = given.size() == secret.size() ? 0 : 1;
  for (std::size_t i = 0; i < secret.size(); ++i)
    difference |= static_cast<unsigned char>(i < given.size() ? given[i] : 0) ^ static_cast<unsigned char>(secret[i]);
  return difference == 0;
}

}  // namespace

std::vector<std::string_view> ListOf(std::string_view text) {
  std::vector<std::string_view> names;
  while (!text.empty()) {
    const std::size_t comma = std::min(text.find(','), text.size());
    std::string_view name = text.substr(0, comma);
    text.remove_prefix(std::min(comma + 1, text.size()));
    while (!name.empty() && (name.front() == ' ' || name.front() == '\t')) name.remove_prefix(1);
    while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.remove_suffix(1);
    if (!name.empty()) names.push_back(name);
  }
  return names;
}

std::optional<Refusal> Access::RefuseHost(const Credentials& asked) const {
  const auto& hosts = rules_.hosts;
  const bool known =
      std::any_of(hosts.begin(), hosts.end(), [&](const auto& one) { return SameHost(one, asked.host); });
  if (hosts.empty() || known) return std::nullopt;
  return Refusal{
      403, fmt::format("The host \"{}\" is not one of this gateway; --host lets another name in.", Shown(asked.host))};
}

bool Access::HasToken(const Credentials& asked) const {
  constexpr std::string_view kBearer = "Bearer ";
  if (rules_.token.empty()) return true;
  const std::string_view given = asked.authorization;
  if (Client::SameLetters(given.substr(0, kBearer.size()), kBearer))
    return SameSecret(given.substr(kBearer.size()), rules_.token);
  const auto offered = ListOf(asked.protocols);
  return std::any_of(offered.begin(), offered.end(), [&](std::string_view one) {
    return one.substr(0, kTokenProtocol.size()) == kTokenProtocol &&
           SameSecret(one.substr(kTokenProtocol.size()), rules_.token);
  });
}

std::optional<Refusal> Access::RefuseData(const Credentials& asked) const {
  if (auto refusal = RefuseHost(asked)) return refusal;
  if (HasToken(asked)) return std::nullopt;
  return Refusal{401, "A token is needed: Authorization: Bearer TOKEN, or #token=TOKEN behind the page's address."};
}

std::optional<Refusal> Access::RefuseLive(const Credentials& asked) const {
  if (auto refusal = RefuseHost(asked)) return refusal;
  if (!asked.origin.empty() && !SameHost(HostOfOrigin(asked.origin), asked.host))
    return Refusal{403, fmt::format("A page of \"{}\" may not use this gateway.", Shown(asked.origin))};
  return RefuseData(asked);
}

std::vector<std::string> HostsOf(const std::string& address, unsigned short port) {
  const bool is_loopback = address == "::1" || address == "localhost" || address.rfind("127.", 0) == 0;
  std::vector<std::string> names{address.find(':') == std::string::npos ? address : "[" + address + "]"};
  if (is_loopback) names.insert(names.end(), {"localhost", "127.0.0.1", "[::1]"});
  std::vector<std::string> hosts;
  for (const std::string& name : names) {
    hosts.push_back(fmt::format("{}:{}", name, port));
    if (port == 80) hosts.push_back(name);
  }
  return hosts;
}

}  // namespace Lumenar::Web
