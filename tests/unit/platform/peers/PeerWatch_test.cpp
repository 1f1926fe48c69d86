// SPDX-License-Identifier: Apache-2.0
#include "platform/peers/PeerWatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/IsolatedPlatform.h"

namespace Corvanta {
namespace {

using Lumenar::Test::IsolatedPlatform;
using Lumenar::Test::Process;
using Lumenar::Test::WaitUntil;
using testing::HasSubstr;
using testing::Not;

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

/// Standard error of this process, kept in memory from construction to the end. It can be looked at while others write.
class CaughtErrors {
 public:
  CaughtErrors() : saved_(dup(STDERR_FILENO)), file_(memfd_create("stderr", MFD_CLOEXEC)) {
    dup2(file_, STDERR_FILENO);
  }
  ~CaughtErrors() {
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    close(file_);
  }
  CaughtErrors(const CaughtErrors&) = delete;
  CaughtErrors& operator=(const CaughtErrors&) = delete;

  /// All that was written so far.
  std::string Text() const {
    struct stat status {};
    fstat(file_, &status);
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    const ssize_t got = pread(file_, text.data(), text.size(), 0);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return text;
  }

 private:
  const int saved_;
  const int file_;
};

/// The watching process is the test itself; what it writes to standard error is caught.
class PeerWatch_ : public testing::Test {
 protected:
  PeerWatch_() : platform_(IsolatedPlatform::Options::NamingOnly()) {
    platform_.UseInThisProcess();
    orb_ = std::make_unique<ORB_wrapper>("WATCHER", "Lumenar/local");
    watch_ = std::make_unique<PeerWatch>(*orb_, std::chrono::milliseconds(100));
  }

  ~PeerWatch_() override { watch_.reset(); }

  std::unique_ptr<Process> StartPeer(const char* expected_name = "PEER/1") {
    auto peer = platform_.Start("orb_test_engine", {"PEER", "run"});
    EXPECT_TRUE(peer->WaitForLine(std::string("is ") + expected_name)) << peer->Error();
    return peer;
  }

  CORBA::Object_ptr Reference(const char* instance = "1") {
    return orb_->Resolve({"Lumenar", "local", "PEER", instance});
  }

  std::string Lines() const { return errors_.Text(); }

  bool WaitForLines(const std::string& part, std::size_t count) {
    return WaitUntil([&] { return Count(Lines(), part) >= count; });
  }

  static void Kill(Process& process) {
    process.Signal(SIGKILL);
    process.WaitForExit();
  }

