// SPDX-License-Identifier: Apache-2.0
// The programs under a service manager, which the test plays: when they are ready, that they are watched, how they end,
// what they write for its journal, and that they wait for a naming service that comes later.
#include <gmock/gmock.h>

#include <csignal>
#include <memory>
#include <string>

#include "tests/support/IsolatedPlatform.h"
#include "tests/support/NotifySocket.h"

namespace Lumenar::Test {
namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Environment = std::map<std::string, std::string>;

constexpr milliseconds kWatchdog{1000};

/// A program of the platform, and how it is started.
struct Server {
  const char* program;
  std::vector<std::string> arguments;
};

std::vector<Server> Servers() {
  return {{"topic_manager", {"--no-state"}},
          {"hw_enumeration", {}},
          {"engine_host", {BuiltEngineLibrary("math_factory_hh").string()}},
          {"engine_host", {BuiltEngineLibrary("sim").string()}}};
}

struct UnderAServiceManager : testing::Test {
  std::unique_ptr<Process> Start(const IsolatedPlatform& platform, const Server& server, Environment more = {}) {
    manager_ = std::make_unique<NotifySocket>();
    more["NOTIFY_SOCKET"] = manager_->Path();
    more["SIM_READINGS"] = "value:VOLTAGE";
    return std::make_unique<Process>(
        [&] {
          std::vector<std::string> command = server.arguments;
          command.insert(command.begin(), BuiltProgram(server.program).string());
          return command;
        }(),
        [&] {
          Environment all = platform.Environment();
          for (const auto& [name, value] : more) all[name] = value;
          return all;
        }());
  }

