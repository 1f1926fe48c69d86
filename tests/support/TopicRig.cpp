// SPDX-License-Identifier: Apache-2.0
#include "tests/support/TopicRig.h"

#include <algorithm>
#include <sstream>

#include "platform/wire/any_guard.h"
#include "platform/wire/sample_calls.h"

namespace Lumenar::Test {

std::vector<int> TestSubscriber::Values() {
  Lock lock(mutex_);
  return values_;
}

bool TestSubscriber::WaitForCount(std::size_t count) {
  return WaitUntil([&] { return Values().size() >= count; });
}

bool TestSubscriber::TakeCall(Corvanta::IncomingCall& call) {
  const auto take = [this](Corvanta::SampleRecord&& sample) { Take(std::move(sample)); };
  return Corvanta::DispatchCallback(call, take);
}

void TestSubscriber::Take(Corvanta::SampleRecord&& sample) {
  {
    Lock lock(mutex_);
    values_.push_back(std::get<CORBA::Long>(sample));
  }
  if (in_delivery_) in_delivery_();
}

IsolatedPlatform::Options TopicRig::PlatformOptions(const std::string& transport) {
  return {.topic_manager = true, .hw_enumeration = false, .transport = "orb.call_timeout_ms = 1000\n" + transport};
}

TopicRig::TopicRig(const std::string& transport) : platform_(PlatformOptions(transport)) {
  platform_.UseInThisProcess();
  StartOrb();
}

TopicRig::~TopicRig() { StopOrb(); }

void TopicRig::StartOrb() {
  orb_ = std::make_unique<Corvanta::ORB_wrapper_base>(localargc, localargv);
  orb_->Activate();
}

void TopicRig::StopOrb() { orb_.reset(); }

Corvanta::DDS_Manager_ptr TopicRig::Manager() {
  CORBA::Object_var object = orb_->Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
  return Corvanta::DDS_Manager::_narrow(object);
}

void TopicRig::Publish(const std::string& topic, int value) {
  Corvanta::DDS_Manager_var manager = Manager();
  Corvanta::CallPublish(manager, Corvanta::ViewOf(value), topic.c_str());
}

CORBA::Long TopicRig::Subscribe(const std::string& topic, TestSubscriber* subscriber) {
  Corvanta::DDS_Manager_var manager = Manager();
  Corvanta::DDS_Sub_var reference = subscriber->_this();
  return manager->Subscribe(topic.c_str(), reference);
}

Corvanta::SubscriptionStatus TopicRig::StatusOf(CORBA::Long handle) {
  Corvanta::DDS_Manager_var manager = Manager();
  Corvanta::SubscriptionStatusSeq_var all = manager->Subscriptions();
  for (CORBA::ULong i = 0; i < all->length(); ++i) {
    if (all[i].handle == handle) return all[i];
  }
  return {};
}

std::unique_ptr<Process> TopicRig::StartSubscriber(const std::string& topic, int count,
                                                   std::vector<CORBA::Long>& handles) {
  auto process = platform_.Start("topic_subscriber", {topic, std::to_string(count)});
  if (!process->WaitForLine("ready")) throw std::runtime_error("topic_subscriber: " + process->Error());
  std::istringstream lines(process->Out());
  std::string word;
  CORBA::Long handle = 0;
  while (lines >> word && word == "handle" && lines >> handle) handles.push_back(handle);
  return process;
}

std::chrono::milliseconds TimeOf(const std::function<void()>& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
}

}  // namespace Lumenar::Test