  IsolatedPlatform platform_;
  std::unique_ptr<ORB_wrapper> orb_;
  std::unique_ptr<PeerWatch> watch_;
  CaughtErrors errors_;
};

TEST_F(PeerWatch_, AKilledEngineIsSaidOnceAndSoIsItsSuccessorOfTheSameName) {
  auto peer = StartPeer();
  watch_->Add(1, "PEER/1", CORBA::Object_var(Reference()));
  watch_->Add(2, "PEER/1", CORBA::Object_var(Reference()));
  EXPECT_EQ(watch_->Size(), 1u);
  Kill(*peer);
  ASSERT_TRUE(WaitForLines("engine PEER/1, which supplies inputs, is away: ", 1)) << Lines();
  peer = StartPeer();
  ASSERT_TRUE(WaitForLines("engine PEER/1, which supplies inputs, is back\n", 1)) << Lines();
  Kill(*peer);
  ASSERT_TRUE(WaitForLines("is away", 2)) << "the successor is watched in its turn";
  EXPECT_EQ(Count(Lines(), "\n"), 3u) << Lines();
}

TEST_F(PeerWatch_, AnEngineThatStaysAwayIsSaidOnceNotOnceARound) {
  auto lasting = StartPeer("PEER/1");
  auto next = StartPeer("PEER/2");
  auto last = StartPeer("PEER/3");
  for (const char* instance : {"1", "2", "3"})
    watch_->Add(1, std::string("PEER/") + instance, CORBA::Object_var(Reference(instance)));
  for (Process* peer : {lasting.get(), next.get(), last.get()}) {  // from one line to the next all were looked at
    const std::size_t lines = Count(Lines(), "is away: ");
    Kill(*peer);
    ASSERT_TRUE(WaitForLines("is away: ", lines + 1)) << Lines();
  }
  for (const char* engine : {"PEER/1", "PEER/2", "PEER/3"})
    EXPECT_EQ(Count(Lines(), std::string("engine ") + engine + ", which supplies inputs, is away: "), 1u) << Lines();
}

TEST_F(PeerWatch_, AnEngineThatHangsIsAwayUntilItGoesOn) {
  auto peer = StartPeer();
  watch_->Add(1, "PEER/1", CORBA::Object_var(Reference()));
  const auto stopped = std::chrono::steady_clock::now();
  peer->Signal(SIGSTOP);
  ASSERT_TRUE(WaitForLines("is away: ", 1));
  EXPECT_GE(std::chrono::steady_clock::now() - stopped, std::chrono::milliseconds(900)) << "not after one look in vain";
  EXPECT_THAT(Lines(), HasSubstr("no answer within the time limit"));
  peer->Signal(SIGCONT);
  EXPECT_TRUE(WaitForLines("is back\n", 1));
  EXPECT_EQ(Count(Lines(), "\n"), 2u) << Lines();
}

TEST_F(PeerWatch_, AnEngineIsWatchedUntilItsLastKeyIsForgotten) {
  auto watched = StartPeer();
  auto forgotten = StartPeer("PEER/2");
  watch_->Add(1, "PEER/1", CORBA::Object_var(Reference()));
  watch_->Add(2, "PEER/1", CORBA::Object_var(Reference()));
  watch_->Add(2, "PEER/2", CORBA::Object_var(Reference("2")));
  watch_->Forget(2);
  EXPECT_EQ(watch_->Size(), 1u);
  Kill(*forgotten);
  Kill(*watched);
  ASSERT_TRUE(WaitForLines("PEER/1", 1));
  EXPECT_THAT(Lines(), Not(HasSubstr("PEER/2")));
  watch_->Forget(1);
  EXPECT_EQ(watch_->Size(), 0u);
}

TEST_F(PeerWatch_, AnObjectThatIsGoneInALivingProcessIsNoLoss) {
  auto peer = StartPeer();
  const std::string unknown = "corbaloc::" + platform_.NamingAddress() + "/nobody";
  watch_->Add(1, "LIVING/1", CORBA::Object_var(orb_->Orb()->string_to_object(unknown.c_str())));
  watch_->Add(1, "PEER/1", CORBA::Object_var(Reference()));
  Kill(*peer);
  ASSERT_TRUE(WaitForLines("PEER/1", 1)) << "a round has passed";
  EXPECT_THAT(Lines(), Not(HasSubstr("LIVING/1")));
}

/// A socket that takes connections and answers nothing.
class SilentEndpoint {
 public:
  SilentEndpoint() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(socket_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(socket_, 1024) != 0 ||
        getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
      throw std::runtime_error("no silent endpoint");
    }
    port_ = ntohs(address.sin_port);
  }
  ~SilentEndpoint() { close(socket_); }
  SilentEndpoint(const SilentEndpoint&) = delete;
  SilentEndpoint& operator=(const SilentEndpoint&) = delete;

  int Port() const { return port_; }

 private:
  const int socket_;
  int port_ = 0;
};

TEST_F(PeerWatch_, ADeathIsNoticedWithinFiveSecondsWhateverHangs) {
  PeerWatch watch(*orb_);  // at the pace of an engine
  auto peer = StartPeer();
  watch.Add(1, "PEER/1", CORBA::Object_var(Reference()));
  std::vector<std::unique_ptr<SilentEndpoint>> silent;
  for (int i = 0; i < 30; ++i) {
    silent.push_back(std::make_unique<SilentEndpoint>());
    const std::string text = "corbaloc::127.0.0.1:" + std::to_string(silent.back()->Port()) + "/silent";
    watch.Add(1, "HANGS/" + std::to_string(i), CORBA::Object_var(orb_->Orb()->string_to_object(text.c_str())));
  }
  Kill(*peer);
  const auto died = std::chrono::steady_clock::now();
  ASSERT_TRUE(WaitUntil([&] { return Count(Lines(), "engine PEER/1, which supplies inputs, is away: ") == 1; },
                        std::chrono::seconds(60)));
  EXPECT_LT(std::chrono::steady_clock::now() - died, std::chrono::seconds(5));
  ASSERT_TRUE(WaitUntil([&] { return Count(Lines(), "engine HANGS/") == 30; }, std::chrono::seconds(30))) << Lines();
}

TEST_F(PeerWatch_, ADeathIsNoticedWhileTheNamingServiceHangs) {
  PeerWatch watch(*orb_);
  auto peer = StartPeer();
  watch.Add(1, "PEER/1", CORBA::Object_var(Reference()));
  platform_.NamingService().Signal(SIGSTOP);
  Kill(*peer);
  EXPECT_TRUE(WaitUntil([&] { return Count(Lines(), "engine PEER/1, which supplies inputs, is away: ") == 1; },
                        std::chrono::seconds(5)));
  platform_.NamingService().Signal(SIGCONT);
}

TEST_F(PeerWatch_, EndsWithTheOrbAndTakesNoMoreThen) {
  auto peer = StartPeer();
  CORBA::Object_var object = Reference();
  watch_->Add(1, "PEER/1", object);
  orb_->Shutdown();
  EXPECT_EQ(watch_->Size(), 0u);
  watch_->End();
  EXPECT_EQ(Lines(), "");
}

}  // namespace
}  // namespace Corvanta
