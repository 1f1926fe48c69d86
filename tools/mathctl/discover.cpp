// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "client/Error.h"
#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/TimedProgram.h"
#include "platform/signals/Signals.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {
namespace {

struct DiscoverArguments {
  std::vector<std::string> names;
  double limit_s = 10;
};

/// One thing that was asked for, and what answered there.
struct Answer {
  std::string asked;
  std::string who;      ///< what it says of itself
  std::string setting;  ///< a line for the settings of an instrument
  std::vector<std::string> channels;
  std::string problem;  ///< why there is no answer; empty where there is one
};

/// HOST:PORT, or a host alone, which has a dot or, as a number of IPv6, several colons; neither has a "=". Names of
/// drivers have none of these. The command line takes brackets around a whole word away.
bool IsAddress(const std::string& name) {
  if (name.find('=') != std::string::npos) return false;
  const std::size_t colon = name.rfind(':');
  if (name.find('.') != std::string::npos || name.find(':') != colon) return true;
  if (colon == std::string::npos || colon + 1 == name.size()) return false;
  return std::all_of(name.begin() + static_cast<std::ptrdiff_t>(colon) + 1, name.end(),
                     [](char c) { return c >= '0' && c <= '9'; });
}

std::string WhatIsSent(const std::string& name) {
  if (IsAddress(name)) return "is sent *IDN? and nothing else";
  return "is looked for in its driver's own way, which may send more than *IDN?: SYST:LOCAL and *OPC? to devices that "
         "speak SCPI, requests for a reading to meters";
}

std::string Joined(const nlohmann::json& line, const std::vector<const char*>& keys) {
  std::string text;
  for (const char* key : keys) {
    const std::string part = line.value(key, "");
    if (!part.empty()) text += (text.empty() ? "" : " ") + part;
  }
  return Client::Printable(text);
}

Answer AnswerFrom(const std::string& asked, const nlohmann::json& line) {
  Answer answer;
  answer.asked = asked;
  if (IsAddress(asked)) {
    answer.who = Joined(line, {"identity"});
    answer.setting = "connect = " + Client::Printable(line.value("address", asked));
    return answer;
  }
  answer.who = Joined(line, {"vendor", "model", "version", "serial"});
  answer.setting = "SIGROK_DEVICE=" + Client::Printable(line.value("device", asked));
  for (const auto& channel : line.value("channels", std::vector<std::string>()))
    answer.channels.push_back(Client::Printable(channel));
  return answer;
}

/// The reason without the name of the program that gave it.
std::string ProblemOf(const ProgramEnd& end, double limit_s) {
  if (!end.status) return fmt::format("no answer within {:g} s", limit_s);
  const std::string line = LastLine(end.error);
  const std::size_t colon = line.find("_scan: ");
  if (line.empty()) return fmt::format("the search ended with status {}", *end.status);
  return Client::Printable(colon == std::string::npos ? line : line.substr(colon + 7));
}

std::vector<Answer> AnswersOf(const std::string& name, const ProgramEnd& end, double limit_s) {
  std::vector<Answer> answers;
  std::istringstream lines(end.out);
  for (std::string line; std::getline(lines, line);) {
    const auto parsed = nlohmann::json::parse(line, nullptr, false);
    if (parsed.is_object()) answers.push_back(AnswerFrom(name, parsed));
  }
  if (!answers.empty() && end.status == 0) return answers;
  const std::string problem = end.status == 0 ? "no device answers" : ProblemOf(end, limit_s);
  return {{name, "", "", {}, problem}};
}

/// In a process of its own: a device that does not answer may hold a driver for ever.
std::vector<Answer> Ask(const std::string& name, double limit_s) {
  ProgramLimits limits;
  limits.time = std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(limit_s));
  try {
    const std::string program = ProgramBeside(IsAddress(name) ? "scpi_scan" : "sigrok_scan");
    const ProgramEnd end = RunTimedProgram({program, "--", name}, limits, [] {
      Signals::ThrowIfPending();
      return false;
    });
    return AnswersOf(name, end, limit_s);
  } catch (const Signal_Exception&) {
    throw;
  } catch (const std::runtime_error& error) {  // of the program: the others are asked all the same
    return {{name, "", "", {}, Client::Printable(error.what())}};
  }
}

void Discover(const Session& session, const DiscoverArguments& arguments) {
  RowWriter rows(session.options, {"ASKED", "ANSWERS", "SETTING", "CHANNELS"});
  std::size_t silent = 0;
  for (const std::string& name : arguments.names) {
    const std::string shown = Client::Printable(name);
    if (!session.options.quiet) WriteError(fmt::format("mathctl: {} {}", shown, WhatIsSent(name)));
    for (const Answer& answer : Ask(name, arguments.limit_s)) {
      silent += answer.problem.empty() ? 0 : 1;
      rows.Add({{"asked", shown},
                {"answers", answer.problem.empty()},
                {"who", answer.who},
                {"setting", answer.setting},
                {"channels", answer.channels},
                {"problem", answer.problem}},
               {shown, answer.problem.empty() ? answer.who : answer.problem, answer.setting,
                fmt::format("{}", fmt::join(answer.channels, " "))});
    }
  }
  rows.Finish();
  if (silent == 0) return;
  throw Client::Error(Client::ErrorKind::Unreachable,
                      fmt::format("{} of {} do not answer", silent, arguments.names.size()));
}

constexpr const char* kDiscoverFooter =
    "A DEVICE is an address where an instrument listens for SCPI, HOST:PORT or HOST alone (port 5025; a name without "
    "a\n"
    "dot needs its port), or a driver of libsigrok with its options, DRIVER:KEY=VALUE, as sigrok-cli takes them. "
    "Nothing\n"
    "is asked but what is named; each is asked in a process of its own, which is ended at the limit. SETTING is a "
    "line\n"
    "for the settings of the instrument: of a file for scpi, or of the environment of sigrok_devices.\n"
    "\n"
    "Examples:\n"
    "  mathctl discover 192.0.2.10\n"
    "  mathctl discover uni-t-ut61b-ser:conn=/dev/ttyUSB0\n"
    "  mathctl discover demo --limit 5";

}  // namespace

void DefineDiscover(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("discover",
                                  "Asks devices at addresses and ports who they are, for the settings of instruments");
  verb->footer(kDiscoverFooter);
  const auto arguments = std::make_shared<DiscoverArguments>();
  verb->add_option("DEVICE", arguments->names, "HOST[:PORT], or DRIVER[:KEY=VALUE...]")->required();
  verb->add_option("--limit", arguments->limit_s, "Seconds that each may take")
      ->check(CheckSeconds)
      ->type_name("SEC")
      ->capture_default_str();
  verb->callback([&command, arguments] {
    command.ends_on_signal = true;
    command.run = [arguments](const Session& session) { Discover(session, *arguments); };
  });
}

}  // namespace Lumenar::Mathctl
