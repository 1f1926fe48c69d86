// SPDX-License-Identifier: Apache-2.0
// State files among planted links and pipes, without room, with the last handle, with references beyond all bounds.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>

#include "DDS.hh"
#include "HwEnumerate.hh"
#include "platform/orb/ORB_wrapper.h"
#include "tests/faults/FaultCase.h"
#include "tests/faults/ProgramRun.h"
#include "tests/support/ProcessFigures.h"

namespace Lumenar::Test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::MatchesRegex;

class StateFileFaults : public testing::Test {
 protected:
  StateFileFaults() {
    platform_.UseInThisProcess();
    orb_ = std::make_unique<Corvanta::ORB_wrapper_base>(localargc, localargv);
    std::ofstream(precious_) << "precious";
  }

  std::unique_ptr<Process> StartService(const std::string& name, const std::string& shell_line = "exec \"$@\"") {
    auto service = StartInShell(shell_line, name, {"--state", state_.string()}, platform_.Environment());
    EXPECT_TRUE(service->WaitForLine(name + " ready")) << service->Error();
    return service;
  }

  Corvanta::DDS_Manager_ptr Manager() {
    CORBA::Object_var object = orb_->Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
    return Corvanta::DDS_Manager::_narrow(object);
  }

  Corvanta::HwEnumerate_Able_ptr Enumeration() {
    CORBA::Object_var object = orb_->Resolve({"Lumenar", "local", "HWENUM_ABLE", "1"});
    return Corvanta::HwEnumerate_Able::_narrow(object);
  }

  /// A subscriber that nobody calls, whose reference has a key of so many bytes.
  Corvanta::DDS_Sub_ptr SubscriberWithKey(std::size_t bytes) {
    CORBA::Object_var object =
        orb_->Orb()->string_to_object(("corbaloc:iiop:127.0.0.1:1/" + std::string(bytes, 'k')).c_str());
    return Corvanta::DDS_Sub::_unchecked_narrow(object);
  }

