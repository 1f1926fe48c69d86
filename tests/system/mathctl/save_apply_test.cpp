// SPDX-License-Identifier: Apache-2.0
// The set of math objects into a file, and out of it again.
#include <csignal>

#include "tests/system/mathctl/RecordingsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUnreachable;
using Mathctl::kUsage;
using testing::HasSubstr;

class SaveApplyTest : public RecordingsFixture {
 protected:
  SaveApplyTest() : trace_(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt)) {}

  void CreateBench() {
    Out({"create", "Average", "TRACE"});
    Out({"set", "math:0", "SIZE", "7"});
    Out({"create", "Peak", "math:0"});
    Out({"create", "Subtract", "math:1", "TRACE"});
  }

  // The deeds of apply, "PLACE TYPE DONE" each.
  std::vector<std::string> Deeds(const Words& words) {
    std::vector<std::string> deeds;
    for (const json& object : ObjectsIn(Run(words).out)) {
      deeds.push_back(std::to_string(object["place"].get<int>()) + " " + object["type"].get<std::string>() + " " +
                      object["done"].get<std::string>());
    }
    return deeds;
  }

  TraceInput trace_;
};

using testing::ElementsAre;

TEST_F(SaveApplyTest, MakesTheSetAgainInOrderOfDependency) {
  CreateBench();
  const std::string file = File("bench.json");
  EXPECT_EQ(Out({"save", file}), "");
  const json saved = json::parse(TextOf(file));
  EXPECT_EQ(saved["objects"], json::parse(R"([{"type":"Average","inputs":["TESTBENCH/1/TRACE"],"size":7},
                                              {"type":"Peak","inputs":[{"object":0}]},
                                              {"type":"Subtract","inputs":[{"object":1},"TESTBENCH/1/TRACE"]}])"));
  EXPECT_EQ(json::parse(Out({"save"})), saved) << "without a file, on standard output";
  EXPECT_THAT(Deeds({"apply", file, "--json"}), ElementsAre("0 Average there", "1 Peak there", "2 Subtract there"));

  Out({"delete", "math:2", "math:1", "math:0"});
  EXPECT_THAT(Deeds({"apply", file, "--dry-run", "--json"}),
              ElementsAre("0 Average would create", "1 Peak would create", "2 Subtract would create"));
  EXPECT_EQ(Objects({"list"}).size(), 0u) << "a dry run changes nothing";
  EXPECT_THAT(Deeds({"apply", file, "--json"}),
              ElementsAre("0 Average created", "1 Peak created", "2 Subtract created"));
  EXPECT_EQ(json::parse(Out({"save"})), saved);
}

TEST_F(SaveApplyTest, CreatesWhatIsMissingAlone) {
  CreateBench();
  const std::string file = File("bench.json");
  Out({"save", file});
  Out({"delete", "math:2"});
  Out({"set", "math:0", "SIZE", "9"});
  EXPECT_THAT(Deeds({"apply", file, "--json"}),
              ElementsAre("0 Average set SIZE", "1 Peak there", "2 Subtract created"));
  EXPECT_EQ(Objects({"list"}).size(), 3u);
}

TEST_F(SaveApplyTest, TakesSetsThatPeopleWrote) {
  const std::string file = File("mine.json");
  WriteFile(file, R"({"lumenar_objects": 1, "objects": [
    {"type": "Subtract", "inputs": ["TRACE", {"object": 1}]},
    {"type": "average", "inputs": ["TRACE"], "size": 3}]})");
  EXPECT_THAT(Deeds({"apply", file, "--json"}), ElementsAre("0 Subtract created", "1 average created"));
  EXPECT_THAT(Deeds({"apply", file, "--json"}), ElementsAre("0 Subtract there", "1 average there"));
}

TEST_F(SaveApplyTest, SaysWhatIsNotThere) {
  const std::string file = File("mine.json");
  WriteFile(file, R"({"lumenar_objects": 1, "objects": [{"type": "Peak", "inputs": ["ABSENT/1/X"]},
                      {"type": "Peak", "inputs": [{"object": 0}]}, {"type": "Peak", "inputs": ["TRACE"]},
                      {"type": "Peak", "inputs": ["TRACE", "TRACE"]}]})");
  const Outcome outcome = Run({"apply", file, "--json"});
  EXPECT_EQ(outcome.exit_code, kRefused);
  EXPECT_THAT(outcome.error, HasSubstr("3 of 4 objects are not there"));
  EXPECT_THAT(outcome.error, HasSubstr("ABSENT/1/X"));
  EXPECT_THAT(Deeds({"apply", file, "--json"}),
              ElementsAre("0 Peak waiting", "1 Peak waiting", "2 Peak there", "3 Peak refused"));
}

