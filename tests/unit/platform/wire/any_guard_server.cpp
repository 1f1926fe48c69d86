// SPDX-License-Identifier: Apache-2.0
// Servants behind the any guard, for tests: writes the references of a subscriber and of a manager, then a line for
// each record that comes in. A sample "long -1" is answered with BAD_OPERATION, "long -2" when a "long -3" has come or
// with TIMEOUT after ten seconds; handle 13 does not take its sample, and 14 throws.
#include <chrono>
#include <future>

#include "platform/base/Diagnostic.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/program/program.h"
#include "platform/wire/any_guard.h"
#include "tests/unit/platform/wire/QuietManager.h"
#include "tests/unit/platform/wire/record_text.h"

namespace Corvanta {
namespace {

class Subscriber : public GuardedServant<POA_Corvanta::DDS_GroupSub> {
 public:
  void DDS_Callback(const CORBA::Any&) override { Lumenar::WriteOut("not guarded"); }
  CORBA::Long GetId() override { return 7; }
  HandleSeq* DDS_Group(const SharedSampleSeq&) override {
    Lumenar::WriteOut("not guarded");
    return new HandleSeq;
  }

  bool TakeCall(IncomingCall& call) override {
    const auto deliver = [this](SampleRecord&& record) {
      const auto* number = std::get_if<CORBA::Long>(&record);
      if (number != nullptr && *number == -1) throw CORBA::BAD_OPERATION(0, CORBA::COMPLETED_YES);
      if (number != nullptr && *number == -2) WaitForRelease();
      if (number != nullptr && *number == -3) release_.set_value();
      Lumenar::WriteOut("callback " + Test::TextOf(record));
    };
    const auto take = [](CORBA::Long member, SampleRecord& record, bool last) {
      Lumenar::WriteOut("group " + std::to_string(member) + (last ? " last " : " ") + Test::TextOf(record));
      if (member == 14) throw CORBA::BAD_OPERATION(0, CORBA::COMPLETED_YES);
      return member != 13;
    };
    return DispatchCallback(call, deliver) || DispatchGroup(call, take);
  }

 private:
  void WaitForRelease() {
    Lumenar::WriteOut("held");
    const auto end = released_.wait_for(std::chrono::seconds(10));
    if (end != std::future_status::ready) throw CORBA::TIMEOUT(0, CORBA::COMPLETED_YES);
  }

  std::promise<void> release_;
  std::shared_future<void> released_ = release_.get_future();
};

class Manager : public Test::QuietManager<GuardedServant<POA_Corvanta::DDS_Manager>> {
 public:
  void Publish(const CORBA::Any&, const char*) override { Lumenar::WriteOut("not guarded"); }

  bool TakeCall(IncomingCall& call) override {
    const auto publish = [](SampleRecord&& record, const char* topic) {
      Lumenar::WriteOut(std::string("publish ") + topic + " " + Test::TextOf(record));
    };
    return DispatchPublish(call, publish);
  }
};

void Serve() {
  ORB_wrapper_base orb(localargc, localargv);
  PortableServer::Servant_var<Subscriber> subscriber(new Subscriber);
  PortableServer::Servant_var<Manager> manager(new Manager);
  CORBA::Object_var subscriber_reference = subscriber->_this();
  CORBA::Object_var manager_reference = manager->_this();
  orb.Activate();
  CORBA::String_var subscriber_text = orb.Orb()->object_to_string(subscriber_reference);
  CORBA::String_var manager_text = orb.Orb()->object_to_string(manager_reference);
  Lumenar::WriteOut(subscriber_text.in());
  Lumenar::WriteOut(manager_text.in());
  Lumenar::WriteOut("ready");
  orb.Run();
}

}  // namespace
}  // namespace Corvanta

int main() {
  return Lumenar::RunProgram("any_guard_server", [] {
    Corvanta::Serve();
    return 0;
  });
}
