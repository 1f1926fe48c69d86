// SPDX-License-Identifier: Apache-2.0
// Asks who listens at an address: sends *IDN? and nothing else, and writes the answer as a line of JSON.

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <csignal>
#include <exception>
#include <span>
#include <stdexcept>
#include <string>

#include "instruments/scpi/Socket.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/ParseArguments.h"
#include "platform/base/output_error.h"

namespace {

using Lumenar::Scpi::Clock;
using Lumenar::Scpi::Socket;

constexpr std::size_t kLongestIdentity = 4096;

/// The first line that comes, without its end.
std::string FirstLineFrom(Socket& socket, Clock::time_point deadline) {
  std::string text;
  char room[512];
  while (text.find('\n') == std::string::npos) {
    if (text.size() > kLongestIdentity) throw std::runtime_error("it answers *IDN? with more than 4096 bytes");
    const std::size_t count = socket.Receive(std::span<char>(room), deadline);
    if (count == 0) throw std::runtime_error("it does not answer *IDN?");
    text.append(room, count);
  }
  text.erase(text.find('\n'));
  while (!text.empty() && (text.back() == '\r' || text.back() == ' ')) text.pop_back();
  return text;
}

int AskAt(const std::string& text, double limit_s) {
  const Lumenar::Scpi::Address address = Lumenar::Scpi::AddressFromText(text);
  const auto deadline = Clock::now() + std::chrono::ceil<Clock::duration>(std::chrono::duration<double>(limit_s));
  const Lumenar::Scpi::StopSign never;
  Socket socket(address, deadline, never);
  if (!socket.Send("*IDN?\n", deadline)) throw std::runtime_error("it does not take *IDN?");
  const nlohmann::ordered_json line{{"address", address.Text()}, {"identity", FirstLineFrom(socket, deadline)}};
  Lumenar::WriteOut(line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
  return Lumenar::CheckOutput("scpi_scan", 0);
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  std::string address;
  double limit_s = 10;
  int exit_code = 0;
  CLI::App app("Asks the instrument at an address who it is: sends *IDN? and nothing else.", "scpi_scan");
  app.add_option("ADDRESS", address, "HOST:PORT")->required();
  app.add_option("--limit", limit_s, "Seconds to wait for the answer")
      ->check(CLI::Range(0.001, 86400.0))
      ->capture_default_str();
  if (!Lumenar::ParseArguments(app, argc, argv, exit_code)) return exit_code;
  try {
    return AskAt(address, limit_s);
  } catch (const std::exception& error) {
    Lumenar::WriteError(std::string("scpi_scan: ") + error.what());
    return 1;
  }
}
