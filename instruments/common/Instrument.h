// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "instruments/common/Settings.h"
#include "platform/base/PeriodicTask.h"
#include "platform/components/GUI_AbleRegistration.h"
#include "platform/components/ItemNamer.h"

namespace Lumenar::Instruments {

/// Where an instrument's readings get their names and are listed.
struct Place {
  Corvanta::ItemNamer& namer;
  GUI_AbleRegistration& registration;

  /// A reading or attribute of the platform's: `more` is what its class wants behind the name.
  /// Errors   as its constructor.
  template <class Item, class... More>
  std::unique_ptr<Item> Create(const std::string& name, More&&... more) const {
    return std::make_unique<Item>(namer, registration, name.c_str(), std::forward<More>(more)...);
  }
};

/// A source of readings. Its life: constructed from its settings, Offer, Start, Stop; destroyed when it was stopped and
/// the ORB is gone, so that neither a thread of its own nor a request meets its destruction. A derived class says in
/// Offer what runs from Start to Stop; both are as they should be then.
/// Threads   Stop: any, also beside Start; the rest: one at a time.
class Instrument {
 public:
  Instrument() = default;
  virtual ~Instrument() = default;
  Instrument(const Instrument&) = delete;
  Instrument& operator=(const Instrument&) = delete;

  /// Creates the readings and attributes, with what they hold before the first sample. Requests do not come before this
  /// returns.
  virtual void Offer(const Place& place) = 0;

  /// Begins to produce samples, on threads of its own: starts the parts, in the order in which they were named.
  /// Errors   those of a part.
  virtual void Start();

  /// Ends that, the part named last first, and waits for the threads. May come before Start, which then does nothing,
  /// and more than once.
  virtual void Stop() noexcept;

 protected:
  /// In Offer: `task` is done at a steady rate, on a thread of its own, at first at Start. An exception that leaves it is
  /// written to standard error and ends it, but for want of memory, which costs that run alone.
  void RunAtRate(double rate_Hz, std::function<void()> task);

  /// In Offer: a part of the instrument, which outlives its Stop, is started and stopped with it. Its Stop may come at
  /// any time, also before Start, which then does nothing.
  template <class Part>
  void RunPart(Part& part) {
    parts_.push_back({[&part] { part.Start(); }, [&part]() noexcept { part.Stop(); }});
  }

 private:
  struct RunningPart {
    std::function<void()> start;
    std::function<void()> stop;
  };

  std::deque<PeriodicTask> tasks_;
  std::vector<RunningPart> parts_;  ///< complete when Offer has returned
};

/// What the parts that instruments have in common need to know of one kind of instrument.
struct InstrumentKind {
  const char* name;    ///< under which it is known in Lumenar/local, as "PROBE"
  const char* title;   ///< as it stands in lines of output, as "Lumenar::ProbeInit"
  const char* file;    ///< under which it announces itself, as "probe.engine"
  const char* prefix;  ///< of its settings, as "PROBE_"
  /// Errors   std::exception for settings that cannot be used; nothing is running yet.
  std::unique_ptr<Instrument> (*create)(const Settings& settings);
};

/// The `create` of a kind whose instrument is constructed from the settings.
template <class Kind>
std::unique_ptr<Instrument> CreateInstrument(const Settings& settings) {
  return std::make_unique<Kind>(settings);
}

/// The kind of the engine library that this is linked into; each instrument's main.cpp defines it.
const InstrumentKind& ThisInstrument();

}  // namespace Lumenar::Instruments
