// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {

/// A service manager's end of the notify protocol: a socket in a directory of its own, and what processes told it.
class NotifySocket {
 public:
  NotifySocket() : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    directory_ = (std::filesystem::temp_directory_path() / "lumenar-notify-XXXXXX").string();
    if (socket_ < 0 || mkdtemp(directory_.data()) == nullptr) throw std::runtime_error("no notify socket");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    Path().copy(address.sun_path, sizeof address.sun_path - 1);
    if (bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
      throw std::runtime_error("no notify socket at " + Path());
  }
  ~NotifySocket() {
    close(socket_);
    std::filesystem::remove_all(directory_);
  }
  NotifySocket(const NotifySocket&) = delete;
  NotifySocket& operator=(const NotifySocket&) = delete;

  /// For NOTIFY_SOCKET.
  std::string Path() const { return directory_ + "/notify"; }

  /// All that came since the socket was made or Forget was called.
  const std::vector<std::string>& Heard() {
    char text[4096];
    for (ssize_t size = 0; (size = recv(socket_, text, sizeof text, 0)) > 0;)
      heard_.emplace_back(text, static_cast<std::size_t>(size));
    return heard_;
  }

  long Count(const std::string& state) { return std::count(Heard().begin(), Heard().end(), state); }

  void Forget() {
    Heard();
    heard_.clear();
  }

  /// Waits until a state was told as often as that; false after the limit.
  bool WaitFor(const std::string& state, long times = 1, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    return WaitUntil([&] { return Count(state) >= times; }, limit);
  }

 private:
  int socket_;
  std::string directory_;
  std::vector<std::string> heard_;
};

}  // namespace Lumenar::Test
