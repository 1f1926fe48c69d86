// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/Volley.h"

#include <memory>
#include <stdexcept>
#include <vector>

namespace Lumenar::Test {
namespace {

constexpr long kAtATime = 32;
constexpr std::chrono::seconds kLimit{10};

}  // namespace

void Volley::Fire(long tries) {
  try {
    while (tries_ < tries && wrong_.empty()) {
      const long count = std::min(kAtATime, tries - tries_);
      if (attack_.outcome == WireAttack::Ends) FireEnding(count);
      else FireOnOne(count);
      tries_ += count;
    }
  } catch (const std::runtime_error& error) {
    wrong_ = error.what();
  }
}

/// Each on a connection of its own, side by side; the other end closes, the last of all when this one has closed its
/// half.
void Volley::FireEnding(long count) {
  std::vector<std::unique_ptr<Client>> clients;
  for (long i = 0; i < count; ++i) {
    clients.push_back(std::make_unique<Client>(target_));
    clients.back()->Send(attack_.bytes(*clients.back()));
    clients.back()->EndSending();
  }
  for (auto& client : clients)
    if (!client->WaitUntilClosed(kLimit)) wrong_ = "a connection is kept";
  Note("closed");
}

/// All on one connection, one behind the other without waiting, then a request that any object answers.
void Volley::FireOnOne(long count) {
  Client client(target_);
  std::string bytes;
  for (long i = 0; i < count; ++i) bytes += attack_.bytes(client);
  client.Send(bytes + client.Request("_non_existent", Corvanta::Test::Wire()));
  if (attack_.outcome == WireAttack::Answered) ExpectAnswers(client, count);
  else if (wrong_.empty()) Expect(client.Answer(), "ok");
}

/// The answers come in any order, that to the last request among them.
void Volley::ExpectAnswers(Client& client, long count) {
  bool last_came = false;
  for (long i = 0; i <= count && wrong_.empty(); ++i) {
    const std::string answer = client.Answer();
    if (answer == "ok" && !last_came && attack_.answer != "ok") last_came = true;
    else Expect(answer, attack_.answer);
    if (answer == "closed") return;
  }
}

void Volley::Note(const std::string& answer) { ++answers_[answer]; }

void Volley::Expect(const std::string& answer, const std::string& wanted) {
  Note(answer);
  if (answer != wanted && answer != "closed") wrong_ = answer;
}

}  // namespace Lumenar::Test
