// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "client/OwnEngine.h"
#include "platform/base/Mutex.h"
#include "platform/components/ItemNamer.h"
#include "platform/components/readings/EngineBasicTrace_i.h"
#include "platform/components/readings/EngineReadingBoolean_i.h"
#include "platform/components/readings/EngineReadingLong_i.h"
#include "platform/components/readings/EngineReadingValueDouble_i.h"
#include "platform/records/SampleRecord.h"

namespace Lumenar::Client {

/// A reading that the client itself offers: others see it like one of an instrument, take its samples and compute on
/// it. It is withdrawn when it goes; one of the same name that comes later has the same topic, so that who computes on
/// it goes on.
/// Threads   any.
class OwnReading {
 public:
  /// Its kind is that of the first sample, which it publishes.
  /// Errors   Error BadArgument for an item name that is none, and as Publish; those of OwnEngine::TakeItem; CORBA
  ///          system exceptions.
  OwnReading(std::shared_ptr<OwnEngine> engine, const std::string& item, Corvanta::SampleRecord&& first);
  ~OwnReading();
  OwnReading(const OwnReading&) = delete;
  OwnReading& operator=(const OwnReading&) = delete;

  /// "MYLAB/1/BASELINE".
  std::string Name() const { return engine_->Name() + '/' + item_; }

  /// Stores the sample and publishes it; returns when the topic manager has it, or is found away. A trace gets its
  /// number and the time of now; all else of it is the caller's.
  /// Errors   Error BadArgument for a sample of another kind than the first, and for one larger than a message may be.
  void Publish(Corvanta::SampleRecord&& sample);

 private:
  /// The item's name, as long as this lives.
  class Place {
   public:
    Place(OwnEngine& engine, const std::string& item) : engine_(engine), item_(item) { engine_.TakeItem(item_); }
    ~Place() { engine_.FreeItem(item_); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

   private:
    OwnEngine& engine_;
    const std::string& item_;
  };

  using Trace = Corvanta::BASIC_TRACE::BT_DATA;
  using Scalar = Corvanta::VALUE_DOUBLE::VALUE;
  using Item =
      std::variant<std::monostate, std::unique_ptr<Corvanta::EngineBasicTrace_i>,
                   std::unique_ptr<Corvanta::EngineReadingValueDouble_i>,
                   std::unique_ptr<Corvanta::EngineReadingLong_i>, std::unique_ptr<Corvanta::EngineReadingBoolean_i>>;

  void Check(const Corvanta::SampleRecord& sample) const;
  void Complete(Corvanta::SampleRecord& sample) REQUIRES(mutex_);
  Item Offered(const Corvanta::SampleRecord& first);

  const std::shared_ptr<OwnEngine> engine_;
  const std::string item_;
  const Place place_;
  Corvanta::ItemNamer namer_;
  Mutex mutex_;  ///< held over the publication, which the time limit bounds, so that numbers come in order
  std::uint32_t next_number_ GUARDED_BY(mutex_) = 0;
  Item reading_;  ///< set by the constructor alone
};

}  // namespace Lumenar::Client
