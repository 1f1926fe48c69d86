// SPDX-License-Identifier: Apache-2.0
// What the doctor finds in a platform that is broken in one way or another.
#include <csignal>
#include <memory>

#include "tests/system/mathctl/PicturesFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kUnreachable;
using Mathctl::kUsage;
using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

class DoctorTest : public PicturesFixture {
 protected:
  using PicturesFixture::PicturesFixture;

  // A part of the platform as the doctor finds it; an empty object where it says nothing of it.
  static json PartIn(const Outcome& outcome, const std::string& part) {
    for (const json& finding : ObjectsIn(outcome.out)) {
      if (finding["part"] == part) return finding;
    }
    return json::object();
  }

  Outcome Examine(Words words = {}) {
    words.insert(words.begin(), "doctor");
    words.insert(words.end(), {"--json", "--count", "0.05"});
    return Run(words);
  }

  // Asks until a part is found as `verdict`; the finding.
  json WaitForVerdict(const std::string& part, const std::string& verdict, const Words& words = {}) {
    json finding;
    EXPECT_TRUE(WaitUntil([&] {
      finding = PartIn(Examine(words), part);
      return finding.value("verdict", "") == verdict;
    })) << part
        << ": " << finding;
    return finding;
  }

  void ExpectUnwell(const std::string& part, const std::string& verdict, const std::string& text,
                    const std::string& remedy, const Words& words = {}) {
    const Outcome outcome = Examine(words);
    EXPECT_EQ(outcome.exit_code, kUnreachable) << outcome.out;
    const json finding = PartIn(outcome, part);
    EXPECT_EQ(finding.value("verdict", ""), verdict) << outcome.out;
    EXPECT_EQ(finding.value("well", true), false);
    EXPECT_THAT(finding.value("text", ""), HasSubstr(text));
    EXPECT_THAT(finding.value("remedy", ""), HasSubstr(remedy));
  }
};

TEST_F(DoctorTest, FindsAPlatformWell) {
  platform_.StartEngine("sim", {{"SIM_READINGS", "trace:T:points=11:rate=50:units=mW"}});
  Out({"create", "Peak", "SIM/1/T"});
  EXPECT_EQ(WaitForVerdict("math objects", "well")["text"], "1 math object");
  const std::string text = Out({"doctor", "--count", "0.5"});
  EXPECT_THAT(text, AllOf(HasSubstr("well  settings"), ContainsRegex("\nwell  topic manager +127\\.0\\.0\\.1:[0-9]+"),
                          HasSubstr("a sample of our own came back within"), HasSubstr("2 engines reported"),
                          HasSubstr("all stand at the topic manager"), HasSubstr("well  reading SIM/1/T")));
  EXPECT_THAT(text, Not(HasSubstr("->")));
  EXPECT_THAT(Out({"doctor", "math:0", "--count", "0.5"}), HasSubstr("Peak: live"));
}

TEST_F(DoctorTest, OfVeryManyReadingsTheFirstAreLookedAt) {
  std::vector<std::unique_ptr<LongInput>> indexes;
  TraceInput trace(bench_, "TRACE", Trace({1}, kMilliwatt));
  for (int i = 0; i < 103; ++i) {
    indexes.push_back(std::make_unique<LongInput>(bench_, ("INDEX_" + std::to_string(i)).c_str(), 0));
    const Corvanta::MathFactory::Math_var object =
        Create(CumulativeAdd, Inputs(trace, *indexes.back(), *indexes.back()));
  }
  const Outcome outcome = Examine();
  EXPECT_EQ(PartIn(outcome, "readings")["text"], "4 more readings, which were not looked at") << outcome.out;
  EXPECT_EQ(PartIn(outcome, "reading TESTBENCH/1/INDEX_98")["verdict"], "well");
}

TEST_F(DoctorTest, FindsEachServiceThatIsAway) {
  platform_.KillHwEnumeration();
  ExpectUnwell("hardware enumeration", "fails", "", "start it: hw_enumeration");
  platform_.KillTopicManager();
  ExpectUnwell("topic manager", "fails", "", "start it: topic_manager");
  EXPECT_EQ(PartIn(Examine(), "engine MATHFACTORY/1")["verdict"], "well");
  platform_.KillNamingService();
  ExpectUnwell("naming service", "fails", "", "omniNames -start");
}

TEST_F(DoctorTest, FindsEnginesThatHaveEnded) {
  Process& instrument = platform_.StartEngine("sim", {{"SIM_READINGS", "trace:T:points=11:rate=50:units=mW"}});
  EXPECT_EQ(PartIn(Examine(), "hardware enumeration")["text"], "2 engines reported");
  instrument.Signal(SIGKILL);
  instrument.WaitForExit();
  const Outcome outcome = Examine();
  EXPECT_EQ(outcome.exit_code, kUnreachable);
  EXPECT_THAT(PartIn(outcome, "hardware enumeration")["text"].get<std::string>(), HasSubstr("1 of them away"));
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("reported engine sim.engine"), HasSubstr("restart hw_enumeration")));
}

TEST_F(DoctorTest, CountsSamplesThatWereNotSent) {
  LongInput count(bench_, "COUNT", 0);
  platform_.KillTopicManager();
  for (int i = 0; i < 5; ++i) count = i;
  platform_.StartTopicManager();
  ExpectUnwell("engine TESTBENCH/1", "look", "1 readings and attributes, 5 samples not sent", "they are lost");
}

