// SPDX-License-Identifier: Apache-2.0
// topic_manager: the process around DDS_Manager_i.
#include <cstdlib>

#include "platform/base/Diagnostic.h"
#include "platform/base/TraceMemory.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/orb/names.h"
#include "platform/program/local_arguments.h"
#include "platform/program/program.h"
#include "platform/signals/Signals.h"
#include "services/topic_manager/CommandLine.h"

LUMENAR_LOCAL_ARGUMENTS("topic_manager")

namespace {

using Corvanta::ORB_wrapper_base;

const Corvanta::NamePath kName = Corvanta::LocalPath(Corvanta::kTopicManager);
constexpr std::chrono::milliseconds kProbeLimit{1000};
constexpr std::chrono::milliseconds kLastDeliveries{1000};
constexpr std::chrono::milliseconds kNoTime{0};

/// Whether a topic manager answers at the name, or keeps its connection without answering. What stands there else is
/// stale.
bool AnotherIsThere(ORB_wrapper_base& orb) {
  CORBA::Object_var object;
  try {
    object = Lumenar::AtNamingService(orb, [&] { return orb.Resolve(kName); });
  } catch (const CORBA::UserException&) {  // there is no such name
    return false;
  }
  try {
    Corvanta::ORB_base::SetCallTimeout(object, kProbeLimit);
    return !object->_non_existent();
  } catch (const CORBA::TIMEOUT&) {
    return true;
  } catch (const CORBA::Exception&) {
    return false;
  }
}

/// Serves until a signal comes; false when deliveries are still under way then.
bool Serve(ORB_wrapper_base& orb, const Lumenar::CommandLine& command_line) {
  PortableServer::Servant_var<Corvanta::DDS_Manager_i> servant(
      new Corvanta::DDS_Manager_i(orb, command_line.ManagerOptions(orb)));
  orb.AddShutdownListener([servant] { servant->Stop(kLastDeliveries); });
  Corvanta::DDS_Manager_var manager = servant->_this();
  orb.Activate();
  Lumenar::AtNamingService(orb, [&] { orb.Bind(kName, manager); });
  Lumenar::WriteOut("topic_manager ready");
  try {
    orb.Run();
  } catch (const Signal_Exception&) {  // the ordinary end
  }
  return servant->Stop(kNoTime);
}

int Run(const Lumenar::CommandLine& command_line) {
  ORB_wrapper_base orb(localargc, localargv);
  orb.WaitForNaming();
  if (AnotherIsThere(orb)) {
    Lumenar::WriteError("topic_manager: another topic manager is registered at " +
                        Corvanta::LocalPathText(Corvanta::kTopicManager));
    return 1;
  }
  // A subscriber that hangs would hold up the end for the whole time limit of a call; nothing else is left to do.
  if (!Serve(orb, command_line)) std::_Exit(0);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Lumenar::KeepTraceMemory();  // before there is any other thread
  return Lumenar::RunProgram("topic_manager", [&] {
    Lumenar::CommandLine command_line;
    int exit_code = 0;
    return command_line.Read(argc, argv, exit_code) ? Run(command_line) : exit_code;
  });
}
