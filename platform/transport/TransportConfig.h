// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Corvanta {

/// A transport configuration that cannot be used: "FILE:LINE: reason".
class TransportConfigError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The transport settings of a process: the ORB's and those of the topic transport between machines. A file has one
/// `key = value` a line, '#' begins a comment, a list repeats its key; every key is a member's name below, with the
/// prefix `orb.`, `math.` or `dds.`. A key that is not known, or a value out of range, is an error.
struct TransportConfig {
  std::vector<std::string> endpoints{"giop:tcp:127.0.0.1:"};  ///< orb.endpoint, repeated
  std::vector<std::string> allowed_peers{"localhost"};  ///< orb.allowed_peer, repeated: addresses that may connect
  std::vector<std::string> client_transports{"unix", "tcp",
                                             "ssl"};  ///< orb.client_transport, repeated: in order of choice
  std::chrono::milliseconds call_timeout{5000};       ///< orb.call_timeout_ms: limit of every remote call
  std::uint64_t max_message_bytes = 80u << 20;        ///< orb.max_message_bytes; the same in all processes
  std::uint64_t max_assembly_bytes = 0;               ///< orb.max_assembly_bytes, see MaxAssemblyBytes
  unsigned max_connections_to_peer = 512;             ///< orb.max_connections_to_peer: calls to one process at a time
  unsigned max_server_threads = 512;                  ///< orb.max_server_threads: connections served, each by a thread
  std::chrono::milliseconds send_timeout{
      10000};                                   ///< orb.send_timeout_ms: of an answer of which its caller takes nothing
  std::uint64_t max_unsent_bytes = 512u << 20;  ///< orb.max_unsent_bytes: of all answers that are built or sent
  unsigned out_scan_period_s = 120;             ///< orb.out_scan_period_s, below in_scan_period_s
  unsigned in_scan_period_s = 180;              ///< orb.in_scan_period_s
  unsigned max_math_objects = 100000;           ///< math.max_objects, that live at once in an engine
  std::uint64_t max_history_bytes = 512u << 20;  ///< math.max_history_bytes: what all Averages of an engine hold
  bool dds_enabled = false;                      ///< dds.enabled: relay topics between machines
  unsigned dds_domain = 0;                       ///< dds.domain
  std::string dds_interface = "127.0.0.1";       ///< dds.interface: the IPv4 address of one of this machine
  std::vector<std::string> dds_topics;           ///< dds.topic, repeated: topics that are relayed

  /// Reads a file. Errors   TransportConfigError, also for a file that cannot be read.
  static TransportConfig Read(const std::string& path);

  /// What all connections together may hold of messages that have come in part: twice max_message_bytes unless it is
  /// set.
  std::uint64_t MaxAssemblyBytes() const { return max_assembly_bytes > 0 ? max_assembly_bytes : 2 * max_message_bytes; }

  /// The settings as options of ORB_init.
  std::vector<std::pair<std::string, std::string>> OrbOptions() const;
};

}  // namespace Corvanta
