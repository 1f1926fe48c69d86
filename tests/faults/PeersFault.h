// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "GuiAble.hh"
#include "HwEnumerate.hh"
#include "tests/faults/FaultCase.h"
#include "tests/faults/Traffic.h"

namespace Lumenar::Test {

/// A platform whose calls are limited to one second, with a math engine, and what the faults of peers ask of it.
class PeersFault : public EngineFixture {
 protected:
  static constexpr std::chrono::seconds kBack{5};  ///< so soon everything is found again

  /// `transport` are further lines of the transport configuration.
  explicit PeersFault(const std::string& transport = "", const std::vector<std::string>& topic_manager_arguments = {});

  /// Starts the simulator with the traces SIM/1/A, at 200 Hz, and SIM/1/B, which stands still.
  Process& StartSim();

  Corvanta::MathFactory::ReadingAttribSeq SimInputs();

  Corvanta::DDS_Manager_var Manager();
  Corvanta::SubscriptionStatusSeq_var Subscriptions();

  /// The subscriptions of a topic, in the order in which they were made.
  std::vector<Corvanta::SubscriptionStatus> SubscriptionsOf(const std::string& topic);

  /// Samples that the math engine could not send.
  unsigned long LostByEngine();

  /// Where samples were lost, as the system counts it: said when a test misses some.
  std::string Losses();

  std::size_t ObjectCount();

  /// How many lines of the math engine's standard error contain `part`.
  std::size_t EngineLines(const std::string& part);
};

/// A reading by the name of its engine and its own.
Corvanta::EngineReadingBase_var FindReading(Corvanta::ORB_wrapper& orb, const std::string& engine,
                                            const std::string& item);

std::size_t CountOf(const std::string& text, const std::string& part);

/// How long `action` took.
std::chrono::milliseconds TimeOf(const std::function<void()>& action);

}  // namespace Lumenar::Test