TEST_F(DoctorTest, FindsDroppedSamplesAndAStalledSubscriber) {
  LongInput count(bench_, "COUNT", 0);
  const auto watch = platform_.Start("mathctl", {"watch", "COUNT"});
  ASSERT_TRUE(WaitForSubscriptions(1));
  watch->Signal(SIGSTOP);
  for (int i = 0; i < 1100; ++i) count = i;
  ExpectUnwell("topic manager", "look", "samples dropped", "mathctl subscriptions");
  watch->Signal(SIGCONT);
}

TEST_F(DoctorTest, AnObjectThatRefusesIsExplained) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts)), other(bench_, "OTHER", ScalarOf(1, Value::C_Watts));
  Out({"create", "Subtract", "LEVEL", "OTHER"});
  level = ScalarOf(1, Value::Make_unit(Value::U_Second));
  WaitForVerdict("math:0", "fails");
  ExpectUnwell("math:0", "fails", "units cannot be combined, refused 1 sample", "mathctl explain math:0");
  level = ScalarOf(1, Value::C_Watts);
  WaitForVerdict("math:0", "look");
}

TEST_F(DoctorTest, AnObjectWithoutSamplesLeadsToItsInput) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  Out({"create", "Peak", "LEVEL"});
  Out({"create", "Peak", "math:0"});
  ExpectUnwell("math:1", "look", "waiting for a first sample of math:0", "mathctl doctor math:0", {"math:1"});
  ExpectUnwell("math:0", "look", "waiting for a first sample of TESTBENCH/1/LEVEL", "mathctl doctor TESTBENCH/1/LEVEL",
               {"math:1"});
  ExpectUnwell("reading TESTBENCH/1/LEVEL", "look", "", "mathctl watch TESTBENCH/1/LEVEL", {"math:1"});
}

TEST_F(DoctorTest, AnInputWhoseEngineDiedIsNamed) {
  Process& instrument = platform_.StartEngine("sim", {{"SIM_READINGS", "trace:T:points=11:rate=50:units=mW"}});
  const std::string name = "SIM/1/T";
  Out({"create", "Peak", name});
  WaitForVerdict("reading " + name, "well", {"math:0"});
  instrument.Signal(SIGKILL);
  instrument.WaitForExit();
  WaitForVerdict("math:0", "fails", {"math:0"});
  ExpectUnwell("math:0", "fails", "input away: " + name, "mathctl doctor " + name, {"math:0"});
  ExpectUnwell("reading " + name, "fails", "", "mathctl engines", {"math:0"});
  ExpectUnwell("engine SIM/1", "fails", "", "engine_host sim", {"math:0"});
}

TEST_F(DoctorTest, WhatIsNotThereIsAFinding) {
  ExpectUnwell("math:77", "fails", "77", "mathctl list", {"math:77"});
  ExpectUnwell("NOPE", "fails", "NOPE", "mathctl readings", {"NOPE"});
}

TEST_F(DoctorTest, AnEngineThatHangsIsFound) {
  engine_.Signal(SIGSTOP);
  const Outcome outcome = Examine({"--timeout", "0.3"});
  EXPECT_EQ(outcome.exit_code, kUnreachable);
  EXPECT_EQ(PartIn(outcome, "engine MATHFACTORY/1")["verdict"], "fails");
  EXPECT_EQ(PartIn(outcome, "math engine")["verdict"], "fails");
  engine_.Signal(SIGCONT);
}

TEST_F(DoctorTest, AWrongCommandLineIsOneLine) {
  ExpectRefusals({
      {{"doctor", "--count", "never"}, kUsage, "a number of seconds"},
      {{"doctor", "a", "b"}, kUsage, "b"},
  });
}

// The topic manager may not call the tool, which lets in nobody but an address that is not the manager's.
TEST_F(DoctorTest, SamplesThatDoNotReachUsAreFound) {
  const std::string conf = (platform_.Directory() / "closed.conf").string();
  std::ofstream(conf) << "orb.allowed_peer = 192.0.2.1\n";
  const Outcome outcome =
      Run({"doctor", "--json", "--timeout", "0.5", "--count", "0.05"}, {{"LUMENAR_TRANSPORT_CONF", conf}});
  EXPECT_EQ(outcome.exit_code, kUnreachable);
  const json finding = PartIn(outcome, "samples to this process");
  EXPECT_EQ(finding.value("verdict", ""), "fails") << outcome.out;
  EXPECT_THAT(finding.value("remedy", ""), AllOf(HasSubstr("orb.allowed_peer (now 192.0.2.1)"), HasSubstr(conf)));
}

TEST_F(DoctorTest, ObjectsWithoutASubscriptionAreNamed) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  Out({"create", "Peak", "LEVEL"});
  const CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
  const Corvanta::DDS_Manager_var manager = Corvanta::DDS_Manager::_narrow(object);
  const Corvanta::SubscriptionStatusSeq_var subscriptions = manager->Subscriptions();
  ASSERT_EQ(subscriptions->length(), 1u);
  manager->Unsubscribe(subscriptions.in()[0].topic, subscriptions.in()[0].handle);  // behind the engine's back
  ExpectUnwell("subscriptions of the math objects", "fails", "the topic manager has none for math:0",
               "start the engine again", {"math:0"});
}

TEST_F(DoctorTest, AManagerStartedWithoutItsFileGetsTheSubscriptionsAgain) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  Out({"create", "Peak", "LEVEL"});
  platform_.KillTopicManager();
  std::filesystem::remove(platform_.Directory() / "subscriptions.state");
  platform_.StartTopicManager();
  EXPECT_EQ(WaitForVerdict("subscriptions of the math objects", "well")["text"], "all stand at the topic manager");
}

}  // namespace
}  // namespace Lumenar::Test
