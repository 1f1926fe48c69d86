// SPDX-License-Identifier: Apache-2.0
// A platform whose processes talk through Unix-domain sockets.
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>
#include <string>

#include "tests/support/EngineFixture.h"

namespace Lumenar::Test {
namespace {

namespace fs = std::filesystem;

/// A private directory for the sockets; it must be there before the platform starts.
class SocketDirectory {
 protected:
  SocketDirectory() {
    std::string name = (fs::temp_directory_path() / "lumenar-sockets-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error(name);
    sockets_ = name;
  }
  ~SocketDirectory() {
    std::error_code ignored;
    fs::remove_all(sockets_, ignored);
  }

  std::string UnixEndpoint() const { return "orb.endpoint = giop:unix:" + sockets_.string() + "/\n"; }

  /// The programs that have a socket in the directory.
  std::multiset<std::string> Programs() const {
    std::multiset<std::string> programs;
    for (const fs::directory_entry& entry : fs::directory_iterator(sockets_)) programs.insert(entry.path().stem());
    return programs;
  }

  bool HasSocketOf(const std::string& program, const Process& process) const {
    return fs::exists(sockets_ / (program + "." + std::to_string(process.Pid())));
  }

  fs::path sockets_;
};

IsolatedPlatform::Options With(const std::string& transport) {
  IsolatedPlatform::Options options;
  options.transport = transport;
  return options;
}

/// A client that speaks nothing but TCP.
std::unique_ptr<Process> StartTcpClient(IsolatedPlatform& platform, std::vector<std::string> arguments) {
  const fs::path file = platform.Directory() / "tcp.conf";
  std::ofstream(file) << "orb.client_transport = tcp\n";
  return platform.Start("mathctl", std::move(arguments), {{"LUMENAR_TRANSPORT_CONF", file.string()}});
}

/// No process but the naming service listens at an internet address: whatever works goes through the sockets.
class UnixAlone : private SocketDirectory, public EngineFixture {
 protected:
  UnixAlone() : EngineFixture(With(UnixEndpoint())) {}

  using SocketDirectory::HasSocketOf;
  using SocketDirectory::Programs;
  using SocketDirectory::sockets_;

  TraceInput first_{bench_, "FIRST", Trace({5, 5}, kMilliwatt)};
  TraceInput second_{bench_, "SECOND", Trace({1, 2}, kMilliwatt)};
};

TEST_F(UnixAlone, OperationsWorkThroughSocketsOfTheirOwnerAlone) {
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(first_, second_));
  const Watcher<BT_DATA> results(ResultTopic(math));
  first_ = Trace({7, 7}, kMilliwatt);
  ASSERT_EQ(results.WaitFor(1).size(), 1U);
  EXPECT_EQ(SamplesOf(results.All()[0]), (std::vector<float>{6, 5}));

  EXPECT_EQ(Programs().count("topic_manager"), 1U);
  EXPECT_EQ(Programs().count("engine_host"), 1U);
  for (const fs::directory_entry& entry : fs::directory_iterator(sockets_)) {
    struct stat status {};
    ASSERT_EQ(::stat(entry.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U) << entry.path();
  }
}

/// The engine's subscriptions stand in the manager's state file with the engine's socket; the manager itself is at a
/// new one.
TEST_F(UnixAlone, AKilledTopicManagerIsFoundAgainAndItsSocketIsRemoved) {
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(first_, second_));
  const pid_t killed = platform_.TopicManager().Pid();
  platform_.KillTopicManager();
  EXPECT_TRUE(fs::exists(sockets_ / ("topic_manager." + std::to_string(killed))));

  platform_.StartTopicManager();

  EXPECT_FALSE(fs::exists(sockets_ / ("topic_manager." + std::to_string(killed))));
  EXPECT_TRUE(HasSocketOf("topic_manager", platform_.TopicManager()));
  const Watcher<BT_DATA> results(ResultTopic(math));
  EXPECT_TRUE(WaitUntil([&] {
    first_ = Trace({7, 7}, kMilliwatt);
    return !results.All().empty();
  })) << platform_.TopicManager().Error();
}

TEST_F(UnixAlone, AClientThatSpeaksTcpAloneReachesNobody) {
  const std::unique_ptr<Process> client = StartTcpClient(platform_, {"list"});
  EXPECT_EQ(client->WaitForExit(), 3) << client->Out();
}

TEST_F(UnixAlone, AnEngineThatEndsTakesItsSocketAlong) {
  ASSERT_TRUE(HasSocketOf("engine_host", engine_));
  engine_.Signal(SIGTERM);
  EXPECT_EQ(engine_.WaitForExit(), 0);
  EXPECT_FALSE(HasSocketOf("engine_host", engine_));
}

/// Two endpoints in each process: the one for neighbours, the other for clients that cannot use it.
class UnixAndTcp : private SocketDirectory, public EngineFixture {
 protected:
  UnixAndTcp() : EngineFixture(With(UnixEndpoint() + "orb.endpoint = giop:tcp:127.0.0.1:\n")) {}

  /// Connections that the kernel knows through the sockets of the directory.
  int Connections() const {
    constexpr const char* kConnected = " 03 ";  // the state column of this table
    std::ifstream table("/proc/net/unix");
    int connections = 0;
    for (std::string line; std::getline(table, line);)
      if (line.find(sockets_.string()) != std::string::npos && line.find(kConnected) != std::string::npos)
        ++connections;
    return connections;
  }
};

TEST_F(UnixAndTcp, NeighboursUseTheSocketsWhileAClientUsesTcp) {
  TraceInput first(bench_, "FIRST", Trace({5, 5}, kMilliwatt));
  TraceInput second(bench_, "SECOND", Trace({1, 2}, kMilliwatt));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(first, second));
  const Watcher<BT_DATA> results(ResultTopic(math));
  const std::unique_ptr<Process> client = StartTcpClient(platform_, {"watch", "math:0", "-n", "3"});
  ASSERT_TRUE(WaitUntil([&] {
    first = Trace({7, 7}, kMilliwatt);
    return !client->IsRunning();
  })) << client->Error();
  EXPECT_EQ(client->WaitForExit(), 0) << client->Error();
  EXPECT_NE(client->Out().find(")  #0  2 points"), std::string::npos) << client->Out();
  EXPECT_FALSE(results.WaitFor(3).empty());
  EXPECT_GT(Connections(), 0);
}

/// A directory in which others could put a socket of theirs is refused by every program.
TEST(UnixEndpoints, AProgramRefusesADirectoryThatOthersCanWriteTo) {
  IsolatedPlatform::Options options;
  options.topic_manager = options.hw_enumeration = false;
  IsolatedPlatform platform(options);
  const fs::path open = platform.Directory() / "open";
  fs::create_directory(open);
  fs::permissions(open, fs::perms::all);
  const fs::path file = platform.Directory() / "unix.conf";
  std::ofstream(file) << "orb.endpoint = giop:unix:" << open.string() << "/\n";

  const auto manager = platform.Start("topic_manager", {}, {{"LUMENAR_TRANSPORT_CONF", file.string()}});

  EXPECT_EQ(manager->WaitForExit(), 1);
  EXPECT_EQ(manager->Error(), "topic_manager: " + file.string() + ":1: orb.endpoint: giop:unix:" + open.string() +
                                  "/: " + open.string() +
                                  " can be written by others: it must be its owner's alone (chmod 700)\n");
}

}  // namespace
}  // namespace Lumenar::Test
