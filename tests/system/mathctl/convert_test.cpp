// SPDX-License-Identifier: Apache-2.0
// Recordings of one form into those of another.
#include <filesystem>

#include "tests/system/mathctl/RecordingsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUsage;
using testing::HasSubstr;

const std::string kRecorded = LUMENAR_RECORDED_DATA;

class ConvertTest : public RecordingsFixture {
 protected:
  // A recording of a trace and a scalar.
  std::string Recorded() {
    TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kdBm));
    ScalarInput level(bench_, "LEVEL", ScalarOf(0.1, kMilliwatt, -0.1, 0.2));
    const std::string file = File("a.jsonl");
    const auto record = StartRecord({file, "TRACE", "LEVEL", "-n", "2"}, 2);
    trace = Trace({4, -0.0f, 1e-45f}, kdBm, 9);
    level = ScalarOf(1.0 / 3, kMilliwatt, -1e-300, 0);
    EXPECT_EQ(record->WaitForExit(kPatience), kDone) << record->Error();
    return file;
  }
};

TEST_F(ConvertTest, ToCsvAndBackIsTheSameByteForByte) {
  const std::string file = Recorded(), csv = File("b.csv"), back = File("c.jsonl");
  EXPECT_THAT(Out({"convert", file, csv}), HasSubstr("b.csv"));
  EXPECT_THAT(TextOf(csv), HasSubstr(",TESTBENCH/1/LEVEL,ValueDouble,,mW,,0.3333333333333333,-1e-300,0,"));
  EXPECT_THAT(TextOf(csv), HasSubstr(",3,4,-0,1e-45\n"));
  Out({"convert", csv, back});
  EXPECT_EQ(TextOf(back), TextOf(file));
}

TEST_F(ConvertTest, ToCompressedAndBackIsTheSameByteForByte) {
  const std::string file = Recorded(), small = File("b.csv.zst"), back = File("c.jsonl");
  Out({"convert", file, small});
  Out({"convert", small, back});
  EXPECT_EQ(TextOf(back), TextOf(file));
}

TEST_F(ConvertTest, TakesFilesOfOtherInstruments) {
  const std::string sweeps = File("sweeps.jsonl");
  EXPECT_EQ(Objects({"convert", kRecorded + "/sweeps.csv", sweeps}).at(0)["samples"], 7);
  const WholeRecording whole = Read(sweeps);
  ASSERT_EQ(whole.readings.size(), 1u) << "one reading, whatever the number of sweeps";
  EXPECT_EQ(whole.readings[0].name, "REPLAY/1/SWEEPS");
  EXPECT_EQ(whole.samples.size(), 7u);
  EXPECT_TRUE(whole.ended);
  Out({"convert", kRecorded + "/fibre.csv", File("fibre.csv.zst")});
  EXPECT_EQ(std::get<BT_DATA>(Read(File("fibre.csv.zst")).samples.at(0).record).samples.length(), 600u);
}

TEST_F(ConvertTest, SaysThatCsvWasEdited) {
  const std::string csv = File("b.csv");
  Out({"convert", Recorded(), csv});
  std::string text = TextOf(csv);
  text.replace(text.find("-1e-300"), 7, "-2e-300");
  WriteFile(csv, text);
  const Outcome outcome = Run({"convert", csv, File("c.jsonl")});
  EXPECT_EQ(outcome.exit_code, kDone);
  EXPECT_THAT(outcome.error, HasSubstr("was changed since it was made"));
  EXPECT_TRUE(Read(File("c.jsonl")).ended);
}

TEST_F(ConvertTest, ReadsWhatBrokeOffUpToThere) {
  const std::string file = Recorded();
  const std::string text = TextOf(file);
  WriteFile(file, text.substr(0, text.size() - 20));
  const Outcome outcome = Run({"convert", file, File("b.jsonl")});
  EXPECT_EQ(outcome.exit_code, kDone) << outcome.error;
  EXPECT_THAT(outcome.error, HasSubstr("breaks off here"));
  EXPECT_EQ(Read(File("b.jsonl")).samples.size(), 2u);
}

TEST_F(ConvertTest, SaysWhatIsWrongInOneLine) {
  const std::string file = Recorded();
  std::string text = TextOf(file);
  text[text.size() / 2] ^= 1;
  WriteFile(File("damaged.jsonl"), text);
  ExpectRefused({{"convert", file}, kUsage, "OUT is required"});
  ExpectRefused({{"convert", file, File("b.txt")}, kUsage, "must end in .jsonl"});
  ExpectRefused({{"convert", file, file, "--force"}, kUsage, "is the file that is to be converted"});
  ExpectRefused({{"convert", File("none.jsonl"), File("b.csv")}, kRefused, "No such file or directory"});
  ExpectRefused({{"convert", platform_.Directory().string(), File("b.csv")}, kRefused, "is not a regular file"});
  ExpectRefused({{"convert", File("damaged.jsonl"), File("b.csv")}, kRefused, "damaged.jsonl:"});
  EXPECT_FALSE(std::filesystem::exists(File("b.csv")));
  WriteFile(File("b.csv"), "dear");
  ExpectRefused({{"convert", file, File("b.csv")}, kRefused, "(--force replaces it)"});
  EXPECT_EQ(TextOf(File("b.csv")), "dear");
  Out({"convert", file, File("b.csv"), "--force"});
}

}  // namespace
}  // namespace Lumenar::Test
