// SPDX-License-Identifier: Apache-2.0
#include "python/src/ProcessMark.h"

#include <pthread.h>

#include <atomic>
#include <thread>

#include "client/Error.h"
#include "python/src/CallThreads.h"
#include "python/src/interpreter.h"

namespace Lumenar::Python {
namespace {

std::atomic<int> in_use{0};
std::atomic<bool> orphan{false};

/// The child's: it has this thread alone.
void AfterFork() {
  CallThreads::ForgetAll();
  if (in_use == 0) return;
  orphan = true;
  Interpreter::LeaveEverythingAtExit();
}

}  // namespace

void ProcessMark::Begin() { pthread_atfork(nullptr, nullptr, &AfterFork); }

ProcessMark::InUse::InUse() noexcept { ++in_use; }
ProcessMark::InUse::~InUse() { --in_use; }

bool ProcessMark::WaitUntilFree(std::chrono::milliseconds limit) {
  constexpr std::chrono::milliseconds kPause{1};
  for (auto left = limit; in_use > 0; left -= kPause) {
    if (left.count() <= 0) return false;
    std::this_thread::sleep_for(kPause);
  }
  return true;
}

bool ProcessMark::IsOrphan() noexcept { return orphan; }

void ProcessMark::RequireOwn() {
  if (!orphan) return;
  throw Client::Error(Client::ErrorKind::BadArgument,
                      "this process was forked while a client was open: open clients in the child of "
                      "multiprocessing's \"spawn\", or fork before the first is opened");
}

}  // namespace Lumenar::Python
