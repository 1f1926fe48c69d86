// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/transport/SettingsFile.h"

namespace Corvanta {

/// The ORB's settings in a process, each with its key in the settings file.
struct TransportConfig {
  /// Errors   TransportConfigError for settings that contradict one another.
  explicit TransportConfig(const SettingsFile& settings = {});

  std::vector<std::string> endpoints{"giop:tcp:127.0.0.1:"};  ///< orb.endpoint, repeated
  std::vector<std::string> allowed_peers{"localhost"};  ///< orb.allowed_peer, repeated: addresses that may connect
  /// orb.client_transport, repeated: in order of choice
  std::vector<std::string> client_transports{"unix", "tcp", "ssl"};
  std::chrono::milliseconds call_timeout{5000};  ///< orb.call_timeout_ms: limit of every remote call
  std::uint64_t max_message_bytes = 80u << 20;   ///< orb.max_message_bytes; the same in all processes
  std::uint64_t max_assembly_bytes = 0;          ///< orb.max_assembly_bytes, see MaxAssemblyBytes
  unsigned max_connections_to_peer = 512;        ///< orb.max_connections_to_peer: calls to one process at a time
  unsigned max_server_threads = 512;             ///< orb.max_server_threads: connections served, each by a thread
  /// orb.send_timeout_ms: of an answer of which its caller takes nothing
  std::chrono::milliseconds send_timeout{10000};
  std::uint64_t max_unsent_bytes = 512u << 20;  ///< orb.max_unsent_bytes: of all answers that are built or sent
  /// orb.naming_wait_s: how long an engine or a service that starts waits for the naming service
  std::chrono::seconds naming_wait{0};
  unsigned out_scan_period_s = 120;  ///< orb.out_scan_period_s, below in_scan_period_s
  unsigned in_scan_period_s = 180;   ///< orb.in_scan_period_s

  /// What all connections together may hold of messages that have come in part: twice max_message_bytes unless it is
  /// set.
  std::uint64_t MaxAssemblyBytes() const { return max_assembly_bytes > 0 ? max_assembly_bytes : 2 * max_message_bytes; }

  /// The settings as options of ORB_init.
  std::vector<std::pair<std::string, std::string>> OrbOptions() const;
};

}  // namespace Corvanta
