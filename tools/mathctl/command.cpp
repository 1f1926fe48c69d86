// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/command.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <map>
#include <string_view>

#include "client/Error.h"
#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/ParseArguments.h"
#include "platform/base/Version.h"
#include "platform/base/output_error.h"
#include "platform/orb/CorbaText.h"
#include "platform/signals/Signals.h"
#include "platform/transport/addresses.h"
#include "tools/mathctl/completion_words.h"
#include "tools/mathctl/sample_text.h"
#include "tools/mathctl/wrong_word.h"

namespace Lumenar::Mathctl {
namespace {

constexpr std::chrono::seconds kEndLimit{2};  // nobody waits for it longer who pressed Ctrl-C

constexpr std::string_view kCompleteWord = "__complete";

constexpr const char* kDescription =
    "Creates, watches and removes the math objects of a measuring instrument, and shows its readings.";

constexpr const char* kFooter =
    "A READING is ENGINE/INSTANCE/ITEM, as PROBE/1/WAKEUP; ENGINE/ITEM or ITEM alone will do where just one reading\n"
    "fits. math:3, or 3, is the RESULT of math object 3. Where several are taken, * and ? stand for any letters and "
    "for\n"
    "one: 'PROBE/1/*', 'math:*'. Letters of names may be typed in either case; where two names differ by that alone,\n"
    "the one that is typed is meant. Options (-v, -V), units (mW, MW) and files are as they are written.\n"
    "\n"
    "With --format json, or --json, every result is one object on one line; a number that is not finite is one of the\n"
    "texts \"NaN\", \"Infinity\", \"-Infinity\". Bytes of names that cannot be printed are shown as \\xNN.\n"
    "\n"
    "Exit codes: 0 done; 1 refused, or not found; 2 the command line is wrong; 3 somebody is away or did not answer\n"
    "within the time limit.\n"
    "\n"
    "LUMENAR_NAMING=HOST:PORT names another naming service than 127.0.0.1:2700, LUMENAR_TRANSPORT_CONF=FILE a\n"
    "transport configuration; NO_COLOR switches colours off.\n"
    "\n"
    "Examples:\n"
    "  mathctl readings\n"
    "  mathctl create Average PROBE/1/WAKEUP_DB\n"
    "  mathctl watch math:0 -n 10 --format json";

constexpr const char* kEveryVerb =
    "Every verb takes -w SEC, --format table|json|csv, --precision N, -q, -v, --factory NAME and --naming HOST:PORT "
    "too:\n"
    "see mathctl --help.";

std::string CheckPrecision(const std::string& text) {
  int digits = 0;
  const bool is_number = CLI::detail::lexical_cast(text, digits);
  return is_number && digits >= 1 && digits <= 17 ? "" : "a number of digits from 1 to 17 is needed";
}

// Behind the transformation of "json" into its number.
std::string CheckFormat(const std::string& text) {
  const bool is_number = text == "0" || text == "1" || text == "2";
  return is_number ? "" : text + " is no format: table, json or csv is needed";
}

void DefineOptions(CLI::App& app, Options& options) {
  app.add_option("-w,--timeout", options.timeout_s, "Limit of every remote call, in seconds")
      ->check(CheckSeconds)
      ->type_name("SEC")
      ->capture_default_str();
  const std::map<std::string, Format> formats{{"table", Format::Table}, {"json", Format::Json}, {"csv", Format::Csv}};
  app.add_option("--format", options.format, "How results are written: table, json (one object a line) or csv")
      ->transform(CLI::Transformer(formats, CLI::ignore_case).description(""))
      ->check(CheckFormat)
      ->type_name("FORMAT");
  app.add_flag_callback(
      "--json", [&options] { options.format = Format::Json; }, "The same as --format json");
  app.add_option("--precision", options.precision, "Significant digits of numbers in tables and lines (default: 6)")
      ->check(CheckPrecision)
      ->type_name("N");
  app.add_flag("-q,--quiet", options.quiet, "Nothing but results and errors");
  app.add_flag("-v,--verbose", options.verbose, "Say on standard error what is done and with whom");
  app.add_option("--factory", options.factory, "Registered name of the math engine")
      ->type_name("NAME")
      ->capture_default_str();
  app.add_option("--naming", options.naming, "Naming service, HOST:PORT")
      ->check(Corvanta::HostPortProblem)
      ->type_name("HOST:PORT");
}

void DefineVerbs(CLI::App& app, Command& command) {
  app.require_subcommand(1);
  app.fallthrough();
  app.ignore_case();
  for (const auto define :
       {DefineEngines, DefineReadings,      DefineTypes,  DefineCreate,   DefineList,    DefineShow,
        DefineTop,     DefineGet,           DefineWatch,  DefinePlot,     DefineRecord,  DefineReplay,
        DefineConvert, DefineReference,     DefineSave,   DefineApply,    DefineSet,     DefineReset,
        DefineDelete,  DefineSubscriptions, DefineDoctor, DefineDiscover, DefineExplain, DefineGraph,
        DefineVerify,  DefineCompletion}) {
    define(app, command);
  }
  for (CLI::App* verb : app.get_subcommands({})) {
    verb->footer(verb->get_footer() == kFooter ? kEveryVerb : verb->get_footer() + "\n\n" + kEveryVerb);
  }
}

// The verb of a command line that was refused, as far as it was read.
std::string HelpHint(const CLI::App& app) {
  const auto parsed = app.get_subcommands();
  return parsed.empty() ? "; mathctl --help shows the verbs"
                        : fmt::format("; mathctl {} --help shows an example", parsed.front()->get_name());
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
  if (command.options.precision) UsePrecision(*command.options.precision);
  const std::chrono::duration<double> timeout(command.options.timeout_s);
  Client::Connection connection(std::chrono::ceil<std::chrono::milliseconds>(timeout));
  if (command.options.verbose) {
    WriteError(fmt::format("mathctl: naming service {}, time limit {:g} s a call, math engine {}",
                           connection.NamingAddress(), command.options.timeout_s,
                           Client::Printable(command.options.factory)));
  }
  command.run({command.options, connection});
}

}  // namespace

void DefineApplication(CLI::App& app, Command& command) {
  app.set_version_flag("-V,--version", Version(), "Print the version and exit");
  app.footer(kFooter);
  DefineOptions(app, command.options);
  DefineVerbs(app, command);
}

bool Parse(int argc, const char* const* argv, Command& command, int& exit_code) {
  CLI::App app(kDescription, "mathctl");
  DefineApplication(app, command);
  if (argc == 3 && std::string_view(argv[1]) == kCompleteWord) {  // asked by a shell, see `mathctl completion`
    WriteCompletions(app, WordsOfLine(argv[2]));
    exit_code = kDone;
    return false;
  }
  const std::string wrong = WrongWord(app, std::vector<std::string>(argv + std::min(argc, 1), argv + argc));
  if (!wrong.empty()) {
    WriteError("mathctl: " + wrong);
    exit_code = kUsage;
    return false;
  }
  return ParseArguments(app, argc, argv, exit_code, [&app] { return HelpHint(app); });
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

int EndWithReader(int exit_code, bool sigpipe_was_ignored) {
  if (OutputError() != EPIPE) return exit_code;
  if (sigpipe_was_ignored) return kRefused;
  std::signal(SIGPIPE, SIG_DFL);
  std::raise(SIGPIPE);
  return exit_code;
}

namespace {

std::string CheckWhole(const std::string& text, unsigned long least) {
  constexpr unsigned long kMost = 4294967295;
  unsigned long count = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  const bool is_number = error == std::errc() && end == text.data() + text.size() && !text.empty();
  return is_number && count >= least && count <= kMost
             ? ""
             : fmt::format("a whole number from {} to {} is needed", least, kMost);
}

}  // namespace

std::string CheckCount(const std::string& text) { return CheckWhole(text, 1); }
std::string CheckCountOrZero(const std::string& text) { return CheckWhole(text, 0); }

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
