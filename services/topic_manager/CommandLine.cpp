// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/CommandLine.h"

#include <CLI/CLI.hpp>

#include "platform/base/ParseArguments.h"
#include "services/topic_manager/relay/relay_options.h"
#include "services/topic_manager/state_path.h"

namespace Lumenar {
namespace {

constexpr const char* kFooter =
    "The naming service and the transport settings come from LUMENAR_NAMING=HOST:PORT and\n"
    "LUMENAR_TRANSPORT_CONF=FILE.\n"
    "\n"
    "Exit codes:\n"
    "  0  ended by SIGTERM, SIGINT or SIGQUIT\n"
    "  1  could not start, or another topic manager is registered; one line on standard error says why\n"
    "  2  an argument is wrong";

/// An option that is a whole number from `least` to `most`, with what it has now as its default.
template <class Number>
void AddNumber(CLI::App& app, const char* name, Number& number, int least, int most, const char* text,
               const char* type_name = "N") {
  app.add_option(name, number, text)->type_name(type_name)->capture_default_str()->check(CLI::Range(least, most));
}

void AddStateOptions(CLI::App& app, std::string& state, bool& no_state) {
  auto* const option =
      app.add_option("--state", state,
                     "Keep the subscriptions in FILE over a restart (default: lumenar/topic_manager-HOST-PORT.state, "
                     "by the address of "
                     "the naming service, in $XDG_STATE_HOME, else in /var/lib for root and ~/.local/state for others)")
          ->type_name("FILE");
  app.add_flag("--no-state", no_state, "Keep no file: the subscribers subscribe again after a restart")
      ->excludes(option);
}

}  // namespace

bool CommandLine::Read(int argc, const char* const* argv, int& exit_code) {
  CLI::App app("Takes published samples and delivers each to every subscriber of its topic.", "topic_manager");
  app.footer(kFooter);
  std::string state;
  unsigned stall_limit_ms = 0;
  auto look_period_s = static_cast<unsigned>(look_period.count());
  auto silence_limit_s = static_cast<unsigned>(silence_limit.count());
  constexpr int kMost = 10000000;
  AddStateOptions(app, state, no_state);
  AddNumber(app, "--queue", queue, 1, 1000000, "Samples that may wait for one subscriber; then the oldest goes");
  app.add_option("--stall-limit", stall_limit_ms, "Time limit of one delivery in ms (default: the time limit of calls)")
      ->type_name("MS")
      ->check(CLI::Range(10, 600000));
  AddNumber(app, "--silence-limit", silence_limit_s, 1, 86400,
            "Seconds without an answer after which a subscriber is dropped", "S");
  AddNumber(app, "--look-period", look_period_s, 1, 3600, "Seconds from one look at a subscriber's process to the next",
            "S");
  AddNumber(app, "--topics", topics, 1, kMost, "Topics that are kept with their last sample");
  AddNumber(app, "--subscriptions", subscriptions, 1, kMost,
            "Subscriptions at once; each to a topic of its own needs as many topics");
  AddNumber(app, "--unsubscribed-topics", unsubscribed_topics, 1, kMost, "Of these, topics that nobody subscribes to");
  if (!ParseArguments(app, argc, argv, exit_code)) return false;
  if (!state.empty()) state_file.emplace(state);
  silence_limit = std::chrono::seconds(silence_limit_s);
  look_period = std::chrono::seconds(look_period_s);
  if (stall_limit_ms > 0) stall_limit = std::chrono::milliseconds(stall_limit_ms);
  return true;
}

Corvanta::DDS_Manager_i::Options CommandLine::ManagerOptions(const Corvanta::ORB_base& orb) const {
  Corvanta::DDS_Manager_i::Options options;
  options.dispatcher.schedule.queue.samples = queue;
  options.dispatcher.schedule.silence_limit = silence_limit;
  options.dispatcher.schedule.look_period = look_period;
  options.topics.topics = topics;
  options.subscriptions = subscriptions;
  options.topics.unsubscribed = unsubscribed_topics;
  options.state_file = state_file;
  if (const auto path = DefaultStatePath("topic_manager", orb.NamingAddress()); path && !state_file && !no_state) {
    MakeDirectoryOf(*path);
    options.state_file.emplace(*path);
  }
  options.relay = Corvanta::RelayOptions(orb.Settings());
  options.stall_limit = stall_limit.value_or(orb.Transport().call_timeout);
  return options;
}

}  // namespace Lumenar
