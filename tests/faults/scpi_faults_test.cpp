// SPDX-License-Identifier: Apache-2.0
// Instruments that do wrong what instruments do wrong: whatever one does costs a line and a new connection, and never the
// engine, nor a value that was not measured.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cmath>
#include <set>
#include <sstream>

#include "tests/faults/FaultCase.h"
#include "tests/support/ProcessFigures.h"
#include "tests/support/ScpiFixture.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;

/// A fault of the server, and the line of the engine that tells it; empty where it is none.
struct ScpiFault {
  const char* name;
  const char* line;
  double seconds = 0;
};

void PrintTo(const ScpiFault& fault, std::ostream* stream) { *stream << fault.name; }

/// Faults of sweeps, which come as blocks.
constexpr ScpiFault kBlockFaults[] = {
    {"HANG", ": no answer within 400 ms; connecting anew\n"},
    {"HALF", ": 19998 of the 40004 bytes that its block announces within 400 ms; connecting anew\n"},
    {"LATE", ": no answer within 400 ms; connecting anew\n", 0.6},
    {"LIE", ": a block that announces 999999999 bytes, more than 500000 (largest); connecting anew\n"},
    {"LONG", ": a block with more than the 8 bytes that it announces; connecting anew\n"},
    {"SHORT", ": a block of 7 bytes, no multiple of the 4 of a number; connecting anew\n"},
    {"EMPTY", ": a block without numbers; connecting anew\n"},
    {"ZERO",
     ": a block of indefinite length (#0), whose end cannot be told: it needs a definite one; connecting anew\n"},
    {"WORD", ": 'OVERLOAD', which is no number; connecting anew\n"},
    {"NOEND", ": all of the 40004 bytes that its block announces, but no line end within 400 ms; connecting anew\n"},
    {"CLOSE", ": it has closed the connection; connecting anew\n"},
    {"RESET", ": the connection is lost (Connection reset by peer); connecting anew\n"},
    {"NUL", ": '1.0\\x00\\x00', which is no number; connecting anew\n"},
    {"NOISE", ": more than 500000 bytes (largest); connecting anew\n"},
    {"TWICE", "; connecting anew\n"},
    {"UNASKED", ": speaks without being asked: 'by the way\\x0a'; connecting anew\n", 0.02},
    {"SPLIT", ""},
};

class ScpiFaults : public ScpiFixture {
 protected:
  ScpiFaults() : ScpiFixture({"--points", "10001"}) {}

  void Start(const std::string& more = "") {
    StartScpi(fmt::format(
        "connect = {}\nstart = *CLS ; :FORM REAL,32 ; :FORM:BORD SWAP\nfirst_timeout = 2 s ; timeout = 400 ms"
        " ; largest = 500 kB\n{}[trace LEVEL]\nquery = :TRAC? TRACE1\nunit = dBm\nrate = 20\n",
        server_.Analyser(), more));
    TraceNow("LEVEL");
  }

  /// Waits for `count` further sweeps.
  bool GoesOn(unsigned count, std::chrono::milliseconds limit = 20s) {
    const unsigned number = TraceNow("LEVEL").sequence_number;
    return WaitUntil([&] { return TraceNow("LEVEL").sequence_number >= number + count; }, limit);
  }

  int Connections() const { return ScpiServer::CountsOf(server_.Analyser()).connections; }
};

class ScpiBlockFaults : public ScpiFaults, public testing::WithParamInterface<ScpiFault> {};

