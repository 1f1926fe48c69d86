// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "client/Connection.h"

namespace Lumenar::Mathctl {

/// What an engine's process takes of its machine.
struct EngineUse {
  std::string engine;
  bool answers = false;
  std::optional<double> processor_share;  ///< of one processor since the last look; on average before the second
  std::optional<std::uint64_t> resident_bytes;
};

/// Looks at the processes of all engines, side by side, so that one that hangs costs one time limit; it is not asked
/// again until the engines are looked for anew.
/// Threads   one.
class EngineUses {
 public:
  using Clock = std::chrono::steady_clock;

  explicit EngineUses(Client::Connection& connection) : connection_(connection) {}

  /// Errors   Client::Error when the naming service does not answer.
  std::vector<EngineUse> Look();

 private:
  struct Seen {
    double processor_s;
    Clock::time_point time;
  };

  EngineUse From(const std::string& engine, const std::optional<Corvanta::ProcessUse>& use);

  Client::Connection& connection_;
  std::vector<Client::Engine> engines_;
  std::map<std::string, Seen> seen_;
  std::optional<Clock::time_point> found_;  // when the engines were looked for
};

/// "PROBE/1 3.2 % 45 MB", "SIM/1 does not answer".
std::string UseText(const EngineUse& use);

}  // namespace Lumenar::Mathctl
