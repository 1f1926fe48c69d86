// SPDX-License-Identifier: Apache-2.0
// hw_enumeration: the process around HwEnumerate_Able_i.
#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "platform/base/Diagnostic.h"
#include "platform/base/ParseArguments.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/orb/names.h"
#include "platform/program/local_arguments.h"
#include "platform/program/program.h"
#include "services/hw_enumeration/HwEnumerate_Able_i.h"

LUMENAR_LOCAL_ARGUMENTS("hw_enumeration")

namespace {

const Corvanta::NamePath kName = Corvanta::LocalPath(Corvanta::kHardwareEnumeration);

constexpr const char* kFooter =
    "The naming service and the transport settings come from LUMENAR_NAMING=HOST:PORT and\n"
    "LUMENAR_TRANSPORT_CONF=FILE.\n"
    "\n"
    "Exit codes:\n"
    "  0  ended by SIGTERM, SIGINT or SIGQUIT\n"
    "  1  could not start; one line on standard error says why\n"
    "  2  an argument is wrong";

void Serve(const std::string& state) {
  std::optional<Lumenar::EngineFile> file;
  if (!state.empty()) file.emplace(state);
  Corvanta::ORB_wrapper_base orb(localargc, localargv);
  orb.WaitForNaming();
  PortableServer::Servant_var<Corvanta::HwEnumerate_Able_i> servant(new Corvanta::HwEnumerate_Able_i(file));
  Corvanta::HwEnumerate_Able_var service = servant->_this();
  orb.Activate();
  Lumenar::AtNamingService(orb, [&] { orb.Bind(kName, service); });
  Lumenar::WriteOut("hw_enumeration ready");
  orb.Run();
}

int Run(int argc, char** argv) {
  CLI::App app("Tracks the engines of the instrument and their start-up progress, one line for each event.",
               "hw_enumeration");
  app.footer(kFooter);
  std::string state;
  app.add_option("--state", state, "Keep the known engines in FILE over a restart (default: not kept)")
      ->type_name("FILE");
  int exit_code = 0;
  if (!Lumenar::ParseArguments(app, argc, argv, exit_code)) return exit_code;
  Serve(state);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  return Lumenar::RunProgram("hw_enumeration", [&] { return Run(argc, argv); });
}
