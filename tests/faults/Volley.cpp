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
      if (attack_.outcome == WireAttack::Ends || attack_.outcome == WireAttack::Closed) FireEnding(count);
      else FireOnOne(count);
      tries_ += count;
    }
  } catch (const std::runtime_error& error) {
    wrong_ = error.what();
  }
}

/// Each on a connection of its own, side by side; the other end closes: by itself, or when this one has closed its half.
void Volley::FireEnding(long count) {
  std::vector<std::unique_ptr<Client>> clients;
  for (long i = 0; i < count; ++i) {
    clients.push_back(std::make_unique<Client>(target_));
    clients.back()->Send(attack_.bytes(*clients.back()));
    if (attack_.outcome == WireAttack::Ends) clients.back()->EndSending();
  }
  for (auto& client : clients)
    if (!client->WaitUntilClosed(kLimit)) wrong_ = "a connection is kept";
  Note("closed");
}

/// All on one connection, one behind the other without waiting: each is answered, or dropped and a request behind them
/// that any object answers is. A connection that is closed before is none of both.
void Volley::FireOnOne(long count) {
  Client client(target_);
  std::string bytes;
  for (long i = 0; i < count; ++i) bytes += attack_.bytes(client);
  if (attack_.outcome == WireAttack::Dropped) {
    client.Send(bytes + client.Request("_non_existent", Corvanta::Test::Wire()));
    return Expect(client.Answer(), "ok");
  }
  client.Send(bytes);
  for (long i = 0; i < count && wrong_.empty(); ++i) Expect(client.Answer(), attack_.answer);
}

void Volley::Note(const std::string& answer) { ++answers_[answer]; }

void Volley::Expect(const std::string& answer, const std::string& wanted) {
  Note(answer);
  if (answer != wanted) wrong_ = answer;
}

}  // namespace Lumenar::Test
