// SPDX-License-Identifier: Apache-2.0
// The recipe of docs/operations.md for a client on another machine, with a port for each process: what a firewall has to
// let through. The other machine is a network namespace.
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/faults/FaultCase.h"
#include "tests/faults/NetworkNamespace.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {
namespace {

namespace fs = std::filesystem;
using Environment = std::map<std::string, std::string>;

/// Ports that are free now, all different.
std::vector<std::string> FreePorts(std::size_t count) {
  std::vector<int> sockets;
  std::vector<std::string> ports;
  while (ports.size() < count) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    socklen_t length = sizeof address;
    sockets.push_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (bind(sockets.back(), reinterpret_cast<sockaddr*>(&address), length) == 0 &&
        getsockname(sockets.back(), reinterpret_cast<sockaddr*>(&address), &length) == 0)
      ports.push_back(std::to_string(ntohs(address.sin_port)));
  }
  for (const int socket : sockets) close(socket);
  return ports;
}

/// A platform that listens at one address of this machine, each process at a port of its own.
class OpenPlatform {
 public:
  OpenPlatform(const std::string& address, const std::string& allowed, const std::vector<std::string>& ports)
      : directory_((fs::temp_directory_path() / "lumenar-open-XXXXXX").string()), address_(address), ports_(ports) {
    if (mkdtemp(directory_.data()) == nullptr) throw std::runtime_error("no directory");
    std::ofstream(Conf()) << "orb.allowed_peer = localhost\norb.allowed_peer = " << allowed << "\n";
    fs::create_directory(directory_ + "/naming");
    processes_.push_back(std::make_unique<Process>(
        std::vector<std::string>{"omniNames", "-start", ports_[0], "-always", "-nohostname", "-datadir",
                                 directory_ + "/naming", "-ORBendPoint", "giop:tcp:" + address_ + ":" + ports_[0]},
        Environment{}));
    Start({BuiltProgram("topic_manager").string(), "--no-state"}, "topic_manager ready");
    Start({BuiltProgram("hw_enumeration").string()}, "hw_enumeration ready");
    Start({BuiltProgram("engine_host").string(), BuiltEngineLibrary("math_factory_hh").string()},
          "Lumenar::MathInit createEngine done");
    Start({BuiltProgram("engine_host").string(), BuiltEngineLibrary("sim").string(), "--set",
           "SIM_READINGS=trace:LEVEL:rate=50:points=101"},
          "Lumenar::SimInit createEngine done");
  }
  ~OpenPlatform() {
    processes_.clear();
    fs::remove_all(directory_);
  }
  OpenPlatform(const OpenPlatform&) = delete;
  OpenPlatform& operator=(const OpenPlatform&) = delete;

  std::string NamingAddress() const { return address_ + ":" + ports_[0]; }
  std::string Directory() const { return directory_; }

 private:
  std::string Conf() const { return directory_ + "/tcp.conf"; }

  void Start(const std::vector<std::string>& command, const std::string& ready) {
    const std::string endpoint = "giop:tcp:" + address_ + ":" + ports_[processes_.size()];
    processes_.push_back(std::make_unique<Process>(command, Environment{{"LUMENAR_NAMING", NamingAddress()},
                                                                        {"LUMENAR_NAMING_WAIT", "30"},
                                                                        {"LUMENAR_TRANSPORT_CONF", Conf()},
                                                                        {"LUMENAR_ENDPOINT", endpoint}}));
    Process& process = *processes_.back();
    EXPECT_TRUE(process.WaitForLine(ready)) << process.Out() << process.Error();
  }

  std::string directory_;
  const std::string address_;
  const std::vector<std::string> ports_;
  std::vector<std::unique_ptr<Process>> processes_;
};

std::string PortOf(const std::string& address) { return address.substr(address.rfind(':') + 1); }

/// The connections of a machine that have neither end at one of the ports, as ss prints them.
std::vector<std::string> Strangers(const NetworkNamespace& machine, const std::set<std::string>& ports) {
  Process listing(machine.Command({"ss", "-H", "-t", "-n"}));
  listing.WaitForExit();
  std::vector<std::string> strangers;
  std::istringstream lines(listing.Out());
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string state, received, sent, local, peer;
    words >> state >> received >> sent >> local >> peer;
    if (ports.count(PortOf(local)) + ports.count(PortOf(peer)) == 0) strangers.push_back(line);
  }
  return strangers;
}

TEST(RemoteClient, WatchesAndIsCalledBackThroughTheChosenPortsAlone) {
  DescribeFault("access: a client on another machine", "a port for each process, and one for the client",
                "results arrive; no connection has another port at both ends");
  std::unique_ptr<NetworkNamespace> machine;
  try {
    machine = std::make_unique<NetworkNamespace>();
  } catch (const std::runtime_error& obstacle) {
    GTEST_SKIP() << obstacle.what();
  }
  const std::vector<std::string> ports = FreePorts(6);
  const OpenPlatform platform(machine->AddressHere(), machine->AddressThere(), ports);
  const std::string conf = platform.Directory() + "/client.conf";
  std::ofstream(conf) << "orb.allowed_peer = " << machine->AddressHere() << "\n";
  const Environment environment{{"LUMENAR_NAMING", platform.NamingAddress()},
                                {"LUMENAR_TRANSPORT_CONF", conf},
                                {"LUMENAR_ENDPOINT", "giop:tcp:" + machine->AddressThere() + ":" + ports[5]}};
  const std::string mathctl = BuiltProgram("mathctl").string();
  Process create(machine->Command({mathctl, "create", "Average", "SIM/1/LEVEL"}), environment);
  ASSERT_EQ(create.WaitForExit(), 0) << create.Error();
  Process watch(machine->Command({mathctl, "watch", "0", "--json"}), environment);
  const auto results = [&watch] {
    const std::string out = watch.Out();
    return std::count(out.begin(), out.end(), '\n');
  };
  ASSERT_TRUE(WaitUntil([&] { return results() > 20; })) << watch.Out() << watch.Error();
  EXPECT_THAT(Strangers(*machine, {ports.begin(), ports.end()}), testing::IsEmpty());
  watch.Signal(SIGINT);
  EXPECT_EQ(watch.WaitForExit(), 0) << watch.Error();
}

}  // namespace
}  // namespace Lumenar::Test
