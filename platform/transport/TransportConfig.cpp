// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/TransportConfig.h"

#include <fmt/format.h>

#include <algorithm>
#include <type_traits>

namespace Corvanta {

TransportConfig::TransportConfig(const SettingsFile& settings) {
  const auto read = [&settings](const char* key, auto& member) {
    using Member = std::remove_reference_t<decltype(member)>;
    member = static_cast<Member>(settings.Number(key, member));
  };
  const auto read_ms = [&settings](const char* key, std::chrono::milliseconds& member) {
    member = std::chrono::milliseconds(settings.Number(key, static_cast<std::uint64_t>(member.count())));
  };
  endpoints = settings.List("orb.endpoint", endpoints);
  allowed_peers = settings.List("orb.allowed_peer", allowed_peers);
  client_transports = settings.List("orb.client_transport", client_transports);
  read_ms("orb.call_timeout_ms", call_timeout);
  read("orb.max_message_bytes", max_message_bytes);
  read("orb.max_assembly_bytes", max_assembly_bytes);
  read("orb.max_connections_to_peer", max_connections_to_peer);
  read("orb.max_server_threads", max_server_threads);
  read_ms("orb.send_timeout_ms", send_timeout);
  read("orb.max_unsent_bytes", max_unsent_bytes);
  naming_wait = std::chrono::seconds(settings.Number("orb.naming_wait_s", 0));
  read("orb.out_scan_period_s", out_scan_period_s);
  read("orb.in_scan_period_s", in_scan_period_s);
  if (out_scan_period_s >= in_scan_period_s)
    settings.Refuse({"orb.out_scan_period_s", "orb.in_scan_period_s"},
                    "orb.out_scan_period_s must be below orb.in_scan_period_s");
}

std::vector<std::pair<std::string, std::string>> TransportConfig::OrbOptions() const {
  constexpr unsigned kPoolThreads = 100;
  std::vector<std::pair<std::string, std::string>> options;
  for (const std::string& endpoint : endpoints) options.emplace_back("endPoint", endpoint);
  for (const std::string& peer : allowed_peers) options.emplace_back("serverTransportRule", peer + " unix,tcp,ssl");
  // Who may use a socket of this machine is a matter of its directory; this rule comes last and allows nothing else.
  options.emplace_back("serverTransportRule", "localhost unix");
  options.emplace_back("clientTransportRule", fmt::format("* {}", fmt::join(client_transports, ",")));
  const auto add = [&options](const char* name, auto number) { options.emplace_back(name, std::to_string(number)); };
  add("clientCallTimeOutPeriod", call_timeout.count());
  add("giopMaxMsgSize", max_message_bytes);
  add("maxGIOPConnectionPerServer", max_connections_to_peer);
  // A thread for each connection, always: a pool would be frozen by as many half requests as it has threads. The number
  // of connections is what is limited (GuardedTransport); those that are being closed still count here.
  add("threadPerConnectionPolicy", 1);
  const unsigned never = 4 * max_server_threads + kPoolThreads;
  add("threadPerConnectionUpperLimit", never);
  add("threadPerConnectionLowerLimit", never - 1);
  add("maxServerThreadPoolSize", std::min(max_server_threads, kPoolThreads));
  // How soon the ORB sees a request on a connection whose thread is in a call, from a client that interleaves calls.
  // Its watcher waits in whole milliseconds and spins through the rest of a period: at the ORB's own 50 ms, the
  // watchers of five processes on two processors delayed one in a hundred large samples by half a millisecond and more.
  add("connectionWatchPeriod", 1'000'000);
  add("maxServerThreadPerConnection", 4);  // calls of one connection at a time: each may hold an answer
  add("outConScanPeriod", out_scan_period_s);
  add("inConScanPeriod", in_scan_period_s);
  add("scanGranularity", std::min(5u, out_scan_period_s));
  options.emplace_back("unixTransportPermission", "0700");
  return options;
}

}  // namespace Corvanta
