// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/ProgramOptions.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

#include "client/Text.h"
#include "platform/base/ParseArguments.h"
#include "platform/base/TextFile.h"
#include "platform/transport/addresses.h"

namespace Lumenar::Web {
namespace {

constexpr std::size_t kShortestToken = 16, kLongestToken = 256;
constexpr std::size_t kMostClients = 1000;

constexpr const char* kProgramFooter =
    "The page shows everything and changes nothing unless --allow-control is given. Beyond this machine it is served\n"
    "only with --token-file: each client then shows the token, as Authorization: Bearer TOKEN, or behind the page's\n"
    "address as #token=TOKEN. It speaks no TLS: put a proxy before it where the network is not to be trusted.\n"
    "\n"
    "The naming service and the transport settings come from LUMENAR_NAMING=HOST:PORT and\n"
    "LUMENAR_TRANSPORT_CONF=FILE.\n"
    "\n"
    "Exit codes:\n"
    "  0  ended by SIGTERM, SIGINT or SIGQUIT\n"
    "  1  could not start; one line on standard error says why\n"
    "  2  an argument is wrong";

struct HostAndPort {
  std::string host;
  unsigned short port = 0;
};

/// Nothing but a port of 0 is more than other addresses may have: any that is free.
std::string ListenProblemOf(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  const bool any_port = colon != std::string::npos && text.substr(colon) == ":0";
  return Corvanta::HostPortProblem(any_port ? text.substr(0, colon) + ":1" : text);
}

HostAndPort Split(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  HostAndPort split{text.substr(0, colon)};
  std::from_chars(text.data() + colon + 1, text.data() + text.size(), split.port);
  if (split.host.starts_with('[') && split.host.ends_with(']'))
    split.host = split.host.substr(1, split.host.size() - 2);
  return split;
}

/// All addresses of this machine.
bool IsWildcard(const std::string& host) { return host == "0.0.0.0" || host == "::"; }

bool IsLoopback(const std::string& host) { return host == "localhost" || host == "::1" || host.starts_with("127."); }

/// A token that others of this machine can read is none.
std::string TokenIn(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0 && (status.st_mode & 0077) != 0)
    throw std::runtime_error(Client::Printable(path) + ": others may read it: chmod 600 is needed");
  TextFile file(path);
  std::string token;
  file.NextLine(token, kLongestToken);
  const auto is_plain = [](char c) { return c > ' ' && c < 0x7f && c != ',' && c != '"'; };
  if (token.size() < kShortestToken || token.size() > kLongestToken ||
      !std::all_of(token.begin(), token.end(), is_plain))
    throw std::runtime_error(fmt::format("{}: the first line has to be a token of {} to {} letters, digits and signs",
                                         Client::Printable(path), kShortestToken, kLongestToken));
  return token;
}

void DefinePlaces(CLI::App& app, ProgramOptions& options) {
  auto* listen = app.add_option("--listen", options.listen, "Where to listen; port 0: any that is free")
                     ->check(ListenProblemOf)
                     ->type_name("HOST:PORT")
                     ->capture_default_str();
  app.add_option("--unix", options.unix_path, "Listen at a Unix-domain socket instead, for a proxy before it")
      ->type_name("PATH")
      ->excludes(listen);
  app.add_option("--naming", options.naming, "Naming service")
      ->check(Corvanta::HostPortProblem)
      ->type_name("HOST:PORT");
  app.add_option("--factory", options.factory, "Registered name of the math engine that objects are created in")
      ->type_name("NAME")
      ->capture_default_str();
  app.add_option("--page", options.page, "Serve the page's files from DIR instead of those that are built in")
      ->check(CLI::ExistingDirectory)
      ->type_name("DIR");
}

void DefineRights(CLI::App& app, ProgramOptions& options) {
  app.add_flag("--allow-control", options.allow_control, "Let clients create, set, reset and delete");
  app.add_option("--token-file", options.token_file, "Clients have to show the token in the first line of FILE")
      ->type_name("FILE");
  app.add_option("--host", options.hosts, "Another name, as NAME or NAME:PORT, by which clients reach this gateway")
      ->type_name("NAME");
}

void DefineLimits(CLI::App& app, ProgramOptions& options) {
  app.add_option("--clients", options.clients, "Clients that may be connected at a time")
      ->check(CLI::Range(std::size_t{1}, kMostClients))
      ->type_name("N")
      ->capture_default_str();
  app.add_option("--handshake-timeout", options.handshake_s, "Seconds in which a request has to be complete")
      ->check(CLI::Range(1U, 3600U))
      ->type_name("SEC")
      ->capture_default_str();
  app.add_option("--idle-timeout", options.idle_s, "Seconds without a sign of life after which a client is let go")
      ->check(CLI::Range(1U, 3600U))
      ->type_name("SEC")
      ->capture_default_str();
  app.add_option("-w,--timeout", options.timeout_s, "Limit of calls to engines and services, in seconds")
      ->check(CLI::Range(0.001, 60.0))
      ->type_name("SEC")
      ->capture_default_str();
}

}  // namespace

bool ParseOptions(int argc, const char* const* argv, ProgramOptions& options, int& exit_code) {
  CLI::App app("Shows readings and math objects in a browser, live, and tells monitoring about them.", "math_web");
  app.footer(kProgramFooter);
  DefinePlaces(app, options);
  DefineRights(app, options);
  DefineLimits(app, options);
  return ParseArguments(app, argc, argv, exit_code);
}

ServerSettings ServerSettingsFrom(const ProgramOptions& options) {
  const HostAndPort place = Split(options.listen);
  if (options.unix_path.empty() && options.token_file.empty() && !IsLoopback(place.host))
    throw std::runtime_error(fmt::format(
        "{} can be reached from other machines: --token-file is needed, see math_web --help", options.listen));
  ServerSettings settings;
  settings.address = place.host;
  settings.port = place.port;
  settings.path = options.unix_path;
  settings.connections = 2 * options.clients + 128;
  settings.handshake = std::chrono::seconds(options.handshake_s);
  settings.idle = std::chrono::seconds(options.idle_s);
  return settings;
}

GatewaySettings GatewaySettingsFrom(const ProgramOptions& options, unsigned short port) {
  GatewaySettings settings;
  settings.factory = options.factory;
  settings.allow_control = options.allow_control;
  settings.clients = options.clients;
  settings.page = options.page;
  if (!options.token_file.empty()) settings.access.token = TokenIn(options.token_file);
  // Only a proxy reaches a Unix-domain socket: which names are its own is its affair, unless they are told. At all
  // addresses there are more names than can be known, and a token is needed anyway.
  const std::string place = Split(options.listen).host;
  if (options.unix_path.empty() && !IsWildcard(place)) settings.access.hosts = HostsOf(place, port);
  for (const std::string& host : options.hosts) {
    settings.access.hosts.push_back(host);
    if (port != 0 && host.find(':') == std::string::npos)
      settings.access.hosts.push_back(fmt::format("{}:{}", host, port));
  }
  return settings;
}

}  // namespace Lumenar::Web
