// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <new>
#include <span>
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

/// One read of the ORB: what its transport's Recv would return, of whole messages alone. `receive` reads from the
/// socket as that does; `unlawful` is told why the connection ends.
template <class Receive, class Unlawful>
int ReceiveFramed(MessageFraming& framing, std::span<char> buffer, Receive&& receive, Unlawful&& unlawful) noexcept {
  try {
    for (;;) {
      const bool is_plain = framing.IsPlain();
      std::size_t count = is_plain ? 0 : framing.Give(buffer);
      if (count == 0) {
        const std::span<char> room = is_plain ? buffer : framing.Room(buffer);
        const int read = receive(room.data(), room.size());
        if (read <= 0) return read;
        count = framing.Arrived(buffer, static_cast<std::size_t>(read));
      }
      if (count > 0) return static_cast<int>(count);
    }
  } catch (const UnlawfulMessage& failure) {
    unlawful(failure.what());
  } catch (const std::bad_alloc&) {
    unlawful("no memory for what has come in part");
  }
  return -1;
}

}  // namespace Corvanta
