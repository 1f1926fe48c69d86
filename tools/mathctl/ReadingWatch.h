// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "client/Subscription.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/watched_readings.h"

namespace Lumenar::Mathctl {

struct WatchArguments {
  std::vector<std::string> readings;
  unsigned long results = 0;         ///< 0: no limit
  double seconds = 0;                ///< 0: no limit
  double idle_s = 0;                 ///< 0: silence is told and waited through
  std::optional<unsigned> elements;  ///< of a trace; 0: all
  bool only_new = false;             ///< without the present value
};

/// Writes the present value of some readings and each that comes, until enough came or it is ended. Says on standard
/// error why nothing comes of one, and when its subscription was lost and has been made again.
/// Threads   one.
class ReadingWatch {
 public:
  ReadingWatch(const Session& session, const WatchArguments& arguments);

  /// Errors   Client::Error: no such reading; all that were watched are gone, or their engines are; nothing came for the
  ///          idle time (Unreachable).
  void Run();

 private:
  using Clock = std::chrono::steady_clock;

  struct Watched {
    KnownReading known;
    unsigned long results = 0;
    Clock::time_point heard;   // when something came, or the watch began
    Clock::time_point looked;  // when its engine was last asked
    bool silence_told = false;
    bool gone = false;
  };

  void Subscribe();
  void WritePresent();
  void WriteDelivery(const Client::Delivery& delivery);
  void Write(const Watched& watched, const Corvanta::SampleRecord& record, std::chrono::system_clock::time_point time,
             bool present);
  bool Finished() const;
  std::chrono::milliseconds Patience() const;
  void Look();
  void LookAt(Watched& watched);
  void Gone(Watched& watched, const Client::Error& error);
  void RequireNotIdle();
  void TellRenewed();
  void Tell(const std::string& text) const;

  const Session& session_;
  const WatchArguments& arguments_;
  Client::Subscription subscription_;
  RowWriter rows_;
  std::vector<Watched> watched_;
  unsigned long written_ = 0;
  Clock::time_point heard_;
  std::optional<Clock::time_point> end_;
};

}  // namespace Lumenar::Mathctl
