#include "services/topic_manager/CommandLine.h"

#include <CLI/CLI.hpp>

namespace Lumenar {
namespace {

constexpr const char* kFooter =
    "The naming service and the transport settings come from LUMENAR_NAMING=HOST:PORT and\n"
    "LUMENAR_TRANSPORT_CONF=FILE.\n"
    "\n"
    "Exit codes:\n"
    "  0  ended by SIGTERM, SIGINT or SIGQUIT\n"
    "  1  could not start, or another topic manager is registered; one line on standard error says why\n"
    "  other than these: an argument is wrong";

}  // namespace

bool CommandLine::Read(int argc, const char* const* argv, int& exit_code) {
  CLI::App app("Takes published samples and delivers each to every subscriber of its topic.", "topic_manager");
  app.footer(kFooter);
  std::string state;
  unsigned stall_limit_ms = 0;
  auto silence_limit_s = static_cast<unsigned>(silence_limit.count());
  app.add_option("--state", state, "Keep the subscriptions in FILE over a restart (default: not kept)")
      ->type_name("FILE");
  app.add_option("--queue", queue, "Samples that may wait for one subscriber; then the oldest goes")
      ->type_name("N")->capture_default_str()->check(CLI::Range(1, 1000000));
  app.add_option("--stall-limit", stall_limit_ms, "Time limit of one delivery in ms (default: the time limit of calls)")
      ->type_name("MS")->check(CLI::Range(10, 600000));
  app.add_option("--silence-limit", silence_limit_s, "Seconds without an answer after which a subscriber is dropped")
      ->type_name("S")->capture_default_str()->check(CLI::Range(1, 86400));
  app.add_option("--topics", topics, "Topics that are kept with their last sample")
      ->type_name("N")->capture_default_str()->check(CLI::Range(1, 10000000));
  app.add_option("--unsubscribed-topics", unsubscribed_topics, "Of these, topics that nobody subscribes to")
      ->type_name("N")->capture_default_str()->check(CLI::Range(1, 10000000));
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exit_code = app.exit(error);
    return false;
  }
  if (!state.empty()) state_file.emplace(state);
  silence_limit = std::chrono::seconds(silence_limit_s);
  if (stall_limit_ms > 0) stall_limit = std::chrono::milliseconds(stall_limit_ms);
  return true;
}

Corvanta::DDS_Manager_i::Options CommandLine::ManagerOptions(const Corvanta::TransportConfig& transport) const {
  Corvanta::DDS_Manager_i::Options options;
  options.dispatcher.schedule.queue.samples = queue;
  options.dispatcher.schedule.silence_limit = silence_limit;
  options.topics.topics = topics;
  options.topics.unsubscribed = unsubscribed_topics;
  options.state_file = state_file;
  if (transport.dds_enabled) {
    options.relay.emplace();
    options.relay->domain = transport.dds_domain;
    options.relay->interface_address = transport.dds_interface;
    options.relay->topics.insert(transport.dds_topics.begin(), transport.dds_topics.end());
  }
  options.stall_limit = stall_limit.value_or(transport.call_timeout);
  return options;
}

}  // namespace Lumenar
