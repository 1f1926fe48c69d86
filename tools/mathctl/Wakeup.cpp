// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/Wakeup.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace Lumenar::Mathctl {

Wakeup::Wakeup() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (event_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

Wakeup::~Wakeup() { close(event_); }

void Wakeup::Call() noexcept {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = write(event_, &one, sizeof one);
}

bool Wakeup::WasCalled() const noexcept {
  pollfd event{event_, POLLIN, 0};
  return poll(&event, 1, 0) == 1;
}

bool Wakeup::WaitFor(int descriptor, std::chrono::milliseconds limit) const {
  pollfd both[] = {{event_, POLLIN, 0}, {descriptor, POLLIN, 0}};
  const int ready = poll(both, 2, static_cast<int>(limit.count()));
  return ready > 0 && both[0].revents == 0 && both[1].revents != 0;
}

}  // namespace Lumenar::Mathctl
