// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <string>

#include "platform/transport/TransportConfig.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/MemoryFile.h"
#include "tests/fuzz/Violation.h"

namespace Lumenar::Fuzz {
namespace {

using Corvanta::SettingsFile;
using Corvanta::TransportConfig;

void CheckRanges(const TransportConfig& config) {
  Require(!config.endpoints.empty() && !config.allowed_peers.empty(), "there is an endpoint and a peer");
  Require(config.call_timeout.count() > 0, "calls have a limit");
  Require(config.max_message_bytes >= 8192, "messages have room for a value");
  Require(config.max_connections_to_peer > 0 && config.max_server_threads > 1, "limits leave something");
  Require(config.out_scan_period_s < config.in_scan_period_s, "idle connections end at the client first");
  for (const auto& [name, value] : config.OrbOptions()) {
    Require(!name.empty() && !value.empty(), "options have a name and a value");
  }
}

std::string Lines(const char* key, const std::vector<std::string>& values) {
  std::string lines;
  for (const std::string& value : values) lines += fmt::format("{} = {}\n", key, value);
  return lines;
}

/// The configuration as a file.
std::string FileOf(const SettingsFile& settings) {
  const TransportConfig config(settings);
  return Lines("orb.endpoint", config.endpoints) + Lines("orb.allowed_peer", config.allowed_peers) +
         fmt::format("orb.call_timeout_ms = {}\norb.max_message_bytes = {}\n", config.call_timeout.count(),
                     config.max_message_bytes) +
         fmt::format("orb.max_connections_to_peer = {}\norb.max_server_threads = {}\n", config.max_connections_to_peer,
                     config.max_server_threads) +
         fmt::format("orb.out_scan_period_s = {}\norb.in_scan_period_s = {}\n", config.out_scan_period_s,
                     config.in_scan_period_s) +
         fmt::format("math.max_objects = {}\nmath.max_history_bytes = {}\n", settings.Number("math.max_objects", 1),
                     settings.Number("math.max_history_bytes", 4096)) +
         fmt::format("dds.enabled = {}\ndds.domain = {}\ndds.interface = {}\n", settings.Truth("dds.enabled", false),
                     settings.Number("dds.domain", 0), settings.Text("dds.interface", "127.0.0.1")) +
         Lines("dds.topic", settings.Values("dds.topic"));
}

}  // namespace

void TransportSettings(Bytes input) {
  const MemoryFile file(TextOf(input));
  SettingsFile settings;
  try {
    settings = SettingsFile::Read(file.Path());
    CheckRanges(TransportConfig(settings));
  } catch (const Corvanta::TransportConfigError& error) {
    Require(std::string(error.what()).rfind(file.Path() + ":", 0) == 0, "an error names file and line");
    return;
  }
  Require(settings.Number("dds.domain", 0) <= 232, "the domain is one of DDS");
  const MemoryFile written(FileOf(settings));
  Require(FileOf(SettingsFile::Read(written.Path())) == FileOf(settings),
          "settings written are read again as they were");
}

}  // namespace Lumenar::Fuzz
