// SPDX-License-Identifier: Apache-2.0
// The command line as people use it, against a platform of real processes; the readings are the test's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <fstream>
#include <future>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "platform/base/Version.h"
#include "tests/support/MathctlFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUnreachable;
using Mathctl::kUsage;
using nlohmann::json;
using testing::AnyOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

using MathctlTest = MathctlFixture;

TEST_F(MathctlTest, ShowsWhatThereIs) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(2.5, kMilliwatt, -0.1, 0.2));
  EXPECT_THAT(Out({"engines"}), testing::MatchesRegex("ENGINE +ADDRESS +STATE +VERSION\n"
                                                      "MATHFACTORY/1 +127\\.0\\.0\\.1:[0-9]+ +answers +[0-9.]+\n"
                                                      "TESTBENCH/1 +127\\.0\\.0\\.1:[0-9]+ +answers +[0-9.]+\n"));
  EXPECT_EQ(Objects({"engines"})[0]["version"], Version());
  EXPECT_THAT(Out({"readings", "--values"}), HasSubstr("TESTBENCH/1/LEVEL   ValueDouble       2.5 mW  -0.1 +0.2 mW\n"));
  EXPECT_THAT(Out({"types"}), HasSubstr("\n4       CumulativeAdd     a trace and two readings"));
  EXPECT_EQ(Out({"get", "LEVEL"}), "2.5 mW  -0.1 +0.2 mW\n");
  EXPECT_THAT(Out({"doctor"}), Not(HasSubstr("FAILS")));
}

TEST_F(MathctlTest, CreatesObjectsOverReadingsAndOverEachOther) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  LongInput start(bench_, "START", 1), stop(bench_, "STOP", 2);
  EXPECT_EQ(Out({"create", "average", "TESTBENCH/1/TRACE"}), "math:0\n");
  EXPECT_EQ(Out({"create", "Subtract", "TRACE", "math:0"}), "math:1\n");
  EXPECT_EQ(Out({"create", "4", "TRACE", "START", "STOP"}), "math:2\n");
  EXPECT_EQ(Out({"get", "math:1"}), "3 points  min 0 mW  max 0 mW  mean 0 mW\n");
  EXPECT_EQ(Out({"get", "2"}), "5 mW  +0 +0 mW\n");
  const auto objects = Objects({"list", "--values"});
  ASSERT_EQ(objects.size(), 3u);
  EXPECT_EQ(objects[2]["type"], "CumulativeAdd");
  EXPECT_EQ(objects[2]["inputs"], json({"TESTBENCH/1/TRACE", "TESTBENCH/1/START", "TESTBENCH/1/STOP"}));
  EXPECT_EQ(objects[2]["refused"], 0);
  EXPECT_EQ(objects[2]["present"]["value"], 5);
  EXPECT_EQ(Out({"delete", "math:0", "2"}), "");
  EXPECT_THAT(Out({"list"}),
              testing::MatchesRegex(
                  "ID +TYPE +INPUTS +RESULT +SIZE +RATE +AGE +STATE\n"
                  "math:1 +Subtract +TESTBENCH/1/TRACE, MATHFACTORY/1/RESULT \\(gone\\) +3 points mW [^\n]*\n"));
}

TEST_F(MathctlTest, ShowsSamplesThatAnOperationRefused) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts)), other(bench_, "OTHER", ScalarOf(1, Value::C_Watts));
  Out({"create", "Subtract", "LEVEL", "OTHER"});
  level = ScalarOf(1, Value::Make_unit(Value::U_Second));
  ASSERT_TRUE(WaitUntil([&] { return Objects({"list"})[0]["refused"] == 1; }));
  EXPECT_EQ(Objects({"list"})[0]["last_reason"], "UnitDimensionNotProper");
  EXPECT_THAT(Out({"list"}), HasSubstr("  units cannot be combined, refused 1 sample\n"));
  const Outcome doctor = Run({"doctor"});
  EXPECT_EQ(doctor.exit_code, kUnreachable);
  EXPECT_THAT(doctor.out, HasSubstr("FAILS  math:0"));
}

