// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "host/EngineLibrary.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/ParseArguments.h"
#include "platform/base/TraceMemory.h"
#include "platform/signals/Signals.h"
#include "platform/signals/start_problem.h"

namespace {

constexpr int kRan = 0;
constexpr int kNotStarted = 1;
constexpr int kNotUsable = Lumenar::kWrongArguments;

constexpr std::chrono::seconds kEndLimit{
    10};  // longer than one call to somebody who hangs, with the default limit of calls

struct Options {
  std::string library;
  std::vector<std::string> settings;
};

void Describe(CLI::App& app, Options& options) {
  app.description("Loads an engine library and runs the engine until SIGTERM, SIGINT or SIGQUIT.");
  app.add_option("LIBRARY", options.library, "path or name of the engine library, as math_factory_hh")->required();
  app.add_option("--set", options.settings, "sets an environment variable before the engine starts; may be repeated")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  app.footer(
      "Exit status:\n"
      "  0  the engine ran and ended\n"
      "  1  the engine did not start, or a signal came before it had\n"
      "  2  the command line is wrong, or the library cannot be loaded or is no engine");
}

/// Errors   std::invalid_argument.
void SetVariable(const std::string& setting) {
  const auto equals = setting.find('=');
  if (equals == std::string::npos || equals == 0)
    throw std::invalid_argument("--set " + setting + ": expected NAME=VALUE");
  if (setenv(setting.substr(0, equals).c_str(), setting.substr(equals + 1).c_str(), 1) != 0)
    throw std::system_error(errno, std::generic_category(), "--set " + setting);
}

bool SignalCame() {
  try {
    Lumenar::Signals::ThrowIfPending();
    return false;
  } catch (const Signal_Exception&) {
    return true;
  }
}

int RunEngine(const Lumenar::EngineLibrary& library) {
  void* engine = library.Create();
  if (engine == nullptr) {  // the engine has said why, in a line that says little about the naming service
    const std::string problem = Lumenar::StartProblem();
    if (!problem.empty()) Lumenar::WriteError("engine_host: the engine did not start: " + problem);
    return kNotStarted;
  }
  const bool ended_early = SignalCame();
  if (!ended_early) library.Join();
  library.Destroy(engine);
  return ended_early ? kNotStarted : kRan;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  CLI::App app("", "engine_host");
  int exit_code = kRan;
  try {
    Lumenar::KeepTraceMemory();   // before there is any other thread
    Lumenar::Signals::Install();  // every thread from here on has the signals blocked
    Lumenar::Signals::EndWithin(kEndLimit);
    Describe(app, options);
    if (!Lumenar::ParseArguments(app, argc, argv, exit_code)) return exit_code;
    for (const std::string& setting : options.settings) SetVariable(setting);
    return RunEngine(Lumenar::EngineLibrary(options.library));
  } catch (const std::exception& error) {
    Lumenar::WriteError(std::string("engine_host: ") + error.what());
    return kNotUsable;
  }
}
