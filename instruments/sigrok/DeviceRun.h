// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <string>

#include "instruments/sigrok/OpenDevice.h"
#include "instruments/sigrok/SampleCutter.h"
#include "instruments/sigrok/SessionContext.h"

namespace Lumenar::Sigrok {

/// What stands around a run of a device.
struct RunPlace {
  SessionContext& context;
  const std::atomic<bool>& stop;                       ///< the run is to end
  const std::function<void()>& alive;                  ///< called each tick: the thread still works
  const std::function<void(const std::string&)>& say;  ///< a line for people about a packet, of which many may come
};

/// One acquisition of an open device, from its start to its end.
///
/// The library calls back from C: nothing is thrown through it. It loses a stop that comes before its start has
/// returned, so that stops come from its own loop, which runs only after that. A driver that is told to stop and goes
/// on for longer than kDriverEnd ends the process: its thread cannot be ended otherwise.
/// Threads   one.
class DeviceRun {
 public:
  static constexpr std::chrono::milliseconds kDriverEnd{6000};  ///< longer than a publication may take

  enum class End {
    Asked,    ///< `stop`
    Itself,   ///< the device was lost, or has measured all that it was told to: the library calls both an end
    Silence,  ///< nothing came for `silence`
    Gone,     ///< the file of its port is not there any more
  };

  /// `silence` 0: any silence is good. `port` is the file of the device's port; empty without.
  struct Watch {
    std::chrono::milliseconds silence{0};
    std::string port;
  };

  DeviceRun(const SigrokLibrary& library, const OpenDevice& device, SampleCutter& cutter, const RunPlace& place);
  ~DeviceRun();
  DeviceRun(const DeviceRun&) = delete;
  DeviceRun& operator=(const DeviceRun&) = delete;

  /// Errors   DeviceError when the device does not start.
  End Run(const Watch& watch);

 private:
  using Clock = std::chrono::steady_clock;

  static void OnPacket(const sr_dev_inst* device, const sr_datafeed_packet* packet, void* self) noexcept;
  void Take(const sr_datafeed_packet& packet) noexcept;
  void Tick() noexcept;
  void Stop(End end) noexcept;

  const RunPlace place_;
  SampleCutter& cutter_;
  sr_session* session_ = nullptr;
  Watch watch_;
  End end_ = End::Itself;
  bool stopping_ = false;
  Clock::time_point stopped_at_{};
  Clock::time_point last_packet_{};
};

/// Writes a line to standard error and ends the process at once: a driver holds a thread of it that nobody can end.
[[noreturn]] void EndHost(const std::string& line) noexcept;

}  // namespace Lumenar::Sigrok
