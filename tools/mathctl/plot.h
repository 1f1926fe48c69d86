// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {

/// The command line of `plot`.
struct PlotArguments {
  std::vector<std::string> readings;
  std::string output;  ///< empty: the terminal
  bool ascii = false;
  bool live = false;
  unsigned long results = 0;  ///< 0: no limit
  double seconds = 0;         ///< 0: no limit

  /// When it has to end; nothing without a limit.
  std::optional<std::chrono::steady_clock::time_point> End() const {
    if (seconds <= 0) return std::nullopt;
    const std::chrono::duration<double> length(seconds);
    return std::chrono::steady_clock::now() + std::chrono::ceil<std::chrono::milliseconds>(length);
  }
};

/// Draws on the terminal again with each result, until q, Ctrl-C or one of the limits. Where standard output is no
/// terminal, the pictures follow each other.
/// Errors   those of remote calls; a reading that is gone ends it, too.
void PlotLive(const Session& session, const PlotArguments& arguments);

}  // namespace Lumenar::Mathctl
