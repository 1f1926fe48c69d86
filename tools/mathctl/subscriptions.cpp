// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "client/Text.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {
namespace {

constexpr const char* kSubscriptionsFooter =
    "DROPPED counts the samples that this subscriber will not get: the oldest of a full queue, and those that ran\n"
    "into the time limit or a broken connection. Counts begin with the subscription, or the topic manager's start.\n"
    "\n"
    "Example:\n"
    "  mathctl subscriptions --format csv >subscriptions.csv";

Corvanta::SubscriptionStatusSeq_var Ask(const Session& session) {
  const auto manager = session.connection.TopicManager();
  return Client::Remote("topic manager", manager, "is topic_manager running?",
                        [&] { return Corvanta::SubscriptionStatusSeq_var(manager->Subscriptions()); });
}

void ShowSubscriptions(const Session& session) {
  RowWriter rows(session.options, {"HANDLE", "TOPIC", "ADDRESS", "STATE", "QUEUED", "DELIVERED", "DROPPED"});
  const Corvanta::SubscriptionStatusSeq_var all = Ask(session);
  for (CORBA::ULong i = 0; i < all->length(); ++i) {
    const Corvanta::SubscriptionStatus& one = all.in()[i];
    const std::string topic = Client::Printable(one.topic.in()), address = Client::Printable(one.address.in());
    rows.Add({{"handle", one.handle},
              {"topic", topic},
              {"address", address},
              {"stalled", static_cast<bool>(one.stalled)},
              {"queued", one.queued},
              {"delivered", one.delivered},
              {"dropped", one.dropped}},
             {fmt::to_string(one.handle), topic, address, one.stalled ? "stalled" : "answers",
              fmt::to_string(one.queued), fmt::to_string(one.delivered), fmt::to_string(one.dropped)});
  }
  rows.Finish();
}

}  // namespace

void DefineSubscriptions(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("subscriptions", "Who gets samples of what, and how many each has lost");
  verb->footer(kSubscriptionsFooter);
  verb->callback([&command] { command.run = ShowSubscriptions; });
}

}  // namespace Lumenar::Mathctl
