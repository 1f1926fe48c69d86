// SPDX-License-Identifier: Apache-2.0
// Stored traces as readings, and what is normalised to them.
#include <csignal>

#include "tests/support/RecordedFigures.h"
#include "tests/system/mathctl/RecordingsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUsage;
using testing::HasSubstr;

class ReferenceTest : public RecordingsFixture {
 protected:
  // Starts a verb that offers readings until it is ended, and waits for one of them.
  std::unique_ptr<Process> Offer(const Words& words, const std::string& reading) {
    auto process = platform_.Start("mathctl", words);
    EXPECT_TRUE(WaitUntil([&] { return process->Out().find(reading) != std::string::npos; })) << process->Error();
    return process;
  }

  // The mean of levels that were normalised to a reference.
  double MeanOf(const std::string& reading, const std::string& reference) {
    const std::string object = Objects({"create", "RelativeSubtract", reading, reference}).at(0)["object"];
    const json present = Objects({"get", object}).at(0);
    EXPECT_EQ(present["units"], "dB(10^2 %)");
    return present["mean"];
  }
};

TEST_F(ReferenceTest, SParametersAreNormalisedToAStoredOne) {
  const RecordedFigures set = RecordedSets().front();
  const auto& expected = set.reflection;
  const auto live = Offer({"replay", set.File(expected.open), "--stay", "--rename", "REPLAY=LIVE"}, "LIVE/1/");
  const auto load = Offer({"reference", "load", set.File(expected.shorted), "--name", "SHORT"}, "REFERENCE/1/SHORT");
  std::string open;
  for (const json& object : Objects({"readings"}))
    if (object["reading"].get<std::string>().starts_with("LIVE/")) open = object["reading"];
  EXPECT_NEAR(MeanOf(open, "REFERENCE/1/SHORT"), expected.mean, 1e-5);
  load->Signal(SIGINT);
  EXPECT_EQ(load->WaitForExit(kPatience), kDone);
  EXPECT_EQ(load->Error(), "");
}

TEST_F(ReferenceTest, BackscatterLevelsAreNormalisedToThemselves) {
  const RecordedFigures set = RecordedSets().front();
  const std::string file = set.File(set.fibre.file);
  const auto live = Offer({"replay", file, "--stay"}, "REPLAY/1/FIBRE");
  const std::string saved = File("fibre.jsonl");
  EXPECT_THAT(Out({"reference", "save", saved, "FIBRE"}), HasSubstr("REPLAY/1/FIBRE"));
  const auto load = Offer({"reference", "load", saved}, "REFERENCE/1/FIBRE");
  EXPECT_EQ(MeanOf("REPLAY/1/FIBRE", "REFERENCE/1/FIBRE"), 0);
}

TEST_F(ReferenceTest, ResultsAreStoredAndPlainDecibelsGetAUnit) {
  Value::Units plain;
  plain.is_dB = true;
  TraceInput trace(bench_, "TRACE", Trace({-3, -6}, plain));
  Out({"create", "Peak", "TRACE"});
  const std::string saved = File("peak.jsonl");
  Out({"reference", "save", saved, "math:0"});
  EXPECT_EQ(Read(saved).readings.at(0).name, "math:0");
  const auto load = Offer({"reference", "load", saved}, "REFERENCE/1/MATH_0");
  EXPECT_THAT(Out({"get", "REFERENCE/1/MATH_0"}), HasSubstr("2 points  min -6 dB(10^2 %)"));
  EXPECT_THAT(Out({"doctor", "REFERENCE/1/MATH_0", "--count", "0.05"}), HasSubstr("a stored reference"))
      << "it is well, although nothing comes from it";
  EXPECT_THAT(Run({"get", "REFERENCE/1/OF_YESTERDAY"}).error,
              HasSubstr("`mathctl reference load` offers a stored one"));
  load->Signal(SIGINT);
  ASSERT_EQ(load->WaitForExit(kPatience), kDone);
  EXPECT_THAT(Run({"doctor", "--count", "0.05"}).out, testing::Not(HasSubstr("reported engine")))
      << "a reference that was taken away is no fault";
}

TEST_F(ReferenceTest, SaysWhatIsWrongInOneLine) {
  TraceInput empty(bench_, "EMPTY", Trace({}, kdBm)), trace(bench_, "TRACE", Trace({1}, kdBm));
  const std::string file = File("a.jsonl");
  ExpectRefused({{"reference"}, kUsage, "subcommand"});
  ExpectRefused({{"reference", "save", file}, kUsage, "READING is required"});
  ExpectRefused({{"reference", "save", file, "NOWHERE"}, kRefused, "NOWHERE"});
  ExpectRefused({{"reference", "save", file, "EMPTY"}, kRefused, "has no sample yet"});
  ExpectRefused({{"reference", "save", file, "TESTBENCH/1/*"}, kUsage, "a reference is one"});
  ExpectRefused({{"reference", "save", "/dev/full", "TRACE"}, kRefused, "No space left on device"});
  ExpectRefused({{"reference", "load", file}, kRefused, "No such file or directory"});
  Out({"reference", "save", file, "TRACE"});
  ExpectRefused({{"reference", "save", file, "TRACE"}, kRefused, "(--force replaces it)"});
  ExpectRefused({{"reference", "load", file, "--name", "a/b"}, kUsage, "--name"});
  ExpectRefused({{"reference", "load", file, "--reading", "OTHER"}, kUsage, "TESTBENCH/1/TRACE"});
}

}  // namespace
}  // namespace Lumenar::Test