TEST_F(MathctlTest, WatchWritesOneLineAResultAndEndsAfterThoseAskedFor) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  Out({"create", "Average", "LEVEL"});
  Out({"set", "math:0", "SIZE", "3"});
  const auto watch = StartWatch({"math:0", "LEVEL", "-n", "6", "--json", "--new"}, 2);
  for (const double value : {2, 3, 4}) level = ScalarOf(value, Value::C_Watts);
  ASSERT_EQ(watch->WaitForExit(kPatience), kDone) << watch->Error();

  std::vector<double> results, counts;
  for (const json& object : ObjectsIn(watch->Out())) {
    EXPECT_EQ(object["units"], "W");
    if (object["reading"] == "TESTBENCH/1/LEVEL") continue;
    results.push_back(object["value"]);
    counts.push_back(object["count"]);
  }
  EXPECT_THAT(results, ElementsAre(1.5, 2, 3));
  EXPECT_THAT(counts, ElementsAre(1, 2, 3));
  EXPECT_TRUE(WaitForSubscriptions(1)) << "the watch left subscriptions behind";
}

TEST_F(MathctlTest, WatchShowsATraceByItsSequenceNumber) {
  TraceInput trace(bench_, "TRACE", Trace({1}, kdBm));
  const auto watch = StartWatch({"TRACE", "-n", "1"});
  trace = Trace({-1, 3}, kdBm, 41);
  ASSERT_EQ(watch->WaitForExit(kPatience), kDone) << watch->Error();
  EXPECT_THAT(watch->Out(), EndsWith("  TESTBENCH/1/TRACE  #41  2 points  min -1 dBm  max 3 dBm  mean 1 dBm\n"));
}

TEST_F(MathctlTest, ASignalEndsAWatchInGoodOrder) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  for (const int signal_number : {SIGINT, SIGTERM}) {
    const auto watch = StartWatch({"LEVEL"});
    watch->Signal(signal_number);
    EXPECT_EQ(watch->WaitForExit(kPatience), kDone) << watch->Error();
    EXPECT_TRUE(WaitForSubscriptions(0)) << signal_number;
    EXPECT_EQ(watch->Error(), "");
  }
}

/// A reading that takes its time when it is asked for its name.
class SlowReading : public POA_Corvanta::EngineReadingValueDouble {
 public:
  char* DDS_Value() override { return CORBA::string_dup(kTopic); }
  char* Name() override {
    asked.set_value();
    go_on.get_future().wait();
    return CORBA::string_dup("SLOW");
  }
  Corvanta::TypeInfo* CORBA_Type() override { return new Corvanta::TypeInfo; }
  Scalar Get() override { return ScalarOf(1, Value::C_Watts); }

  static constexpr const char* kTopic = "TESTBENCH/1/SLOW";
  std::promise<void> asked, go_on;
};

TEST_F(MathctlTest, AWatchThatIsEndedWhileItAsksForItsSourceEndsInOrder) {
  const PortableServer::Servant_var<SlowReading> slow(new SlowReading);
  GUI_AbleRegistration::Entry entry;
  entry.name = "SLOW";
  entry.type_name = "ValueDouble";
  entry.topic = SlowReading::kTopic;
  entry.reference = slow->_this();
  const long token = bench_.Registration().Add(entry);
  const auto watch = StartWatch({"SLOW", "--timeout", "1"});
  ASSERT_EQ(slow->asked.get_future().wait_for(kPatience), std::future_status::ready);
  watch->Signal(SIGINT);
  EXPECT_EQ(watch->WaitForExit(kPatience), kDone);
  EXPECT_EQ(watch->Error(), "");
  slow->go_on.set_value();
  bench_.Registration().Remove(token);
  Corvanta::ORB_base::DeactivateObject(slow.in());
}

TEST_F(MathctlTest, AWatchEndsAfterItsTimeAndWhenItsObjectGoes) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  EXPECT_EQ(Out({"watch", "LEVEL", "--for", "0.2", "--new"}), "");
  Out({"create", "Peak", "LEVEL"});
  const auto watch = StartWatch({"math:0", "--timeout", "0.3"});
  Out({"delete", "math:0"});
  EXPECT_EQ(watch->WaitForExit(kPatience), kRefused);
  EXPECT_THAT(watch->Error(), HasSubstr("math object 0"));
}

