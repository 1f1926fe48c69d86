// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/command.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <map>

#include "client/Error.h"
#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/ParseArguments.h"
#include "platform/base/output_error.h"
#include "platform/orb/CorbaText.h"
#include "platform/signals/Signals.h"
#include "platform/transport/addresses.h"

namespace Lumenar::Mathctl {
namespace {

constexpr std::chrono::seconds kEndLimit{2};  // nobody waits for it longer who pressed Ctrl-C

constexpr const char* kDescription =
    "Creates, watches and removes the math objects of a measuring instrument, and shows its readings.";

constexpr const char* kFooter =
    "A READING is ENGINE/INSTANCE/ITEM, as PROBE/1/WAKEUP; ENGINE/ITEM or ITEM alone will do where just one reading\n"
    "fits. math:3, or 3, is the RESULT of math object 3.\n"
    "\n"
    "With --json every result is one object on one line; a number that is not finite is one of the texts \"NaN\",\n"
    "\"Infinity\", \"-Infinity\". Bytes of names that cannot be printed are shown as \\xNN.\n"
    "\n"
    "Exit codes: 0 done; 1 refused, or not found; 2 the command line is wrong; 3 somebody is away or did not answer\n"
    "within the time limit.\n"
    "\n"
    "LUMENAR_NAMING=HOST:PORT names another naming service than 127.0.0.1:2700, LUMENAR_TRANSPORT_CONF=FILE a\n"
    "transport configuration.";

void DefineOptions(CLI::App& app, Options& options) {
  app.add_option("-w,--timeout", options.timeout_s, "Limit of every remote call, in seconds")
      ->check(CheckSeconds)
      ->capture_default_str();
  const std::map<std::string, Format> formats{{"table", Format::Table}, {"json", Format::Json}, {"csv", Format::Csv}};
  app.add_option("--format", options.format, "How results are written: table, json (one object a line) or csv")
      ->transform(CLI::CheckedTransformer(formats, CLI::ignore_case).description(""));
  app.add_flag_callback(
      "--json", [&options] { options.format = Format::Json; }, "The same as --format json");
  app.add_option("--factory", options.factory, "Registered name of the math engine")->capture_default_str();
  app.add_option("--naming", options.naming, "Naming service, HOST:PORT")->check(Corvanta::HostPortProblem);
}

void DefineVerbs(CLI::App& app, Command& command) {
  app.require_subcommand(1);
  app.fallthrough();
  for (const auto define :
       {DefineEngines, DefineReadings, DefineTypes, DefineCreate, DefineList, DefineShow, DefineTop, DefineGet,
        DefineWatch, DefinePlot, DefineSet, DefineReset, DefineDelete, DefineSubscriptions, DefineVerify, DefineDoctor}) {
    define(app, command);
  }
}

int ExitCodeOf(Client::ErrorKind kind) {
  switch (kind) {
    case Client::ErrorKind::BadArgument: return kUsage;
    case Client::ErrorKind::Unreachable: return kUnreachable;
    default: return kRefused;
  }
}

void RunConnected(const Command& command) {
  if (command.ends_on_signal) {
    Signals::Install();  // before the ORB starts threads
    Signals::EndWithin(kEndLimit);
  }
  if (!command.options.naming.empty()) setenv("LUMENAR_NAMING", command.options.naming.c_str(), 1);
  const std::chrono::duration<double> timeout(command.options.timeout_s);
  Client::Connection connection(std::chrono::ceil<std::chrono::milliseconds>(timeout));
  command.run({command.options, connection});
}

}  // namespace

bool Parse(int argc, const char* const* argv, Command& command, int& exit_code) {
  CLI::App app(kDescription, "mathctl");
  app.footer(kFooter);
  DefineOptions(app, command.options);
  DefineVerbs(app, command);
  return ParseArguments(app, argc, argv, exit_code);
}

namespace {

int ExitCodeOfRun(const Command& command) {
  try {
    RunConnected(command);
    return kDone;
  } catch (const Client::Error& error) {
    WriteError(fmt::format("mathctl: {}", error.what()));
    return ExitCodeOf(error.Kind());
  } catch (const Signal_Exception&) {  // it was asked to end, and did
    return kDone;
  } catch (const CORBA::Exception& exception) {
    WriteError(fmt::format("mathctl: {}", CorbaText(exception)));
    return kUnreachable;
  } catch (const std::exception& exception) {  // an unusable configuration or address
    WriteError(fmt::format("mathctl: {}", Client::Printable(exception.what())));
    return kUsage;
  }
}

}  // namespace

int Run(const Command& command) { return CheckOutput("mathctl", ExitCodeOfRun(command)); }

std::string CheckSeconds(const std::string& text) {
  double seconds = 0;
  const bool is_number = CLI::detail::lexical_cast(text, seconds);
  return is_number && seconds >= 0.001 && seconds <= 86400 ? "" : "a number of seconds from 0.001 to 86400 is needed";
}

Client::MathName Session::RequireMath(const std::string& text) const {
  if (const auto name = MathFrom(text)) return *name;
  throw Client::Error(Client::ErrorKind::BadArgument,
                      fmt::format("\"{}\" is not the id of a math object", Client::Printable(text)));
}

}  // namespace Lumenar::Mathctl
