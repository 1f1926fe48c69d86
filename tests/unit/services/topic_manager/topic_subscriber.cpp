// SPDX-License-Identifier: Apache-2.0
// topic_subscriber TOPIC COUNT: a process that subscribes COUNT times to a topic, for tests to stop and to kill.
// Prints "handle N" for each subscription, "ready", then each sample.
#include <fmt/format.h>

#include <cstdlib>
#include <vector>

#include "platform/base/Diagnostic.h"
#include "platform/dds/DDS_BaseObj.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/signals/Signals.h"
#include "platform/wire/any_guard.h"

namespace {

class Printer : public Corvanta::GuardedServant<POA_Corvanta::DDS_Sub> {
 public:
  void DDS_Callback(const CORBA::Any&) override {}
  CORBA::Long GetId() override { return 0; }

 protected:
  bool TakeCall(Corvanta::IncomingCall& call) override {
    const auto print = [](Corvanta::SampleRecord&& sample) {
      Lumenar::WriteOut(fmt::format("sample {}", std::get<CORBA::Long>(sample)));
    };
    return Corvanta::DispatchCallback(call, print);
  }
};

}  // namespace

int main(int, char** argv) {
  Lumenar::Signals::Install();
  Corvanta::ORB_wrapper_base orb(localargc, localargv);
  orb.Activate();
  std::vector<PortableServer::Servant_var<Printer>> printers;
  for (int i = 0; i < std::atoi(argv[2]); ++i) {
    printers.emplace_back(new Printer);
    Corvanta::DDS_Sub_var reference = printers.back()->_this();
    const auto handle = Corvanta::DdsBaseAccess::Instance().Subscribe(argv[1], reference);
    Lumenar::WriteOut(fmt::format("handle {}", handle));
  }
  Lumenar::WriteOut("ready");
  try {
    orb.Run();
  } catch (const Signal_Exception&) {}
}
