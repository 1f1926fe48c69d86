// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/math_web/Snapshot.h"

namespace Lumenar::Web {

/// The most readings, and the most objects, that a message of state tells of; what there is besides is counted.
inline constexpr std::size_t kMostListed = 1000;

/// A message of state.
struct StateText {
  std::shared_ptr<const std::string> json;  ///< as docs/web.md describes it
  std::string
      mark;  ///< the same but for what changes all the time: ages, rates, queues; two marks tell whether to send
};

/// Threads  pure.
StateText StateTextOf(const Snapshot& snapshot);

/// "trace", "scalar", "long", "boolean", "enum" or "action" for a kind as in TypeInfo; others as they are.
std::string KindWord(const std::string& kind);

/// Results a second; nothing while none come.
std::optional<double> RateOf(const Client::MathReport& report);

}  // namespace Lumenar::Web
