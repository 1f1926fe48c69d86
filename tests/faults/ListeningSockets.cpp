// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/ListeningSockets.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace Lumenar::Test {
namespace {

namespace fs = std::filesystem;

/// The inode numbers of a process's sockets.
std::set<std::string> SocketsOf(pid_t pid) {
  std::set<std::string> inodes;
  for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(pid) + "/fd")) {
    std::error_code gone;
    const std::string target = fs::read_symlink(entry.path(), gone).string();
    if (target.rfind("socket:[", 0) == 0) inodes.insert(target.substr(8, target.size() - 9));
  }
  return inodes;
}

/// "0100007F:1F90", words in the machine's byte order, as an address.
std::string AddressText(const std::string& hex) {
  const std::string digits = hex.substr(0, hex.find(':'));
  unsigned char bytes[16] = {};
  for (std::size_t word = 0; word < digits.size() / 8; ++word) {
    const auto value = static_cast<std::uint32_t>(std::stoul(digits.substr(8 * word, 8), nullptr, 16));
    std::memcpy(bytes + 4 * word, &value, 4);
  }
  char text[INET6_ADDRSTRLEN] = {};
  inet_ntop(digits.size() == 8 ? AF_INET : AF_INET6, bytes, text, sizeof text);
  return text;
}

void Collect(const char* table, const std::string& state, const std::set<std::string>& sockets,
             std::vector<std::string>& found) {
  std::ifstream file(table);
  std::string line;
  std::getline(file, line);  // headings
  while (std::getline(file, line)) {
    std::istringstream fields(line);
    std::string number, local, remote, its_state, skipped, inode;
    fields >> number >> local >> remote >> its_state >> skipped >> skipped >> skipped >> skipped >> skipped >> inode;
    if (its_state == state && sockets.count(inode) != 0) found.push_back(AddressText(local));
  }
}

}  // namespace

std::vector<std::string> ListeningAddresses(pid_t pid) {
  const std::set<std::string> sockets = SocketsOf(pid);
  std::vector<std::string> found;
  for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"}) Collect(table, "0A", sockets, found);
  for (const char* table : {"/proc/net/udp", "/proc/net/udp6"}) Collect(table, "07", sockets, found);
  return found;
}

}  // namespace Lumenar::Test
