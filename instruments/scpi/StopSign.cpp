// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/StopSign.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace Lumenar::Scpi {

StopSign::StopSign() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "no descriptor for a stop sign");
}

StopSign::~StopSign() { ::close(descriptor_); }

void StopSign::Raise() noexcept { ::eventfd_write(descriptor_, 1); }

bool StopSign::IsRaised() const noexcept {
  pollfd sign{descriptor_, POLLIN, 0};
  return ::poll(&sign, 1, 0) > 0;
}

void StopSign::WaitUntil(std::chrono::steady_clock::time_point time) const {
  using std::chrono::milliseconds;
  for (auto now = std::chrono::steady_clock::now(); now < time; now = std::chrono::steady_clock::now()) {
    pollfd sign{descriptor_, POLLIN, 0};
    const auto left = std::min(std::chrono::ceil<milliseconds>(time - now), milliseconds(60'000));
    if (::poll(&sign, 1, static_cast<int>(left.count())) > 0) throw Stopped();
  }
}

}  // namespace Lumenar::Scpi
