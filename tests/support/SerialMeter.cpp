// SPDX-License-Identifier: Apache-2.0
#include "tests/support/SerialMeter.h"

#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

namespace Lumenar::Test {

std::string SerialMeter::Display::Packet() const {
  std::string packet = digits + ' ' + point;
  for (const int flags : {first, second, third, fourth}) packet += static_cast<char>(flags);
  packet += '\x00';  // of the bar under the digits nothing is lit
  return packet + "\r\n";
}

struct SerialMeter::Impl {
  explicit Impl(std::string first) : packet(std::move(first)) {
    char name[64] = "";
    if (openpty(&meter, &port, name, nullptr, nullptr) != 0)
      throw std::runtime_error(std::string("no pseudo-terminal: ") + std::strerror(errno));
    termios raw{};
    tcgetattr(port, &raw);
    cfmakeraw(&raw);
    tcsetattr(port, TCSANOW, &raw);
    fcntl(meter, F_SETFL, O_NONBLOCK);  // what nobody reads is lost, as on a wire
    fcntl(meter, F_SETFD, FD_CLOEXEC);
    fcntl(port, F_SETFD, FD_CLOEXEC);
    path = name;
    thread = std::thread([this] { Send(); });
  }

  ~Impl() {
    {
      const std::lock_guard lock(mutex);
      ended = true;
    }
    changed.notify_all();
    thread.join();
    ClosePort();
  }

  void Send() {
    constexpr std::chrono::milliseconds kBetween{50};
    std::unique_lock lock(mutex);
    while (!changed.wait_for(lock, kBetween, [this] { return ended; })) {
      if (!on || meter < 0) continue;
      if (write(meter, packet.data(), packet.size()) > 0) ++sent;
    }
  }

  void ClosePort() {
    for (int* descriptor : {&port, &meter})
      if (*descriptor >= 0) close(std::exchange(*descriptor, -1));
  }

  std::mutex mutex;
  std::condition_variable changed;
  std::string packet;
  unsigned sent = 0;
  std::string path;
  bool on = true;
  bool ended = false;
  int meter = -1;
  int port = -1;  // kept open: a pseudo-terminal that nobody has open says so to the meter
  std::thread thread;
};

SerialMeter::SerialMeter(const Display& display) : impl_(std::make_unique<Impl>(display.Packet())) {}
SerialMeter::~SerialMeter() = default;

const std::string& SerialMeter::Path() const { return impl_->path; }

std::map<std::string, std::string> SerialMeter::AsSerialPort() { return {{"LD_PRELOAD", LUMENAR_PTY_AS_SERIAL}}; }

void SerialMeter::Show(const Display& display) {
  const std::lock_guard lock(impl_->mutex);
  impl_->packet = display.Packet();
  impl_->sent = 0;
}

unsigned SerialMeter::Sent() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->sent;
}

void SerialMeter::SwitchOff() {
  const std::lock_guard lock(impl_->mutex);
  impl_->on = false;
}

void SerialMeter::SwitchOn() {
  const std::lock_guard lock(impl_->mutex);
  impl_->on = true;
}

void SerialMeter::Unplug() {
  const std::lock_guard lock(impl_->mutex);
  impl_->ClosePort();
}

}  // namespace Lumenar::Test