  std::unique_ptr<NotifySocket> manager_;
};

const std::string kWatched = std::to_string(std::chrono::microseconds(kWatchdog).count());

TEST_F(UnderAServiceManager, EachProgramIsReadyWatchedAndStops) {
  const IsolatedPlatform platform(IsolatedPlatform::Options::NamingOnly());
  for (const Server& server : Servers()) {
    const auto process = Start(platform, server, {{"WATCHDOG_USEC", kWatched}});
    EXPECT_TRUE(manager_->WaitFor("READY=1")) << server.program << process->Error();
    EXPECT_TRUE(manager_->WaitFor("WATCHDOG=1", 3)) << server.program;
    EXPECT_THAT(manager_->Heard(), Not(Contains("STOPPING=1")));
    process->Signal(SIGTERM);
    EXPECT_EQ(process->WaitForExit(), 0) << server.program;
    EXPECT_EQ(manager_->Heard().back(), "STOPPING=1") << server.program;
    EXPECT_EQ(manager_->Count("READY=1"), 1) << server.program;
  }
}

TEST_F(UnderAServiceManager, AnEngineIsReadyAfterItsHandshakeAlone) {
  IsolatedPlatform platform;
  platform.HwEnumeration().Signal(SIGSTOP);
  const auto engine = Start(platform, Servers()[2]);
  ASSERT_TRUE(engine->WaitForLine("MathInit::Start resolving hw inteface"));
  EXPECT_THAT(manager_->Heard(), Not(Contains("READY=1")));
  platform.HwEnumeration().Signal(SIGCONT);
  EXPECT_TRUE(manager_->WaitFor("READY=1")) << engine->Error();
  EXPECT_TRUE(engine->WaitForLine("Lumenar::MathInit createEngine done"));
}

TEST_F(UnderAServiceManager, AProcessThatStandsStillIsNotHeard) {
  const IsolatedPlatform platform(IsolatedPlatform::Options::NamingOnly());
  const auto engine = Start(platform, Servers()[2], {{"WATCHDOG_USEC", kWatched}});
  ASSERT_TRUE(manager_->WaitFor("WATCHDOG=1"));
  engine->Signal(SIGSTOP);
  manager_->Forget();
  EXPECT_FALSE(manager_->WaitFor("WATCHDOG=1", 1, 2 * kWatchdog));
  engine->Signal(SIGCONT);
  EXPECT_TRUE(manager_->WaitFor("WATCHDOG=1"));
}

TEST_F(UnderAServiceManager, AnEngineThatDoesNotStartIsNeverReady) {
  IsolatedPlatform platform(IsolatedPlatform::Options::NamingOnly());
  platform.KillNamingService();
  const auto engine = Start(platform, Servers()[2]);
  EXPECT_EQ(engine->WaitForExit(), 1);
  EXPECT_THAT(manager_->Heard(), Not(Contains("READY=1")));
}

TEST_F(UnderAServiceManager, ALateNamingServiceIsWaitedForWhereThatIsWanted) {
  for (const Server& server : Servers()) {
    IsolatedPlatform platform(IsolatedPlatform::Options::NamingOnly());
    platform.KillNamingService();
    const auto process = Start(platform, server, {{"LUMENAR_NAMING_WAIT", "60"}});
    const std::string line = "naming service at " + platform.NamingAddress() + " is waited for, 60 s at most";
    EXPECT_TRUE(process->WaitForLine(line)) << server.program << process->Error();
    EXPECT_TRUE(manager_->WaitFor("STATUS=" + line)) << server.program;
    EXPECT_THAT(manager_->Heard(), Not(Contains("READY=1"))) << server.program;
    platform.StartNamingService();
    EXPECT_TRUE(manager_->WaitFor("READY=1")) << server.program << process->Error();
    EXPECT_THAT(process->Error(), StartsWith(line + "\n")) << server.program;
  }
}

TEST_F(UnderAServiceManager, ASignalEndsTheWait) {
  IsolatedPlatform platform(IsolatedPlatform::Options::NamingOnly());
  platform.KillNamingService();
  for (const Server& server : Servers()) {
    const auto process = Start(platform, server, {{"LUMENAR_NAMING_WAIT", "3600"}});
    ASSERT_TRUE(
        manager_->WaitFor("STATUS=naming service at " + platform.NamingAddress() + " is waited for, 3600 s at most"))
        << server.program << process->Error();
    process->Signal(SIGTERM);
    EXPECT_EQ(process->WaitForExit(milliseconds(5000)), server.program == std::string("engine_host") ? 1 : 0);
    EXPECT_THAT(manager_->Heard(), Not(Contains("READY=1")));
  }
}

TEST_F(UnderAServiceManager, AWaitThatIsOverEndsAsWithoutOne) {
  IsolatedPlatform platform(IsolatedPlatform::Options::NamingOnly());
  platform.KillNamingService();
  const auto manager = Start(platform, Servers()[0], {{"LUMENAR_NAMING_WAIT", "1"}});
  EXPECT_EQ(manager->WaitForExit(), 1);
  EXPECT_THAT(manager->Error(), HasSubstr("\ntopic_manager: naming service at " + platform.NamingAddress()));
}

/// Starts a program whose standard error is what JOURNAL_STREAM says.
std::string OfJournal(const IsolatedPlatform& platform, const std::string& program, const std::string& arguments) {
  Process process(
      {"/bin/sh", "-c",
       "JOURNAL_STREAM=$(stat -L -c %d:%i /proc/self/fd/2) exec " + BuiltProgram(program).string() + " " + arguments},
      platform.Environment());
  process.WaitForExit();
  return process.Error();
}

TEST(Journal, LinesOfOursBeginWithTheirPriorityAndAgreedOnesDoNot) {
  IsolatedPlatform platform(IsolatedPlatform::Options::NamingOnly());
  platform.KillNamingService();
  EXPECT_THAT(OfJournal(platform, "topic_manager", "--no-state"), StartsWith("<3>topic_manager: naming service at "));
  EXPECT_THAT(OfJournal(platform, "engine_host", BuiltEngineLibrary("math_factory_hh").string()),
              StartsWith("Lumenar::MathInit new: CORBA error:"));
}

TEST(Journal, ElsewhereThereIsNoPriority) {
  IsolatedPlatform platform(IsolatedPlatform::Options::NamingOnly());
  platform.KillNamingService();
  Environment environment = platform.Environment();
  environment["JOURNAL_STREAM"] = "1:1";
  Process manager({BuiltProgram("topic_manager").string(), "--no-state"}, environment);
  EXPECT_EQ(manager.WaitForExit(), 1);
  EXPECT_THAT(manager.Error(), StartsWith("topic_manager: naming service at "));
}

}  // namespace
}  // namespace Lumenar::Test