  static std::string TextOf(const fs::path& path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  IsolatedPlatform platform_{IsolatedPlatform::Options::NamingOnly()};
  std::unique_ptr<Corvanta::ORB_wrapper_base> orb_;
  const fs::path state_ = platform_.Directory() / "kept.state";
  const fs::path precious_ = platform_.Directory() / "precious";
};

TEST_F(StateFileFaults, LinksAndPipesPlantedAroundThem) {
  DescribeFault("planted links", "links to somebody's file and pipes at a state file's place and beside it",
                "none is followed or opened; at its place: one line, exit 1; beside it or later: the state is kept all "
                "the same, mode 0600");
  for (const char* ending : {".new", ".tmp", "~"}) fs::create_symlink(precious_, state_.string() + ending);
  auto manager = StartService("topic_manager");
  Corvanta::DDS_Manager_var topics = Manager();
  Corvanta::DDS_Sub_var subscriber = SubscriberWithKey(10);
  EXPECT_EQ(topics->Subscribe("T", subscriber), 1);
  fs::remove(state_);
  fs::create_symlink(precious_, state_);
  EXPECT_EQ(topics->Subscribe("T", subscriber), 2);
  fs::remove(state_);
  ASSERT_EQ(::mkfifo(state_.c_str(), 0600), 0);
  EXPECT_EQ(topics->Subscribe("T", subscriber), 3);
  EXPECT_EQ(manager->Error(), "");
  struct stat status {};
  ASSERT_EQ(::lstat(state_.c_str(), &status), 0);
  EXPECT_TRUE(S_ISREG(status.st_mode));
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  manager->Signal(SIGKILL);
  manager->WaitForExit();
  manager = StartService("topic_manager");
  topics = Manager();
  Corvanta::SubscriptionStatusSeq_var known = topics->Subscriptions();
  EXPECT_EQ(known->length(), 3u);
  manager.reset();
  fs::remove(state_);
  fs::create_symlink(precious_, state_);
  for (const char* service : {"topic_manager", "hw_enumeration"})
    ExpectRefusal(*Start({service, {"--state", state_.string()}, 1}, platform_.Environment()), 1,
                  state_.string() + ": is a symbolic link");
  EXPECT_EQ(TextOf(precious_), "precious");
}

TEST_F(StateFileFaults, WithoutRoom) {
  DescribeFault("state files without room",
                "a limit on the size of files (SIGXFSZ, EFBIG) below what the services have to keep",
                "one line each; every subscription and announcement succeeds");
  // What the service writes to its log goes through a process without the limit.
  const std::string small = "exec prlimit --fsize=1000 \"$@\" > >(exec cat) 2> >(exec cat >&2)";
  const auto manager = StartService("topic_manager", small);
  Corvanta::DDS_Manager_var topics = Manager();
  Corvanta::DDS_Sub_var subscriber = SubscriberWithKey(200);
  for (int i = 1; i <= 20; ++i) EXPECT_EQ(topics->Subscribe("T", subscriber), i);
  EXPECT_TRUE(WaitUntil([&] { return !manager->Error().empty(); }));
  EXPECT_THAT(manager->Error(), MatchesRegex("topic_manager: state file not written: [^\n]*: File too large\n"));
  EXPECT_TRUE(manager->IsRunning());
  fs::remove(state_);
  const auto enumeration = StartService("hw_enumeration", small);
  Corvanta::HwEnumerate_Able_var engines = Enumeration();
  for (int i = 1; i <= 20; ++i)
    Corvanta::Progress_Interface_var progress = engines->GetProgressInterface(std::string(100, 'e').c_str(), i, 0);
  EXPECT_TRUE(WaitUntil([&] { return !enumeration->Error().empty(); }));
  EXPECT_THAT(enumeration->Error(), MatchesRegex("hw_enumeration: state file not written: [^\n]*: File too large\n"));
  EXPECT_TRUE(enumeration->IsRunning());
}

TEST_F(StateFileFaults, WithTheLastHandle) {
  DescribeFault("last handle", "a state file whose last handle is 2^31 - 1",
                "handles start anew, never one in use; also over a restart");
  Corvanta::DDS_Sub_var subscriber = SubscriberWithKey(10);
  const CORBA::String_var reference = orb_->Orb()->object_to_string(subscriber);
  std::ofstream(state_) << "topic_manager subscriptions 1\nsub 1 T " << reference.in() << "\nsub 2147483647 T "
                        << reference.in() << '\n';
  auto manager = StartService("topic_manager");
  Corvanta::DDS_Manager_var topics = Manager();
  EXPECT_EQ(topics->Subscribe("T", subscriber), 2);
  manager->Signal(SIGKILL);
  manager->WaitForExit();
  manager = StartService("topic_manager");
  topics = Manager();
  EXPECT_EQ(topics->Subscribe("T", subscriber), 3);
  EXPECT_EQ(manager->Error(), "");
}

TEST_F(StateFileFaults, WithReferencesBeyondAllBounds) {
  DescribeFault("endless references",
                "subscribers with references of more than 64 kB, and one of 70 MB in the state file",
                "an exception at Subscribe; one line for the file; memory flat");
  std::ofstream(state_) << "topic_manager subscriptions 1\nsub 5 T IOR:" << std::string(70 << 20, '0') << '\n';
  const auto manager = StartService("topic_manager");
  EXPECT_THAT(manager->Error(), MatchesRegex("topic_manager: state file [^\n]*:2: damaged [^\n]*\n"));
  Corvanta::DDS_Manager_var topics = Manager();
  const long before_kB = ResidentMemory_kB(manager->Pid());
  EXPECT_LT(before_kB, 60000);
  Corvanta::DDS_Sub_var good = SubscriberWithKey(5000), bad = SubscriberWithKey(40000);
  for (int i = 0; i < ByLength(20, 2000); ++i) EXPECT_THROW(topics->Subscribe("T", bad), CORBA::SystemException);
  EXPECT_GT(topics->Subscribe("T", good), 0);
  const long grown_kB = ResidentMemory_kB(manager->Pid()) - before_kB;
  EXPECT_LT(grown_kB, 10000);
  ReportFigure("topic manager " + std::to_string(before_kB) + " kB, +" + std::to_string(grown_kB) + " kB");
}

}  // namespace
}  // namespace Lumenar::Test