TEST_P(ScpiBlockFaults, CostALineAndAConnection) {
  const auto [name, line, seconds] = GetParam();
  DescribeFault(fmt::format("instrument: {}", name), "an instrument does this once in place of its answer",
                "one line, a new connection, sweeps go on; no value that was not measured; memory flat");
  Start();
  ScpiServer::Misbehave(server_.Analyser(), name, 1, seconds);
  const std::string expected = line;
  EXPECT_TRUE(WaitUntil([&] { return expected.empty() || Lines(expected) >= 1; })) << scpi_->Error();
  const auto began = std::chrono::steady_clock::now();
  EXPECT_TRUE(GoesOn(3)) << scpi_->Error();
  const auto back = std::chrono::steady_clock::now() - began;
  EXPECT_EQ(ScpiServer::FaultsToCome(server_.Analyser()), 0);
  EXPECT_EQ(Lines("connecting anew\n"), expected.empty() ? 0u : 1u) << scpi_->Error();
  EXPECT_EQ(Lines(": is back\n"), expected.empty() ? 0u : 1u);
  const BT_DATA trace = TraceNow("LEVEL");
  ASSERT_EQ(trace.samples.length(), 10001u);
  EXPECT_NEAR(trace.samples[5000], -30, 2.1);
  EXPECT_TRUE(scpi_->IsRunning());
  ReportFigure(
      fmt::format("sweeps again after {} ms", std::chrono::duration_cast<std::chrono::milliseconds>(back).count()));
}

