// SPDX-License-Identifier: Apache-2.0
// A signal ends every program at every moment of its life.
#include <gmock/gmock.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <thread>

#include "tests/faults/FaultCase.h"
#include "tests/faults/ProgramRun.h"

namespace Lumenar::Test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGQUIT};
constexpr seconds kLimit{15};  // 10 s, after which a program ends itself, and a busy machine

/// 0 and 1, and the system's status of a program that was not yet, or never, prepared for the signal.
testing::Matcher<int> IsAnEndBy(int signal_number) { return testing::AnyOf(0, 1, 2, 3, 128 + signal_number); }

/// Connections of programs to the naming service, whether or not it has taken them.
std::size_t ConnectionsTo(const std::string& naming_address) {
  const int port = std::stoi(naming_address.substr(naming_address.rfind(':') + 1));
  char wanted[8];
  std::snprintf(wanted, sizeof wanted, ":%04X", port);
  std::ifstream table("/proc/net/tcp");
  std::string line, number, local, remote, state;
  std::size_t count = 0;
  std::getline(table, line);
  while (table >> number >> local >> remote >> state && std::getline(table, line)) {
    constexpr char kEstablished[] = "01";
    if (state == kEstablished && remote.ends_with(wanted)) ++count;
  }
  return count;
}

/// The last line of a program's start; none of the tool, which has nothing to watch here.
std::string LineOnceItServes(const ProgramCase& program) {
  if (program.name == "mathctl" || program.name == "math_web") return {};
  if (program.name != "engine_host") return program.name + " ready";
  const bool is_math = program.arguments[0] == BuiltEngineLibrary("math_factory_hh").string();
  return is_math ? "Lumenar::MathInit createEngine done" : "Lumenar::ProbeInit createEngine done";
}

class SignalFaults : public testing::Test {
 protected:
  SignalFaults() {
    std::ofstream(Settings()) << "orb.call_timeout_ms = 60000\n";  // longer than any program may take to its end
    environment_["LUMENAR_TRANSPORT_CONF"] = Settings().string();
  }
  ~SignalFaults() override {
    if (platform_.NamingService().IsRunning()) platform_.NamingService().Signal(SIGCONT);
  }

  std::filesystem::path Settings() const { return platform_.Directory() / "patient.conf"; }

  /// Programs that serve until they are told to end; of the tool, the verb that does.
  static std::vector<ProgramCase> Lasting() {
    auto programs = AllPrograms();
    std::erase_if(programs,
                  [](const ProgramCase& program) { return program.arguments == std::vector<std::string>{"list"}; });
    return programs;
  }

  /// Those of them that ask the naming service at once; the web gateway does when a client comes.
  static std::vector<ProgramCase> Asking() {
    auto programs = Lasting();
    std::erase_if(programs, [](const ProgramCase& program) { return program.name == "math_web"; });
    return programs;
  }

  IsolatedPlatform platform_{IsolatedPlatform::Options::NamingOnly()};
  std::map<std::string, std::string> environment_ = platform_.Environment();
};

TEST_F(SignalFaults, AtManyMoments) {
  DescribeFault("signals at many moments",
                "SIGTERM, SIGINT, SIGQUIT at each of many moments after a program's start, and while it serves",
                "the program ends, whatever it was doing");
  const int moments = ByLength(12, 150);
  milliseconds longest{0};
  for (const ProgramCase& program : Lasting()) {
    for (int i = 0; i < moments; ++i) {
      const int signal_number = kSignals[i % 3];
      const auto moment = FullLength() ? milliseconds(i) : milliseconds(i * i);
      const auto process = Start(program, environment_);
      const std::string line = LineOnceItServes(program);
      if (i + 3 < moments || line.empty()) std::this_thread::sleep_for(moment);  // the moment is what is tested
      else EXPECT_TRUE(process->WaitForLine(line)) << process->Error();          // each signal once while it serves
      process->Signal(signal_number);
      const auto told = steady_clock::now();
      ASSERT_THAT(process->WaitForExit(kLimit), IsAnEndBy(signal_number))
          << program.name << ", " << moment.count() << " ms after its start: " << process->Error();
      ASSERT_THAT(process->Error(), testing::Not(testing::HasSubstr("ended by force")))
          << program.name << ", " << moment.count() << " ms after its start: nobody hangs";
      longest = std::max(longest, std::chrono::duration_cast<milliseconds>(steady_clock::now() - told));
    }
  }
  ReportFigure("longest end " + std::to_string(longest.count()) + " ms");
}

