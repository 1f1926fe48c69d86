// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/DeviceRun.h"

#include <omniORB4/CORBA.h>
#include <unistd.h>

#include <exception>

#include "platform/base/Diagnostic.h"
#include "platform/orb/CorbaText.h"

namespace Lumenar::Sigrok {
namespace {

constexpr std::chrono::milliseconds kTick{200};

/// The loop of a context runs for as long as this lives.
class RunningLoop {
 public:
  explicit RunningLoop(SessionContext& context) : context_(context) { context_.SetRuns(true); }
  ~RunningLoop() { context_.SetRuns(false); }
  RunningLoop(const RunningLoop&) = delete;
  RunningLoop& operator=(const RunningLoop&) = delete;

 private:
  SessionContext& context_;
};

}  // namespace

DeviceRun::DeviceRun(const SigrokLibrary& library, const OpenDevice& device, SampleCutter& cutter,
                     const RunPlace& place)
    : place_(place), cutter_(cutter) {
  Require(sr_session_new(library.Context(), &session_), "no session");
  try {
    Require(sr_session_datafeed_callback_add(session_, OnPacket, this), "no session");
    Require(sr_session_dev_add(session_, device.Instance()), "no session");
  } catch (const DeviceError&) {
    sr_session_destroy(session_);
    throw;
  }
}

DeviceRun::~DeviceRun() { sr_session_destroy(session_); }

DeviceRun::End DeviceRun::Run(const Watch& watch) {
  watch_ = watch;
  const SessionContext::OfThisThread own(place_.context);
  Require(sr_session_start(session_), "it does not start");
  last_packet_ = Clock::now();
  const SessionContext::Ticks ticks(place_.context, kTick, [this] { Tick(); });
  const RunningLoop running(place_.context);
  Require(sr_session_run(session_), "it does not run");
  return end_;
}

void DeviceRun::OnPacket(const sr_dev_inst*, const sr_datafeed_packet* packet, void* self) noexcept {
  static_cast<DeviceRun*>(self)->Take(*packet);
}

void DeviceRun::Take(const sr_datafeed_packet& packet) noexcept {
  if (packet.type == SR_DF_ANALOG) last_packet_ = Clock::now();
  try {
    cutter_.Take(packet);
  } catch (const std::exception& failure) {  // called from C
    place_.say(failure.what());
  } catch (const CORBA::Exception& failure) {
    place_.say("a reading could not be offered: " + CorbaText(failure));
  }
}

void DeviceRun::Tick() noexcept {
  place_.alive();
  const auto now = Clock::now();
  if (stopping_) {
    if (now - stopped_at_ > kDriverEnd) EndHost("the driver of the device does not end; the host goes");
    return;
  }
  if (place_.stop) return Stop(End::Asked);
  if (!watch_.port.empty() && ::access(watch_.port.c_str(), F_OK) != 0) return Stop(End::Gone);
  if (watch_.silence.count() > 0 && now - last_packet_ > watch_.silence) return Stop(End::Silence);
}

void DeviceRun::Stop(End end) noexcept {
  end_ = end;
  stopping_ = true;
  stopped_at_ = Clock::now();
  sr_session_stop(session_);
}

void EndHost(const std::string& line) noexcept {
  try {
    WriteError("SIGROK: " + line);
  } catch (const std::exception&) {  // the end comes with or without a line
  }
  ::_exit(1);
}

}  // namespace Lumenar::Sigrok
