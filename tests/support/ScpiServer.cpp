// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ScpiServer.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace Lumenar::Test {
namespace {

std::vector<std::string> ServerCommand(std::vector<std::string> options) {
  std::vector<std::string> command = {"python3", ScpiServerPath(), "--multimeter", "0", "--analyser", "0"};
  command.insert(command.end(), options.begin(), options.end());
  return command;
}

/// A connected socket that waits for 10 s at most.
class PlainSocket {
 public:
  explicit PlainSocket(const std::string& address) {
    const std::size_t colon = address.rfind(':');
    addrinfo* list = nullptr;
    if (::getaddrinfo(address.substr(0, colon).c_str(), address.substr(colon + 1).c_str(), nullptr, &list) != 0)
      throw std::runtime_error("no address: " + address);
    descriptor_ = ::socket(list->ai_family, SOCK_STREAM, 0);
    const timeval limit{10, 0};
    ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    const int failure = ::connect(descriptor_, list->ai_addr, list->ai_addrlen);
    ::freeaddrinfo(list);
    if (failure != 0) throw std::runtime_error("no connection to " + address);
  }
  ~PlainSocket() { ::close(descriptor_); }

  void Send(const std::string& line) const {
    if (::send(descriptor_, line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size()))
      throw std::runtime_error("not sent: " + line);
  }

  char Byte() const {
    char byte = 0;
    if (::recv(descriptor_, &byte, 1, 0) != 1) throw std::runtime_error("no answer");
    return byte;
  }

 private:
  int descriptor_ = -1;
};

}  // namespace

ScpiServer::ScpiServer(std::vector<std::string> options) : process_(ServerCommand(std::move(options))) {
  if (!process_.WaitForLine("ready")) throw std::runtime_error("the server does not start: " + process_.Error());
  multimeter_ = AddressOf("multimeter ");
  analyser_ = AddressOf("spectrum_analyser ");
}

std::string ScpiServer::AddressOf(const std::string& name) {
  std::istringstream lines(process_.Out());
  for (std::string line; std::getline(lines, line);)
    if (line.compare(0, name.size(), name) == 0) return line.substr(name.size());
  throw std::runtime_error("the server tells no address of its " + name);
}

std::string ScpiServer::Ask(const std::string& address, const std::string& message) {
  const PlainSocket socket(address);
  socket.Send(message + "\n");
  std::string line;
  for (char byte = socket.Byte(); byte != '\n'; byte = socket.Byte()) line += byte;
  return line;
}

void ScpiServer::Misbehave(const std::string& address, const std::string& fault, int count, double seconds) {
  Ask(address, fmt::format(":TEST:FAULT {},{},{};*OPC?", fault, count, seconds));
}

int ScpiServer::FaultsToCome(const std::string& address) { return std::stoi(Ask(address, ":TEST:FAULT?")); }

ScpiServer::Counts ScpiServer::CountsOf(const std::string& address) {
  const std::string text = Ask(address, ":TEST:COUNT?");
  return {std::stoi(text), std::stoi(text.substr(text.find(',') + 1))};
}

std::string FreeLoopbackPort() {
  const int descriptor = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  const bool is_bound = ::bind(descriptor, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                        ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) == 0;
  ::close(descriptor);
  if (!is_bound) throw std::runtime_error("no free port");
  return std::to_string(ntohs(address.sin_port));
}

void WriteText(const std::filesystem::path& path, const std::string& text) { std::ofstream(path) << text; }

const char* ScpiServerPath() { return LUMENAR_SCPI_SERVER; }

}  // namespace Lumenar::Test