TEST_F(SignalFaults, WhileTheNamingServiceHangs) {
  DescribeFault("signals while naming hangs",
                "the naming service is stopped; programs start, wait for it (time limit of calls: 60 s), get a signal",
                "each ends within 10 s");
  platform_.NamingService().Signal(SIGSTOP);
  std::vector<std::unique_ptr<Process>> processes;
  for (std::size_t i = 0; i < std::size(kSignals); ++i)
    for (const ProgramCase& program : Asking()) processes.push_back(Start(program, environment_));
  EXPECT_TRUE(WaitUntil([&] { return ConnectionsTo(platform_.NamingAddress()) >= processes.size(); }, kLimit))
      << "each has asked";
  for (std::size_t i = 0; i < processes.size(); ++i) processes[i]->Signal(kSignals[i / Asking().size()]);
  for (const auto& process : processes)
    EXPECT_THAT(process->WaitForExit(kLimit), testing::AnyOf(0, 1, 2, 3)) << process->Error();
}

/// Not for so long: a service that was told to end while it asked has ended in good order, whatever became of its call.
TEST_F(SignalFaults, WhileTheNamingServiceHangsForLessThanTheLimit) {
  std::ofstream(Settings()) << "orb.call_timeout_ms = 2000\n";
  platform_.NamingService().Signal(SIGSTOP);
  for (const char* name : {"topic_manager", "hw_enumeration"}) {
    const std::size_t before = ConnectionsTo(platform_.NamingAddress());
    const auto process = Start({name, {}, 1}, environment_);
    EXPECT_TRUE(WaitUntil([&] { return ConnectionsTo(platform_.NamingAddress()) > before; }, kLimit));
    process->Signal(SIGTERM);
    EXPECT_EQ(process->WaitForExit(kLimit), 0) << name << ": " << process->Error();
  }
}

TEST_F(SignalFaults, AgainAndAgainDuringTheEnd) {
  DescribeFault("signals during the end",
                "the naming service stops, then every program is told to end, and again and again while it ends",
                "each ends within 10 s");
  std::vector<std::unique_ptr<Process>> processes;
  const std::pair<ProgramCase, const char*> rows[] = {
      {{"topic_manager", {}, 1}, "topic_manager ready"},
      {{"hw_enumeration", {}, 1}, "hw_enumeration ready"},
      {{"engine_host", {BuiltEngineLibrary("math_factory_hh").string()}, 1}, "Lumenar::MathInit createEngine done"},
      {{"engine_host", {BuiltEngineLibrary("probe").string()}, 1}, "Lumenar::ProbeInit createEngine done"}};
  for (const auto& [program, line] : rows) {
    processes.push_back(Start(program, environment_));
    ASSERT_TRUE(processes.back()->WaitForLine(line)) << processes.back()->Error();
  }
  platform_.NamingService().Signal(SIGSTOP);
  const auto told = steady_clock::now();
  const bool all_ended = WaitUntil(
      [&] {
        bool any = false;
        for (const auto& process : processes) {
          if (!process->IsRunning()) continue;
          any = true;
          for (const int signal_number : kSignals) process->Signal(signal_number);
        }
        return !any;
      },
      kLimit);
  EXPECT_TRUE(all_ended);
  ReportFigure("ended after " + std::to_string((steady_clock::now() - told) / milliseconds(1)) + " ms");
  for (const auto& process : processes)
    EXPECT_THAT(process->Error(), testing::Not(testing::HasSubstr("terminate called"))) << process->Error();
}

}  // namespace
}  // namespace Lumenar::Test
