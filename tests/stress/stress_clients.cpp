// SPDX-License-Identifier: Apache-2.0
// stress_clients FACTORY INPUT...: clients of an engine as a process of their
// own, by stringified references, until a signal. Writes one line for each
// fault that they met; the exit status is 0 when there was none. That the
// engine ends is none.
#include "platform/base/Diagnostic.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/program/engine_entry.h"
#include "platform/program/program.h"
#include "platform/signals/Signals.h"
#include "tests/stress/StressClients.h"

namespace {

using Lumenar::Test::StressClients;

template <class Interface>
typename Interface::_var_type Reference(Corvanta::ORB_base& orb, const char* text) {
  const CORBA::Object_var object = orb.Orb()->string_to_object(text);
  return Interface::_unchecked_narrow(object);
}

int Run(int argc, char** argv) {
  Corvanta::ORB_wrapper_base orb(localargc, localargv);
  StressClients::Inputs inputs;
  for (int i = 2; i < argc; ++i) inputs.push_back(Reference<Corvanta::EngineReadingBase>(orb, argv[i]));
  const auto factory = Reference<Corvanta::MathFactory::Interfaces>(orb, argv[1]);
  StressClients clients(factory, std::move(inputs), StressClients::EndOfTheEngine::MayCome);
  orb.AddShutdownListener([&clients] { clients.Stop(); });
  try {
    orb.Run();
  } catch (const Signal_Exception&) {  // the ordinary end
  }
  for (const std::string& fault : clients.Faults()) Lumenar::WriteOut(fault);
  return clients.Faults().empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  return Lumenar::RunProgram("stress_clients", [&] { return Run(argc, argv); });
}
