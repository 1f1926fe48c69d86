// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/Subscription.h"
#include "python/src/Part.h"
#include "python/src/ReadingPart.h"
#include "python/src/Result.h"

namespace Lumenar::Python {

/// The samples of some readings as they come, for Python. What delivers them fills a queue and knows no Python.
/// Threads   any.
class MonitorPart : public Part {
 public:
  /// Blocks. Errors   those of Client::Subscription::Add; Client::Error BadArgument for closed readings.
  MonitorPart(const std::shared_ptr<Client::Connection>& connection,
              const std::vector<std::shared_ptr<ReadingPart>>& readings);

  /// The next sample; null when `limit` (without end: nothing) ran out or the monitor ended. With the GIL, which is free
  /// while it waits.
  /// Errors   py::error_already_set, what the handler of a signal raised: within kLook, on the main thread.
  std::shared_ptr<Result> Next(std::optional<double> limit_s) const;

  /// A sample that is there; null where none is. Waits for nothing.
  std::shared_ptr<Result> Poll() const;

  /// A file descriptor that can be read from when a sample may have come since the last Poll, or the monitor has ended.
  /// It stays open as long as this, also when the monitor has ended: an event loop that waits at it hears of the end.
  /// With the GIL, as Poll. Errors   std::system_error.
  int FileDescriptor();

  bool HasEnded() const;
  unsigned long long Lost() const;
  void Close() noexcept override;

 private:
  /// An event descriptor, shared by the monitor and by who tells it of arrivals.
  struct Arrivals {
    Arrivals();
    ~Arrivals();
    Arrivals(const Arrivals&) = delete;
    Arrivals& operator=(const Arrivals&) = delete;

    const int descriptor;
  };

  struct State {
    explicit State(const std::shared_ptr<Client::Connection>& shared) : connection(shared), subscription(*shared) {}
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    std::shared_ptr<Result> ResultOf(std::optional<Client::Delivery> delivery) const;

    std::shared_ptr<Client::Connection> connection;
    std::vector<std::string> names;
    Client::Subscription subscription;
  };

  std::shared_ptr<Arrivals> arrivals_;       ///< once asked for
  std::atomic<unsigned long long> lost_{0};  ///< once closed
  SharedState<State> state_;
};

}  // namespace Lumenar::Python
