// SPDX-License-Identifier: Apache-2.0
// Subscribers that died where nobody sends anything, that never answer, and that the topic manager has forgotten.
#include <arpa/inet.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <thread>

#include "platform/dds/DDS_BaseObj.h"
#include "tests/faults/PeersFault.h"
#include "tests/faults/Trend.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;

/// A reference to an object that nobody has, at an address.
Corvanta::DDS_Sub_var SubscriberAt(Corvanta::ORB_wrapper& orb, const std::string& address) {
  const CORBA::Object_var object = orb.Orb()->string_to_object(("corbaloc:iiop:" + address + "/nobody").c_str());
  return Corvanta::DDS_Sub::_unchecked_narrow(object);
}

class DeadSubscribers : public PeersFault {
 protected:
  DeadSubscribers() : PeersFault("", {"--look-period", ByLength("5", "60")}) {}
};

TEST_F(DeadSubscribers, OnSilentTopics) {
  DescribeFault("dead subscribers on silent topics",
                "thousands of subscriptions, each to a topic of its own on which nothing is sent, whose "
                "processes are dead; the topic manager is killed and started with its state file half-way",
                "others can subscribe all the while; all are dropped in two minutes; nobody else loses a sample");
  const int count = ByLength(2000, 12000), of_one = ByLength(4, 12);  // subscriptions, and those of one process
  const Corvanta::DDS_Manager_var manager = Manager();
  for (int i = 0; i < count; ++i) {
    const int process = i / of_one;
    const std::string address = fmt::format("127.77.{}.{}:1", process / 250, 1 + process % 250);
    const Corvanta::DDS_Sub_var subscriber = SubscriberAt(bench_.Orb(), address);
    manager->Subscribe(fmt::format("SILENT/{}", i).c_str(), subscriber);
  }
  TraceInput input(bench_, "INPUT", NumberedTrace(0)), other(bench_, "OTHER", NumberedTrace(0));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(input, other));
  const auto dropped_after = TimeOf([&] {
    platform_.KillTopicManager();
    platform_.StartTopicManager();
    SequenceFollower follower(ResultTopic(math));
    Feeder feeder(input, 50);
    ASSERT_TRUE(follower.WaitForMore());
    const unsigned long first = follower.Now().last;
    EXPECT_TRUE(WaitUntil(
        [&] {
          std::this_thread::sleep_for(
              200ms);  // the list is long: asked for without a pause it would be all that the manager does
          return Subscriptions()->length() == 3;
        },
        120s))
        << Subscriptions()->length();
    const unsigned published = feeder.Stop();
    EXPECT_TRUE(follower.WaitForNumber(published - 1));
    EXPECT_EQ(follower.Now().missing, 0u);
    EXPECT_GT(published, first);
  });
  ReportFigure(fmt::format("{} dropped {} s after the restart", count, dropped_after.count() / 1000));
}

/// Sockets that take connections and never say anything.
class MutePeers {
 public:
  explicit MutePeers(std::size_t count) {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    while (sockets_.size() < count) Listen();
  }
  ~MutePeers() {
    for (const int socket : sockets_) ::close(socket);
  }
  MutePeers(const MutePeers&) = delete;
  MutePeers& operator=(const MutePeers&) = delete;

  const std::vector<std::string>& Addresses() const { return addresses_; }

 private:
  void Listen() {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (socket < 0 || ::bind(socket, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(socket, 64) != 0 ||
        ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
      throw std::system_error(errno, std::generic_category(), "socket");
    }
    sockets_.push_back(socket);
    addresses_.push_back("127.0.0.1:" + std::to_string(ntohs(address.sin_port)));
  }

  std::vector<int> sockets_;
  std::vector<std::string> addresses_;
};

using MuteSubscribers = PeersFault;

TEST_F(MuteSubscribers, ThatAcceptAndNeverAnswer) {
  DescribeFault(
      "mute subscribers",
      "900 subscriptions to the topic of an input, each of an endpoint that accepts connections and never answers",
      "the others, also new ones, get every sample; threads of the topic manager are bounded");
  const MutePeers mute(900);
  const Corvanta::DDS_Manager_var manager = Manager();
  for (const std::string& address : mute.Addresses())
    manager->Subscribe("TESTBENCH/1/INPUT", SubscriberAt(bench_.Orb(), address));
  TraceInput input(bench_, "INPUT", NumberedTrace(0)), other(bench_, "OTHER", NumberedTrace(0));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(input, other));
  SequenceFollower follower(ResultTopic(math));
  Feeder feeder(input, 100);
  ASSERT_TRUE(follower.WaitForMore());
  EXPECT_TRUE(follower.WaitForNumber(ByLength(500, 3000), 60s));
  const long threads = FiguresOf(platform_.TopicManager().Pid()).threads;
  SequenceFollower late("TESTBENCH/1/INPUT");
  EXPECT_TRUE(late.WaitForMore());
  const unsigned published = feeder.Stop();
  EXPECT_TRUE(follower.WaitForNumber(published - 1));
  EXPECT_EQ(follower.Now().missing + follower.Now().out_of_order, 0u) << Losses();
  EXPECT_EQ(late.Now().missing, 0u);
  EXPECT_LT(threads, 128);
  ReportFigure(fmt::format("{} samples, none lost by the others; {} threads", published, threads));
}

using ForgetfulManager = PeersFault;

TEST_F(ForgetfulManager, StartsWithoutWhatItKnew) {
  DescribeFault(
      "topic manager without its file", "SIGKILL and restart without its state file, under load",
      "subscriptions of objects and of clients stand again in < 5 s, each once; nobody creates anything anew");
  TraceInput input(bench_, "INPUT", NumberedTrace(0)), other(bench_, "OTHER", NumberedTrace(0));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(input, other));
  SequenceFollower follower(ResultTopic(math));
  Feeder feeder(input, 100);
  ASSERT_TRUE(follower.WaitForMore());
  const auto watcher = platform_.Start("mathctl", {"watch", "0", "--timeout", "60"});
  ASSERT_TRUE(WaitUntil([&] { return !watcher->Out().empty(); })) << watcher->Error();
  auto longest = 0ms;
  for (int round = 0; round < ByLength(2, 20); ++round) {
    platform_.KillTopicManager();
    ASSERT_TRUE(std::filesystem::remove(platform_.Directory() / "subscriptions.state"));
    platform_.StartTopicManager();
    const auto watched = watcher->Out().size();
    longest = std::max(longest, TimeOf([&] {
                         EXPECT_TRUE(WaitUntil([&] { return Subscriptions()->length() == 4; }, kBack))
                             << Subscriptions()->length();
                         EXPECT_TRUE(follower.WaitForMore(kBack));
                         EXPECT_TRUE(WaitUntil([&] { return watcher->Out().size() > watched; }, kBack));
                       }));
  }
  EXPECT_EQ(follower.Now().out_of_order, 0u) << "no sample twice";
  EXPECT_EQ(Subscriptions()->length(), 4u) << "two inputs, the watcher, the follower";
  EXPECT_EQ(ObjectCount(), 1u);
  EXPECT_LT(longest, kBack);
  ReportFigure(fmt::format("results again after {} ms at most", longest.count()));
}

}  // namespace
}  // namespace Lumenar::Test
