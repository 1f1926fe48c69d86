// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "instruments/common/Instrument.h"
#include "instruments/common/Reports.h"
#include "instruments/sigrok/DeviceRun.h"
#include "instruments/sigrok/DeviceSettings.h"
#include "instruments/sigrok/MeasuredReadings.h"
#include "instruments/sigrok/SigrokOptions.h"
#include "platform/base/Mutex.h"
#include "platform/base/PeriodicTask.h"

namespace Lumenar::Sigrok {

/// A device that libsigrok has a driver for. One thread looks for it, opens it and takes what it measures; when the
/// device is gone, its readings keep their last value, and it is looked for again. What becomes of it is told on
/// standard error, a line for each change.
///
/// A driver that holds the thread, for kHang while it works or for DeviceRun::kDriverEnd when it is to end, ends the
/// process with one line: nothing else ends such a thread, and the host is started again.
class SigrokInstrument : public Instruments::Instrument {
 public:
  static constexpr std::chrono::seconds kHang{60};

  /// Errors   DeviceError for a driver or an option that there is not.
  explicit SigrokInstrument(SigrokOptions options);
  ~SigrokInstrument() override;

  void Offer(const Instruments::Place& place) override;
  void Start() override;
  void Stop() noexcept override;

 private:
  using Clock = std::chrono::steady_clock;

  void Keep();
  bool LookFor();
  std::optional<std::chrono::milliseconds> Measure();
  DeviceRun::Watch WatchOf(const OpenDevice& device) const;
  std::chrono::milliseconds PauseAfter(DeviceRun::End end, Clock::time_point begin);
  std::string Text(const std::string& what) const;
  void Say(const std::string& what);
  void SayAlive() noexcept;
  void RequireAlive() const;
  bool WaitFor(std::chrono::milliseconds pause);

  const SigrokOptions options_;
  SigrokLibrary library_;
  SessionContext context_;
  Instruments::Reports reports_;  // of packets, which may be many
  std::unique_ptr<MeasuredReadings> readings_;
  std::unique_ptr<DeviceSettings> settings_;
  std::unique_ptr<PeriodicTask> watchdog_;

  // The thread's own:
  std::string last_said_;
  bool was_there_ = false;
  bool done_ = false;  // it has ended by itself, as it was told to

  std::atomic<bool> stop_{false};
  std::atomic<Clock::rep> alive_at_{0};
  Mutex mutex_;  // a leaf
  Condition changed_;
  bool ended_ GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

/// Errors   std::invalid_argument, DeviceError.
std::unique_ptr<Instruments::Instrument> CreateSigrok(const Instruments::Settings& settings);

}  // namespace Lumenar::Sigrok
