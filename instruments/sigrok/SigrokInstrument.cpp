// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/SigrokInstrument.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "instruments/sigrok/Finder.h"
#include "platform/base/Diagnostic.h"
#include "platform/orb/CorbaText.h"

namespace Lumenar::Sigrok {
namespace {

using std::chrono::milliseconds;

/// How long a device without a sample rate may be silent: such meters send again and again.
constexpr milliseconds kUsualSilence{10000};
constexpr std::chrono::seconds kLook{1};

OpenDevice::Wanted WantedOf(const SigrokOptions& options) { return {options.device, options.config, options.channels}; }

}  // namespace

SigrokInstrument::SigrokInstrument(SigrokOptions options) : options_(std::move(options)), library_(options_.log_level) {
  library_.Driver(options_.device.driver);
  for (const DeviceOption& option : options_.config) ValueFromText(OptionInfo(option.key), option.value);
}

SigrokInstrument::~SigrokInstrument() { Stop(); }

void SigrokInstrument::Offer(const Instruments::Place& place) {
  readings_ = std::make_unique<MeasuredReadings>(place, options_.errors);
  settings_ = std::make_unique<DeviceSettings>(place, context_, options_.attributes);
}

void SigrokInstrument::Start() {
  if (stop_ || thread_.joinable()) return;
  SayAlive();
  watchdog_ = std::make_unique<PeriodicTask>([this]() -> std::optional<PeriodicTask::Clock::time_point> {
    RequireAlive();
    return PeriodicTask::Clock::now() + kLook;
  });
  watchdog_->Start();
  thread_ = std::thread([this] { Keep(); });
}

void SigrokInstrument::Stop() noexcept {
  stop_ = true;
  if (watchdog_) watchdog_->Stop();
  if (!thread_.joinable()) return;
  const auto end = Clock::now() + DeviceRun::kDriverEnd;
  {
    Lock lock(mutex_);
    changed_.NotifyAll();
    while (!ended_ && Clock::now() < end) changed_.WaitFor(mutex_, end - Clock::now());
    if (!ended_) EndHost(options_.device.Text() + ": its driver does not end; the host goes");
  }
  thread_.join();
}

void SigrokInstrument::Keep() {
  while (!stop_ && !done_) {
    milliseconds pause = options_.retry;
    try {
      if (LookFor()) pause = Measure().value_or(options_.retry);
    } catch (const CORBA::Exception& failure) {
      Say("its settings could not be offered: " + CorbaText(failure));
    } catch (const std::exception& failure) {  // the start of a thread; the device is tried again
      Say(failure.what());
    }
    if (!WaitFor(pause)) break;
  }
  Lock lock(mutex_);
  ended_ = true;
  changed_.NotifyAll();
}

bool SigrokInstrument::LookFor() {
  SayAlive();
  const Found found = FindDevice(options_.device, options_.scan_limit, [this] {
    SayAlive();
    return stop_.load();
  });
  if (found.answers || stop_) return found.answers;
  Say(fmt::format("{}: {}; it is looked for every {:g} s",
                  was_there_ ? "is gone, and its readings keep their value" : "is not there", found.reason,
                  std::chrono::duration<double>(options_.retry).count()));
  return false;
}

/// From opening to the end; how long to wait before the next look, nothing: as usual.
std::optional<milliseconds> SigrokInstrument::Measure() {
  SayAlive();
  const OpenDevice device(library_, WantedOf(options_));
  SampleCutter cutter(*readings_, options_.points);
  const std::function<void()> learn_rate = [&] { cutter.SetSampleRate(device.SampleRate_Hz()); };
  learn_rate();
  const std::function<void()> alive = [this] { SayAlive(); };
  const std::function<void(const std::string&)> say = [this](const std::string& what) {
    reports_.SayAsItIs(Text(what));
  };
  const auto begin = Clock::now();
  DeviceRun::End end;
  try {
    settings_->Learn(device, learn_rate);
    DeviceRun run(library_, device, cutter, {context_, stop_, alive, say});
    Say(was_there_ ? "measures again" : "measures");
    was_there_ = true;
    end = run.Run(WatchOf(device));
  } catch (...) {  // whoever sets something from now on finds nobody
    settings_->Forget();
    throw;
  }
  settings_->Forget();
  return PauseAfter(end, begin);
}

DeviceRun::Watch SigrokInstrument::WatchOf(const OpenDevice& device) const {
  const std::string place = options_.device.Connection();
  const bool is_meter = device.SampleRate_Hz() <= 0;
  return {options_.silence.value_or(is_meter ? kUsualSilence : milliseconds(0)),
          place.rfind('/', 0) == 0 ? place : std::string()};
}

/// Whether it is gone is told by the next search.
milliseconds SigrokInstrument::PauseAfter(DeviceRun::End end, Clock::time_point begin) {
  if (end == DeviceRun::End::Itself && options_.HasEnd()) {
    done_ = LookFor();
    if (done_) Say("has measured what it was told to; its readings keep their value");
  }
  return Clock::now() - begin < options_.retry ? options_.retry : milliseconds(0);
}

std::string SigrokInstrument::Text(const std::string& what) const {
  return fmt::format("SIGROK: {} {}", options_.device.Text(), what);
}

/// A line, unless it is the same as the last.
void SigrokInstrument::Say(const std::string& what) {
  if (what == last_said_) return;
  last_said_ = what;
  WriteError(Text(what), Priority::Warning);
}

void SigrokInstrument::SayAlive() noexcept { alive_at_ = Clock::now().time_since_epoch().count(); }

void SigrokInstrument::RequireAlive() const {
  const Clock::duration silence = Clock::now().time_since_epoch() - Clock::duration(alive_at_.load());
  if (silence > kHang && !stop_)
    EndHost(fmt::format("{}: its driver has hung for {} s; the host goes", options_.device.Text(), kHang.count()));
}

/// False when it is over.
bool SigrokInstrument::WaitFor(milliseconds pause) {
  const auto end = Clock::now() + pause;
  Lock lock(mutex_);
  while (!stop_ && Clock::now() < end) {
    SayAlive();
    changed_.WaitFor(mutex_, std::min<Clock::duration>(end - Clock::now(), kLook));
  }
  return !stop_;
}

std::unique_ptr<Instruments::Instrument> CreateSigrok(const Instruments::Settings& settings) {
  return std::make_unique<SigrokInstrument>(ParseSigrokOptions(settings));
}

}  // namespace Lumenar::Sigrok