INSTANTIATE_TEST_SUITE_P(Each, ScpiBlockFaults, testing::ValuesIn(kBlockFaults),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(ScpiFaults, NumbersThatAreNone) {
  DescribeFault("instrument: NaN, infinity", "9.91E37 and +-9.9E37, as instruments write them, for a scalar",
                "the values travel; no line, no new connection");
  StartScpi(
      fmt::format("connect = {}\n[scalar VOLTAGE]\nquery = :MEAS:VOLT:DC?\nunit = V\nrate = 20\nerror = 1 % + 1\n",
                  server_.Multimeter()));
  const Watcher<Scalar> watcher(TopicOf("VOLTAGE"));
  for (const char* fault : {"NAN", "INF", "NINF"}) ScpiServer::Misbehave(server_.Multimeter(), fault);
  const auto count = [&](const auto& is_it) {
    const auto all = watcher.All();
    return std::count_if(all.begin(), all.end(), is_it);
  };
  EXPECT_TRUE(WaitUntil([&] { return count([](const Scalar& s) { return std::isnan(s.val); }) == 1; }));
  EXPECT_TRUE(WaitUntil([&] { return count([](const Scalar& s) { return std::isinf(s.val) && s.val > 0; }) == 1; }));
  EXPECT_TRUE(WaitUntil([&] { return count([](const Scalar& s) { return std::isinf(s.val) && s.val < 0; }) == 1; }));
  EXPECT_EQ(count([](const Scalar& s) { return !std::isfinite(s.val) && s.plus_err != 0; }), 0);
  EXPECT_EQ(scpi_->Error(), "");
}

/// What the server can do wrong has a row here.
TEST(ScpiServerFaults, EachIsARow) {
  Process server({"python3", ScpiServerPath(), "--faults"});
  ASSERT_EQ(server.WaitForExit(), 0) << server.Error();
  std::set<std::string> rows = {"NAN", "INF", "NINF", "GREET", "FIRST"}, faults;
  for (const ScpiFault& fault : kBlockFaults) rows.insert(fault.name);
  std::istringstream lines(server.Out());
  for (std::string line; std::getline(lines, line);) faults.insert(line.substr(0, line.find(' ')));
  EXPECT_EQ(faults, rows);
}

TEST_F(ScpiFaults, NoneGivesANumberThatWasNotMeasured) {
  DescribeFault("instrument: faults of a number",
                "all faults of a sweep, one after another, in place of a multimeter's number (in short every fourth)",
                "every number that is published was measured; it goes on after each");
  StartScpi(
      fmt::format("connect = {}\nfirst_timeout = 2 s ; timeout = 400 ms ; largest = 500 kB\n[scalar VOLTAGE]\n"
                  "query = :MEAS:VOLT:DC?\nunit = V\nrate = 50\n",
                  server_.Multimeter()));
  const Watcher<Scalar> voltages(TopicOf("VOLTAGE"));
  for (std::size_t i = 0; i < std::size(kBlockFaults); i += ByLength(4, 1)) {
    const auto& [name, line, seconds] = kBlockFaults[i];
    ScpiServer::Misbehave(server_.Multimeter(), name, 1, seconds);
    EXPECT_TRUE(WaitUntil([&] { return ScpiServer::FaultsToCome(server_.Multimeter()) == 0; }, 20s)) << name;
    const std::size_t count = voltages.All().size();
    EXPECT_TRUE(WaitUntil([&] { return voltages.All().size() > count + 2; }, 20s)) << name << scpi_->Error();
  }
  for (const Scalar& voltage : voltages.All()) EXPECT_NEAR(voltage.val, 5, 0.011);
  EXPECT_TRUE(scpi_->IsRunning());
}

TEST_F(ScpiFaults, OneThatHangsHoldsNoOther) {
  DescribeFault("instrument: hangs beside another", "one of two instruments of an engine does not answer for 10 s",
                "the other one's readings go on meanwhile");
  const auto analyser = platform_.Directory() / "analyser.scpi", multimeter = platform_.Directory() / "dmm.scpi";
  WriteText(analyser, fmt::format("connect = {}\ntimeout = 10 s\n[trace LEVEL]\nquery = :TRAC? TRACE1\nunit = dBm\n",
                                  server_.Analyser()));
  WriteText(multimeter, fmt::format("connect = {}\n[scalar VOLTAGE]\nquery = :MEAS:VOLT:DC?\nunit = V\nrate = 50\n",
                                    server_.Multimeter()));
  StartScpiWith(analyser.string() + ';' + multimeter.string());
  TraceNow("LEVEL");
  const Watcher<Scalar> voltages(TopicOf("VOLTAGE"));
  ScpiServer::Misbehave(server_.Analyser(), "HANG");
  EXPECT_TRUE(WaitUntil([&] { return ScpiServer::FaultsToCome(server_.Analyser()) == 0; }));
  const std::size_t count = voltages.All().size();
  EXPECT_TRUE(WaitUntil([&] { return voltages.All().size() >= count + 50; })) << scpi_->Error();
  EXPECT_EQ(Lines("no answer"), 0u) << "it still waits for the other";
}

TEST_F(ScpiFaults, OneThatIsSlowToBeginIsWaitedFor) {
  const int seconds = ByLength(1, 10);
  DescribeFault("instrument: slow to begin", "the first answer of a connection comes after 1 s (at full length 10 s)",
                "within first_timeout it is waited for: no line, one connection; timeout holds for the others");
  const int before = Connections();
  ScpiServer::Misbehave(server_.Analyser(), "FIRST", 1, seconds);
  StartScpi(
      fmt::format("connect = {}\nstart = :FORM REAL,32 ; :FORM:BORD SWAP\nfirst_timeout = 15 s ; timeout = 400 ms\n"
                  "[trace LEVEL]\nquery = :TRAC? TRACE1\nunit = dBm\nrate = 20\n",
                  server_.Analyser()));
  EXPECT_EQ(TraceNow("LEVEL").samples.length(), 10001u);
  EXPECT_EQ(scpi_->Error(), "");
  EXPECT_EQ(Connections(), before + 3) << "that of the fault, the engine's, and this one";
}

TEST_F(ScpiFaults, LateAnswersAreNotThoseOfTheNextQuestion) {
  DescribeFault("instrument: late answers",
                "an answer of a scalar comes 0.5 s late, 3 times (at full length 20), beside a second scalar",
                "each reading keeps its own values");
  StartScpi(fmt::format(
      "connect = {}\nfirst_timeout = 2 s ; timeout = 200 ms\n[scalar VOLTAGE]\nquery = :MEAS:VOLT:DC?\nunit = V\n"
      "rate = 50\n[scalar RESISTANCE]\nquery = :MEAS:RES?\nunit = ohm\nrate = 50\n",
      server_.Multimeter()));
  const Watcher<Scalar> voltages(TopicOf("VOLTAGE")), resistances(TopicOf("RESISTANCE"));
  for (int round = 0; round < ByLength(3, 20); ++round) {
    ScpiServer::Misbehave(server_.Multimeter(), "LATE", 1, 0.5);
    EXPECT_TRUE(WaitUntil([&] { return ScpiServer::FaultsToCome(server_.Multimeter()) == 0; }, 70s));
    const std::size_t voltage_count = voltages.All().size(), resistance_count = resistances.All().size();
    EXPECT_TRUE(WaitUntil([&] { return voltages.All().size() > voltage_count + 2; }, 70s));
    EXPECT_TRUE(WaitUntil([&] { return resistances.All().size() > resistance_count + 2; }, 70s));
  }
  for (const Scalar& voltage : voltages.All()) EXPECT_NEAR(voltage.val, 5, 0.011);
  for (const Scalar& resistance : resistances.All()) EXPECT_EQ(resistance.val, 1000);
}

TEST_F(ScpiFaults, AGreetingIsNoAnswer) {
  DescribeFault("instrument: greets", "an instrument sends a line as soon as somebody connects",
                "it is read from the second connection on, the greeting is no value");
  ScpiServer::Misbehave(server_.Analyser(), "GREET", 100);
  Start();
  EXPECT_TRUE(GoesOn(5)) << scpi_->Error();
}

TEST_F(ScpiFaults, TheInstrumentIsSwitchedOffAndOn) {
  DescribeFault("instrument: off and on",
                "SIGSTOP and SIGCONT, then SIGKILL the instrument and start it again at its port",
                "readings keep their value; sweeps again in < 10 s; a line each; descriptors and threads flat");
  Start();
  const std::string port = server_.Analyser().substr(server_.Analyser().rfind(':') + 1);
  server_.Server().Signal(SIGSTOP);
  EXPECT_TRUE(WaitUntil([&] { return Lines(": no answer within 400 ms; connecting anew\n") == 1; }));
  EXPECT_EQ(TraceNow("LEVEL").samples.length(), 10001u);
  server_.Server().Signal(SIGCONT);
  EXPECT_TRUE(GoesOn(3)) << scpi_->Error();
  const int descriptors = CountDescriptors(scpi_->Pid()), threads = CountThreads(scpi_->Pid());
  server_.Server().Signal(SIGKILL);
  EXPECT_TRUE(WaitUntil([&] { return Lines("connecting anew\n") >= 2; })) << scpi_->Error();
  const ScpiServer again({"--analyser", port});
  const auto began = std::chrono::steady_clock::now();
  EXPECT_TRUE(GoesOn(3)) << scpi_->Error();
  const auto back = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - began);
  EXPECT_LT(back, 10s);
  EXPECT_LE(CountDescriptors(scpi_->Pid()), descriptors + 2);
  EXPECT_LE(CountThreads(scpi_->Pid()), threads + 2);
  ReportFigure(fmt::format("sweeps again after {} ms", back.count()));
}

TEST_F(ScpiFaults, NothingGrowsWithConnections) {
  DescribeFault("instrument: a connection an answer",
                "an instrument closes the connection instead of every second answer",
                "sweeps go on; descriptors, threads and memory flat; a line a minute");
  Start();
  const int descriptors = CountDescriptors(scpi_->Pid());
  const long memory_kB = ResidentMemory_kB(scpi_->Pid());
  const int rounds = ByLength(5, 100);
  for (int round = 0; round < rounds; ++round) {
    ScpiServer::Misbehave(server_.Analyser(), "CLOSE");
    ASSERT_TRUE(WaitUntil([&] { return ScpiServer::FaultsToCome(server_.Analyser()) == 0; }));
    ASSERT_TRUE(GoesOn(1));
  }
  EXPECT_GE(Connections(), rounds);
  EXPECT_LE(CountDescriptors(scpi_->Pid()), descriptors + 2);
  EXPECT_LT(ResidentMemory_kB(scpi_->Pid()) - memory_kB, 4000);
  EXPECT_LE(Lines("connecting anew"), 1u + static_cast<std::size_t>(rounds) / 50);
}

}  // namespace
}  // namespace Lumenar::Test
