// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "instruments/common/Instrument.h"
#include "instruments/common/Reports.h"
#include "instruments/scpi/DeviceConfig.h"
#include "instruments/scpi/Session.h"
#include "instruments/scpi/SetQueue.h"
#include "instruments/scpi/StopSign.h"
#include "instruments/scpi/items.h"
#include "platform/base/PeriodicTask.h"

namespace Lumenar::Scpi {

/// One device and its one connection: a thread that connects, asks each reading at its rate in turn, sets what clients
/// want set, and begins anew after whatever goes wrong, at first soon and then every few seconds. What went wrong is a
/// line on standard error.
///
/// A reading whose question fails again and again is asked more seldom, so that the others go on.
class Device {
 public:
  /// `prefix` stands before the names of its items. `config` has an address.
  Device(DeviceConfig config, const std::string& prefix, const Instruments::Place& place);
  ~Device() { Stop(); }
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  void Start();

  /// Waits for its thread, which leaves whatever it waits for.
  void Stop() noexcept;

 private:
  /// An item, and when it is to be asked.
  struct Turn {
    std::unique_ptr<DeviceItem> item;
    std::chrono::nanoseconds period;  ///< of a reading; a setting, which has none, is asked once a connection
    bool is_prepared = false;
    Clock::time_point due{};
    unsigned failures = 0;
  };

  /// A question that a device need not know. One that was not answered twice in a row is not asked any more; where the
  /// device has answered it before, it is once more when it measures again.
  struct OptionalQuestion {
    std::string text;
    int failures = 0;
    bool is_known = false;

    bool IsAsked() const { return !text.empty() && failures < 2; }
  };

  static constexpr std::chrono::nanoseconds kNoPeriod{0};

  std::optional<Clock::time_point> Step();
  Clock::time_point StepOnce();
  Clock::time_point Connect();
  Clock::time_point Lost(const std::string& reason);
  void Postpone(Turn& turn);
  void Greet();
  std::string Ask(OptionalQuestion& question);
  void Answered() noexcept;
  void AskAgain() noexcept;
  void Identify();
  bool ReportErrors();
  void BeginAnew();
  void Set(const SetQueue::Wish& wish);
  void Measure(Turn& turn);
  Turn* NextTurn();
  void WaitForSet(std::size_t setting, double number);

  const DeviceConfig config_;
  const std::string title_;  ///< begins its lines
  StopSign stop_;
  Instruments::Reports reports_;
  SetQueue wishes_;
  // The rest belongs to the task.
  std::vector<Turn> turns_;  ///< first those of the settings
  OptionalQuestion identify_;
  OptionalQuestion errors_;
  OptionalQuestion* optional_question_ = nullptr;  ///< under way
  Turn* turn_ = nullptr;                           ///< under way
  std::unique_ptr<Session> session_;
  bool was_connected_ = false;
  bool was_reported_lost_ = false;
  Milliseconds pause_;
  PeriodicTask task_;
};

}  // namespace Lumenar::Scpi