TEST_F(SaveApplyTest, KeepsTheSetOverRestartsOfTheEngine) {
  CreateBench();
  const std::string file = File("bench.json");
  Out({"save", file});
  const auto watch = platform_.Start("mathctl", {"apply", file, "--watch", "--every", "0.1", "--json"});
  ASSERT_TRUE(WaitUntil([&] { return ObjectsIn(watch->Out()).size() == 3; })) << watch->Error();
  Out({"delete", "math:2"});
  ASSERT_TRUE(WaitUntil([&] { return Run({"list", "--json"}).out.find("\"Subtract\"") != std::string::npos; }));
  engine_.Signal(SIGTERM);
  engine_.WaitForExit(kPatience);
  ASSERT_TRUE(WaitUntil([&] { return watch->Error().find("is applied when it is back") != std::string::npos; }));
  platform_.StartEngine("math_factory_hh");
  ASSERT_TRUE(WaitUntil([&] { return watch->Error().find("the math engine is back") != std::string::npos; }));
  ASSERT_TRUE(WaitUntil([&] { return ObjectsIn(Run({"list", "--json"}).out).size() == 3; }));
  EXPECT_EQ(json::parse(Out({"save"})), json::parse(TextOf(file)));
  watch->Signal(SIGTERM);
  EXPECT_EQ(watch->WaitForExit(kPatience), kDone);
}

TEST_F(SaveApplyTest, LeavesOutWhatCannotBeMadeAgain) {
  CreateBench();
  Out({"delete", "math:0"});
  const Outcome outcome = Run({"save"});
  EXPECT_EQ(outcome.exit_code, kDone);
  EXPECT_THAT(outcome.error, HasSubstr("math:1 cannot be made again"));
  EXPECT_THAT(outcome.error, HasSubstr("math:2 cannot be made again"));
  EXPECT_EQ(json::parse(outcome.out)["objects"], json::array());
}

TEST_F(SaveApplyTest, SaysWhatIsWrongInOneLine) {
  const auto with = [&](const std::string& text) {
    WriteFile(File("bad.json"), text);
    return Words{"apply", File("bad.json")};
  };
  ExpectRefused({{"apply"}, kUsage, "FILE is required"});
  ExpectRefused({{"apply", File("none.json")}, kRefused, "No such file or directory"});
  ExpectRefused({with(""), kRefused, "bad.json: is no set of objects: not JSON"});
  ExpectRefused({with("{}"), kRefused, "has no \"lumenar_objects\""});
  ExpectRefused({with(R"({"lumenar_objects": 2, "objects": []})"), kRefused, "of another form"});
  ExpectRefused({with(R"({"lumenar_objects": 1, "objects": 3})"), kRefused, "is not a list"});
  ExpectRefused(
      {with(R"({"lumenar_objects": 1, "objects": [{"type": "Peak"}]})"), kRefused, "object 0: has no \"inputs\""});
  ExpectRefused({with(R"({"lumenar_objects": 1, "objects": [{"type": "Peak", "inputs": [{"object": 0}]}]})"), kRefused,
                 "is an input of itself"});
  ExpectRefused({with(R"({"lumenar_objects": 1, "objects": [{"type": "Peak", "inputs": [{"object": 7}]}]})"), kRefused,
                 "there is no object 7"});
  ExpectRefused({with(std::string(100000, '[')), kRefused, "nested too deep"});
  ExpectRefused({{"apply", File("bad.json"), "--watch", "--dry-run"}, kUsage, "--watch"});
  WriteFile(File("there.json"), "dear");
  ExpectRefused({{"save", File("there.json")}, kRefused, "(--force replaces it)"});
  ExpectRefused({{"save", "/dev/full"}, kRefused, "No space left on device"});
  EXPECT_EQ(Out({"save", File("there.json"), "--force"}), "");
}

}  // namespace
}  // namespace Lumenar::Test
