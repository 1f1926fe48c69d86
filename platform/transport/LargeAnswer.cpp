// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/LargeAnswer.h"

#include <omniORB4/CORBA.h>

#include <utility>

namespace Corvanta {
namespace {

constexpr std::chrono::seconds kPatience{4};  // below the time limit of calls

/// Gives a thread's share of the budget back when the thread ends.
struct ThreadAccount {
  ~ThreadAccount() { SendBudget::OfProcess().Return(account); }
  SendBudget::Account account;
  bool is_used = false;
  bool is_refused = false;
};

thread_local ThreadAccount thread_account;

}  // namespace

void LargeAnswer::Announce(std::size_t bytes) {
  if (bytes < kSmall) return;
  thread_account.is_refused = !SendBudget::OfProcess().Take(OfThisThread(), bytes, kPatience);
  if (thread_account.is_refused) throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
}

SendBudget::Account& LargeAnswer::OfThisThread() {
  thread_account.is_used = true;
  return thread_account.account;
}

void LargeAnswer::End() noexcept {
  if (!thread_account.is_used) return;
  thread_account.is_used = false;
  SendBudget::OfProcess().Return(thread_account.account);
}

bool LargeAnswer::WasRefused() noexcept { return std::exchange(thread_account.is_refused, false); }

}  // namespace Corvanta
