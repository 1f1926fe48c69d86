// SPDX-License-Identifier: Apache-2.0
// math_web: the process around Gateway and Server.
#include <chrono>
#include <cstdlib>
#include <functional>
#include <utility>

#include "client/Connection.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/TraceMemory.h"
#include "platform/program/local_arguments.h"
#include "platform/program/program.h"
#include "tools/math_web/Gateway.h"
#include "tools/math_web/ProgramOptions.h"
#include "tools/math_web/Server.h"

LUMENAR_LOCAL_ARGUMENTS("math_web")

namespace {

using namespace Lumenar;

/// Does something when its block is left.
class AtEnd {
 public:
  explicit AtEnd(std::function<void()> deed) : deed_(std::move(deed)) {}
  ~AtEnd() { deed_(); }
  AtEnd(const AtEnd&) = delete;
  AtEnd& operator=(const AtEnd&) = delete;

 private:
  const std::function<void()> deed_;
};

/// Calls to other processes end while the ORB shuts down, and clients before the gateway, which they use.
void Serve(const Web::ProgramOptions& options) {
  Web::Server server(Web::ServerSettingsFrom(options));
  server.Open();
  Web::GatewaySettings settings = Web::GatewaySettingsFrom(options, server.Port());
  const std::chrono::duration<double> timeout(options.timeout_s);
  Client::Connection connection(std::chrono::ceil<std::chrono::milliseconds>(timeout));
  Web::Gateway gateway(connection, std::move(settings),
                       [&server](std::function<void()> deed) { server.Post(std::move(deed)); });
  const long listener = connection.Orb().AddShutdownListener([&gateway] { gateway.EndCalls(); });
  const AtEnd end([&] {
    connection.Orb().RemoveShutdownListener(listener);
    gateway.EndCalls();
    server.End();
  });
  server.Serve(gateway);
  connection.Orb().Activate();
  WriteOut("math_web ready at " + server.Address());
  connection.Orb().Run();
}

int Run(int argc, char** argv) {
  Web::ProgramOptions options;
  int exit_code = 0;
  if (!Web::ParseOptions(argc, argv, options, exit_code)) return exit_code;
  if (!options.naming.empty()) setenv("LUMENAR_NAMING", options.naming.c_str(), 1);
  KeepTraceMemory();
  Serve(options);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  return Lumenar::RunProgram("math_web", [&] { return Run(argc, argv); });
}
