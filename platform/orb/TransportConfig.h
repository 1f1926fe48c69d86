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

/// The transport settings of a process: the ORB's and those of the topic transport between machines.
/// A file has one `key = value` a line, '#' begins a comment, a list repeats its key; every key is a member's name below,
/// with the prefix `orb.` or `dds.`. A key that is not known, or a value out of range, is an error.
struct TransportConfig {
  std::vector<std::string> endpoints{"giop:tcp:127.0.0.1:"};  ///< orb.endpoint, repeated
  std::vector<std::string> allowed_peers{"localhost"};        ///< orb.allowed_peer, repeated: addresses that may connect
  std::vector<std::string> client_transports{"unix", "tcp", "ssl"};  ///< orb.client_transport, repeated: in order of choice
  std::chrono::milliseconds call_timeout{5000};               ///< orb.call_timeout_ms: limit of every remote call
  std::uint64_t max_message_bytes = 80u << 20;                ///< orb.max_message_bytes; the same in all processes
  unsigned max_connections_to_peer = 64;                      ///< orb.max_connections_to_peer
  unsigned max_server_threads = 512;                          ///< orb.max_server_threads: connections served, each by a thread
  unsigned out_scan_period_s = 120;                           ///< orb.out_scan_period_s, below in_scan_period_s
  unsigned in_scan_period_s = 180;                            ///< orb.in_scan_period_s
  bool dds_enabled = false;                                   ///< dds.enabled: relay topics between machines
  unsigned dds_domain = 0;                                    ///< dds.domain
  std::string dds_interface = "127.0.0.1";                    ///< dds.interface
  std::vector<std::string> dds_topics;                        ///< dds.topic, repeated: topics that are relayed

  /// Reads a file. Errors   TransportConfigError, also for a file that cannot be read.
  static TransportConfig Read(const std::string& path);

  /// The settings as options of ORB_init.
  std::vector<std::pair<std::string, std::string>> OrbOptions() const;
};

}  // namespace Corvanta
