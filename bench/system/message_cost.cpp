// SPDX-License-Identifier: Apache-2.0
// The two ends of a call that carries a trace, for scripts/message-cost to count: "message_cost serve" takes samples
// through the any guard and drops them, "message_cost call" sends so many of them and ends.
#include <CLI/CLI.hpp>
#include <string>

#include "platform/base/Diagnostic.h"
#include "platform/base/ParseArguments.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/program/local_arguments.h"
#include "platform/program/program.h"
#include "platform/wire/any_guard.h"
#include "platform/wire/sample_calls.h"

LUMENAR_LOCAL_ARGUMENTS("message_cost")

namespace {

using namespace Corvanta;

/// Takes samples as the subscribers of an engine do, and drops them.
class GuardedSink : public GuardedServant<POA_Corvanta::DDS_Sub> {
 public:
  void DDS_Callback(const CORBA::Any&) override {}
  CORBA::Long GetId() override { return 0; }
  bool TakeCall(IncomingCall& call) override {
    return DispatchCallback(call, [](SampleRecord&&) {});
  }
};

int Serve() {
  ORB_wrapper_base orb(localargc, localargv);
  PortableServer::Servant_var<GuardedSink> sink(new GuardedSink);
  DDS_Sub_var reference = sink->_this();
  orb.Activate();
  CORBA::String_var text = orb.Orb()->object_to_string(reference);
  Lumenar::WriteOut(text.in());
  Lumenar::WriteOut("ready");
  orb.Run();
  return 0;
}

/// Errors   CORBA system exceptions.
int Call(const std::string& reference, unsigned calls, unsigned points) {
  ORB_wrapper_base orb(localargc, localargv);
  CORBA::Object_var object = orb.Orb()->string_to_object(reference.c_str());
  DDS_Sub_var sink = DDS_Sub::_narrow(object);
  BASIC_TRACE::BT_DATA trace{};
  trace.samples.length(points);
  const SampleView sample = ViewOf(trace);
  for (unsigned left = calls; left > 0; --left) CallCallback(sink, sample);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("The two ends of a call that carries a trace", "message_cost");
  CLI::App* const serve = app.add_subcommand("serve", "Takes samples until SIGTERM; writes its reference, and ready");
  CLI::App* const call = app.add_subcommand("call", "Sends samples, one call after the other");
  app.require_subcommand(1);
  std::string reference;
  unsigned calls = 0, points = 1001;
  call->add_option("--reference", reference, "Of who serves")->required();
  call->add_option("--calls", calls, "How many")->required()->check(CLI::Range(1, 10'000'000));
  call->add_option("--points", points, "Of the trace")->capture_default_str()->check(CLI::Range(0, 10'000'000));
  int exit_code = 0;
  if (!Lumenar::ParseArguments(app, argc, argv, exit_code)) return exit_code;
  return Lumenar::RunProgram("message_cost", [&] { return *serve ? Serve() : Call(reference, calls, points); });
}