TEST_F(MathctlTest, SetsAttributesAndSaysTheirLimits) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  Out({"create", "Average", "LEVEL"});
  Out({"set", "MATHFACTORY/1/SIZE", "7"});
  EXPECT_EQ(Out({"get", "SIZE"}), "7\n");
  EXPECT_EQ(Out({"get", "FULL"}), "true\n");  // until the next sample
  Out({"reset", "0"});
  EXPECT_EQ(Out({"get", "FULL"}), "false\n");
  Out({"set", "TYPE", "Peak"});
  EXPECT_EQ(Out({"get", "TYPE"}), "3\n");
  Out({"set", "RESET"});
  const Outcome refused = Run({"set", "0", "SIZE", "100"});
  EXPECT_EQ(refused.exit_code, kRefused);
  EXPECT_THAT(refused.error, HasSubstr("100 is outside the limits 1 to 99"));
}

TEST_F(MathctlTest, ExitCodesTellWhatToDo) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  LongInput start(bench_, "START", 1);
  Out({"create", "Subtract", "LEVEL", "LEVEL"});
  struct Row {
    Words words;
    int exit_code;
    const char* error;
  };
  const Row kRows[] = {
      {{"get", "NOPE"}, kRefused, "no reading \"NOPE\""},
      {{"get", "math:99"}, kRefused, "no math object 99"},
      {{"delete", "99"}, kRefused, "no math object 99"},
      {{"watch", "math:99"}, kRefused, "no math object 99"},
      {{"create", "Average", "START"}, kRefused, "Invalid attrib types"},
      {{"create", "Peak", "LEVEL", "LEVEL"}, kRefused, "Average requires exactly one attribute."},
      {{"create", "Average", "LEVEL", "--factory", "MATHFACTORY/7"}, kRefused, "not registered"},
      {{"create", "Median", "LEVEL"}, kUsage, "there are: Subtract, "},
      {{"reset", "0"}, kUsage, "it has no RESET"},
      {{"set", "0", "SIZE", "2"}, kUsage, "it has no SIZE"},
      {{"set", "0", "COLOUR", "2"}, kUsage, "no attribute \"COLOUR\""},
      {{"set", "LEVEL", "2"}, kUsage, "cannot be set"},
      {{"set", "TYPE", "many"}, kUsage, "not a whole number"},
      {{"delete", "LEVEL"}, kUsage, "not the id of a math object"},
      {{"plot", "LEVEL", "-o", "x.png"}, kUsage, "only traces can be drawn"},
      {{"get"}, kUsage, "READING is required"},
      {{"list", "--naming", "127.0.0.1:1"},
       kUnreachable,
       "naming service at 127.0.0.1:1 does not answer (connection refused); is omniNames running?"},
  };
  for (const Row& row : kRows) {
    const Outcome outcome = Run(row.words);
    EXPECT_EQ(outcome.exit_code, row.exit_code) << testing::PrintToString(row.words);
    EXPECT_THAT(outcome.error, HasSubstr(row.error)) << testing::PrintToString(row.words);
    EXPECT_EQ(outcome.out, "") << testing::PrintToString(row.words);
  }
}

TEST_F(MathctlTest, AnEngineThatHangsCostsOneTimeLimit) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  engine_.Signal(SIGSTOP);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Run({"list", "--timeout", "0.3"}).exit_code, kUnreachable);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3))
      << "the default limit, not the one given";
  EXPECT_EQ(Run({"get", "MATHFACTORY/1/TYPE", "--timeout", "0.3"}).exit_code, kUnreachable);
  EXPECT_EQ(Out({"get", "LEVEL", "--timeout", "0.3"}), "1 W  +0 +0 W\n");
  const auto engines = Objects({"engines", "--timeout", "0.3"});
  ASSERT_EQ(engines.size(), 2u);
  EXPECT_EQ(engines[0]["engine"], "MATHFACTORY/1");
  EXPECT_EQ(engines[0]["answers"], false);
  EXPECT_EQ(engines[0]["version"], "");
  const Outcome doctor = Run({"doctor", "--timeout", "0.3"});
  EXPECT_EQ(doctor.exit_code, kUnreachable);
  EXPECT_THAT(doctor.out, HasSubstr("FAILS  engine MATHFACTORY/1"));
  engine_.Signal(SIGCONT);
}

