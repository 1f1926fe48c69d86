// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "services/topic_manager/DDS_Manager_i.h"

namespace Lumenar {

/// What the command line of topic_manager says.
struct CommandLine {
  std::optional<StateFile> state_file;  ///< else the default, unless `no_state`
  bool no_state = false;
  std::size_t queue = 1000;
  std::optional<std::chrono::milliseconds> stall_limit;  ///< else the time limit of calls
  std::chrono::seconds silence_limit{600};
  std::size_t topics = 311000;
  std::size_t subscriptions = 310000;
  std::chrono::seconds look_period{60};
  std::size_t unsubscribed_topics = 1000;

  /// Errors   none: false when the program has to end with `exit_code` (help was asked for, or an argument is wrong).
  bool Read(int argc, const char* const* argv, int& exit_code);

  /// For a manager in this process, of which the ORB knows the settings.
  Corvanta::DDS_Manager_i::Options ManagerOptions(const Corvanta::ORB_base& orb) const;
};

}  // namespace Lumenar
