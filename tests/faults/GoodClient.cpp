// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/GoodClient.h"

#include <algorithm>
#include <stdexcept>

namespace Lumenar::Test {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

milliseconds ServedIn(const Corvanta::Test::ObjectAddress& factory) {
  const auto begin = Clock::now();
  try {
    Corvanta::Test::RawClient client(factory);
    if (client.Call("ListMath", Corvanta::Test::Wire()) != "ok") return milliseconds::max();
  } catch (const std::runtime_error&) {  // nobody takes connections
    return milliseconds::max();
  }
  return std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
}

milliseconds GoodClient::Slowest() {
  stop_ = true;
  thread_.join();
  return slowest_;
}

void GoodClient::Run(const Corvanta::Test::ObjectAddress& factory) {
  while (!stop_) {
    slowest_ = std::max(slowest_, ServedIn(factory));
    std::this_thread::sleep_for(milliseconds(20));  // its pace, not a wait for anything
  }
}

}  // namespace Lumenar::Test
