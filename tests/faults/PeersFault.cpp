// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/PeersFault.h"

#include <fmt/format.h>

#include <stdexcept>

#include "platform/dds/DDS_BaseObj.h"

namespace Lumenar::Test {

namespace {

IsolatedPlatform::Options QuickLimits(const std::string& transport,
                                      const std::vector<std::string>& topic_manager_arguments) {
  IsolatedPlatform::Options options;
  options.transport = "orb.call_timeout_ms = 1000\n" + transport;
  options.topic_manager_arguments = topic_manager_arguments;
  return options;
}

}  // namespace

PeersFault::PeersFault(const std::string& transport, const std::vector<std::string>& topic_manager_arguments)
    : EngineFixture(QuickLimits(transport, topic_manager_arguments)) {}

Process& PeersFault::StartSim() {
  return platform_.StartEngine(
      "sim", {{"SIM_READINGS", "trace:A:points=101:rate=200:units=mW;trace:B:points=101:rate=0:units=mW"}});
}

Corvanta::EngineReadingBase_var FindReading(Corvanta::ORB_wrapper& orb, const std::string& engine,
                                            const std::string& item) {
  for (const std::string& instance : orb.List({"Lumenar", "local", "GUI_ABLE"})) {
    try {
      CORBA::Object_var object = orb.Resolve({"Lumenar", "local", "GUI_ABLE", instance});
      Corvanta::GUI_Able_var registration = Corvanta::GUI_Able::_narrow(object);
      CORBA::String_var name = registration->EngineName();
      if (engine != name.in()) continue;
      Corvanta::ItemSeq_var items = registration->Items();
      for (CORBA::ULong i = 0; i < items->length(); ++i) {
        if (item == items[i].name.in()) return Corvanta::EngineReadingBase::_duplicate(items[i].reference);
      }
    } catch (const CORBA::SystemException&) {  // the name of one that was killed
    }
  }
  throw std::runtime_error("no reading " + engine + "/" + item);
}

Corvanta::MathFactory::ReadingAttribSeq PeersFault::SimInputs() {
  Corvanta::MathFactory::ReadingAttribSeq inputs;
  inputs.length(2);
  inputs[0] = FindReading(bench_.Orb(), "SIM/1", "A");
  inputs[1] = FindReading(bench_.Orb(), "SIM/1", "B");
  return inputs;
}

Corvanta::DDS_Manager_var PeersFault::Manager() {
  CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
  return Corvanta::DDS_Manager::_narrow(object);
}

Corvanta::SubscriptionStatusSeq_var PeersFault::Subscriptions() { return Manager()->Subscriptions(); }

std::vector<Corvanta::SubscriptionStatus> PeersFault::SubscriptionsOf(const std::string& topic) {
  const Corvanta::SubscriptionStatusSeq_var all = Subscriptions();
  std::vector<Corvanta::SubscriptionStatus> found;
  for (CORBA::ULong i = 0; i < all->length(); ++i) {
    if (topic == all.in()[i].topic.in()) found.push_back(all.in()[i]);
  }
  return found;
}

unsigned long PeersFault::LostByEngine() {
  CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "GUI_ABLE", "1"});
  Corvanta::GUI_Able_var registration = Corvanta::GUI_Able::_narrow(object);
  return registration->LostSamples();
}

std::string PeersFault::Losses() {
  std::string text = fmt::format("not taken from the test {}, from the engine {}; dropped in the topic manager",
                                 Corvanta::DdsBaseAccess::Instance().LostSamples(), LostByEngine());
  const Corvanta::SubscriptionStatusSeq_var all = Subscriptions();
  for (CORBA::ULong i = 0; i < all->length(); ++i) {
    const Corvanta::SubscriptionStatus& status = all.in()[i];
    text += fmt::format(" {} for {}", status.dropped, status.topic.in());
  }
  return text + "\nthe engine wrote: " + engine_.Error();
}

std::size_t PeersFault::ObjectCount() { return Corvanta::MathFactory::IdSeq_var(factory_->ListMath())->length(); }

std::size_t PeersFault::EngineLines(const std::string& part) { return CountOf(engine_.Error(), part); }

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

std::chrono::milliseconds TimeOf(const std::function<void()>& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
}

}  // namespace Lumenar::Test
