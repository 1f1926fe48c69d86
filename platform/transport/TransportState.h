// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/transport/AnswerSender.h"
#include "platform/transport/ConnectionTable.h"
#include "platform/transport/MessageFraming.h"
#include "platform/transport/RefusalLog.h"
#include "platform/transport/TransportConfig.h"

namespace Corvanta {

/// A descriptor kept back: given up for the moment that it takes to accept a connection and close it.
class SpareDescriptor {
 public:
  SpareDescriptor() { Take(); }
  ~SpareDescriptor() { Give(); }
  SpareDescriptor(const SpareDescriptor&) = delete;
  SpareDescriptor& operator=(const SpareDescriptor&) = delete;

  void Take() { descriptor_ = open("/dev/null", O_RDONLY | O_CLOEXEC); }
  void Give() {
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
  }

 private:
  int descriptor_ = -1;
};

/// What all endpoints and connections of the ORB share; it outlives them.
struct TransportState {
  explicit TransportState(const TransportConfig& config)
      : table(LimitByDescriptors(config.max_server_threads)),
        assembly(config.MaxAssemblyBytes()),
        sending{config.send_timeout, SendBudget::OfProcess(), log} {
    sending.budget.SetLimit(config.max_unsent_bytes);
    framing.max_message_bytes = config.max_message_bytes;
    framing.assembly_time = std::chrono::seconds(config.in_scan_period_s);
  }

  RefusalLog log;
  ConnectionTable table;
  FramingLimits framing;
  AssemblyBudget assembly;
  const AnswerSender::Limits sending;
  SpareDescriptor spare;  // the endpoint's thread alone uses it
  std::atomic<bool> ended{false};

 private:
  static std::size_t LimitByDescriptors(std::size_t wanted) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return wanted;
    return std::max<std::size_t>(1, std::min<std::size_t>(wanted, limit.rlim_cur / 2));
  }
};

/// The address without its port, of a "giop:tcp:ADDRESS:PORT"; "unix:PATH" of a "giop:unix:PATH".
std::string HostOf(std::string_view peer);

}  // namespace Corvanta