TEST_F(MathctlTest, SubscriptionsShowWhatEachHasLost) {
  LongInput count(bench_, "COUNT", 0);
  const auto watch = StartWatch({"COUNT"});
  watch->Signal(SIGSTOP);
  for (int i = 0; i < 1100; ++i) count = i;
  const auto rows = Objects({"subscriptions"});
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0]["topic"], "TESTBENCH/1/COUNT");
  EXPECT_THAT(rows[0]["dropped"].get<int>() + rows[0]["queued"].get<int>() + rows[0]["delivered"].get<int>(),
              AnyOf(1099, 1100))
      << "one may be under way";
  EXPECT_GE(rows[0]["dropped"].get<int>(), 99);
  EXPECT_THAT(Out({"subscriptions"}), HasSubstr("HANDLE  TOPIC              ADDRESS"));
  watch->Signal(SIGCONT);
}

TEST_F(MathctlTest, SamplesThatNoManagerTookAreCountedByTheirEngine) {
  LongInput count(bench_, "COUNT", 0);
  EXPECT_THAT(Out({"doctor"}), HasSubstr("1 readings and attributes, 0 samples not sent"));
  platform_.KillTopicManager();
  for (int i = 0; i < 5; ++i) count = i;
  EXPECT_THAT(Run({"doctor"}).out, HasSubstr("1 readings and attributes, 5 samples not sent"));
}

TEST_F(MathctlTest, DoctorFindsEachDeadPart) {
  platform_.KillTopicManager();
  const Outcome without_manager = Run({"doctor"});
  EXPECT_EQ(without_manager.exit_code, kUnreachable);
  EXPECT_THAT(without_manager.out, HasSubstr("FAILS  topic manager"));
  EXPECT_THAT(without_manager.out, HasSubstr("well   engine MATHFACTORY/1"));
  platform_.KillNamingService();
  const Outcome without_naming = Run({"doctor"});
  EXPECT_EQ(without_naming.exit_code, kUnreachable);
  EXPECT_THAT(without_naming.out, HasSubstr("FAILS  naming service"));
}

TEST_F(MathctlTest, CreatesTheTypeAskedForWhileAnotherClientChangesIt) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  std::atomic<bool> stop{false};
  std::thread other([&] {
    const Corvanta::EngineAttribEnum_var selector = factory_->AttrType();
    for (int type = 0; !stop; type = (type + 1) % 5) selector->Set(type);
  });
  std::size_t created = 0;
  for (int i = 0; i < 30; ++i) {
    const Outcome outcome = Run({"create", "Peak", "LEVEL"});
    created += outcome.exit_code == kDone ? 1 : 0;
    EXPECT_THAT(outcome.exit_code, testing::AnyOf(kDone, kRefused)) << outcome.error;
  }
  stop = true;
  other.join();
  const auto objects = Objects({"list"});
  EXPECT_EQ(objects.size(), created) << "objects of other types were left behind";
  for (const json& object : objects) EXPECT_EQ(object["type"], "Peak");
}

TEST_F(MathctlTest, NamesOfAnyBytesAreShownSafelyAndUnderstood) {
  ScalarInput odd(bench_, "od\x1b[31md\xff", ScalarOf(1, Value::C_Watts));
  EXPECT_THAT(Out({"readings"}), HasSubstr("TESTBENCH/1/od\\x1b[31md\\xff"));
  EXPECT_EQ(Objects({"get", "od\\x1b[31md\\xff"}).at(0)["reading"], "TESTBENCH/1/od\\x1b[31md\\xff");
}

TEST_F(MathctlTest, PlotDrawsAPicture) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  const std::string file = (platform_.Directory() / "it's a picture.png").string();
  EXPECT_EQ(Out({"plot", "TRACE", "-o", file}), file + "\n");
  std::string magic(8, ' ');
  std::ifstream(file, std::ios::binary).read(magic.data(), 8);
  EXPECT_EQ(magic, "\x89PNG\r\n\x1a\n");
}

TEST_F(MathctlTest, JsonCarriesWhatIsNotFinite) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  TraceInput trace(bench_, "TRACE", Trace({-kInfinity, std::nanf(""), 2}, kMilliwatt));
  const auto objects = Objects({"get", "TRACE", "--samples"});
  ASSERT_EQ(objects.size(), 1u);
  EXPECT_EQ(objects[0]["samples"], json({"-Infinity", "NaN", 2.0}));
  EXPECT_EQ(objects[0]["mean"], "-Infinity");
}

}  // namespace
}  // namespace Lumenar::Test
