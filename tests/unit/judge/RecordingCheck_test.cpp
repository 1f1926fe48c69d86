// SPDX-License-Identifier: Apache-2.0
// Whole recordings: files in parts, readings that are missing, what is reported.
#include "judge/verify/RecordingCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "recording/Digest.h"
#include "tests/support/RecordedObject.h"

namespace Lumenar::Judge {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

RecordedObject PeakOf(int samples) {
  RecordedObject object("Peak", {ScalarOf(0, kWatts)});
  for (int i = 0; i < samples; ++i) object.Sample(0, ScalarOf(i % 7 + i / 100.0, kWatts));
  return object;
}

TEST(JudgeRecording, AProvenOneIsReported) {
  const Report report = PeakOf(20).Check();
  EXPECT_TRUE(report.IsProven());
  const json machine = json::parse(JsonOf(report));
  EXPECT_EQ(machine["proven"], true);
  EXPECT_EQ(machine["objects"][0]["name"], "math:0");
  EXPECT_EQ(machine["objects"][0]["verdict"], "explained");
  EXPECT_EQ(machine["objects"][0]["results"], 20);
  EXPECT_EQ(machine["objects"][0]["checked"], 19);
  EXPECT_EQ(machine["objects"][0]["unexplained"], 0);
  EXPECT_EQ(machine["files"][0]["sha256"].get<std::string>().size(), 64u);
  const std::string page = MarkdownOf(report);
  EXPECT_THAT(page, HasSubstr("Every result that was checked came out bit for bit"));
  EXPECT_THAT(page, HasSubstr("| math:0 | Peak | IN0 | 20 | 19 | 1 | 0 | 0 | explained |"));
  EXPECT_THAT(page, HasSubstr(report.files.at(0).sha256));
}

TEST(JudgeRecording, ADifferenceIsReportedWithItsPlaceAndSize) {
  RecordedObject object = PeakOf(10);
  auto& entry = std::get<Recording::Sample>(object.Entries().back());
  std::get<Scalar_record>(entry.record).val += 0x1p-40;
  const Report report = object.Check();
  EXPECT_FALSE(report.IsProven());
  EXPECT_THAT(MarkdownOf(report), HasSubstr("result 10, "));
  const json machine = json::parse(JsonOf(report));
  EXPECT_EQ(machine["objects"][0]["verdict"], "differs");
  EXPECT_EQ(machine["objects"][0]["unexplained_list"][0]["result"], 10);
  EXPECT_THAT(machine["objects"][0]["unexplained_list"][0]["text"].get<std::string>(), HasSubstr("(1024 steps)"));
}

TEST(JudgeRecording, TheDigestIsThatOfTheFile) {
  const TemporaryFolder folder;
  PeakOf(5).Write(folder.File("a.jsonl"));
  std::ifstream stream(folder.File("a.jsonl"), std::ios::binary);
  Recording::Digest digest;
  digest.Add(std::string{std::istreambuf_iterator<char>(stream), {}});
  EXPECT_EQ(RecordingCheck().Run({folder.File("a.jsonl")}).files.at(0).sha256, digest.Text());
}

TEST(JudgeRecording, PartsAreFollowed) {
  const TemporaryFolder folder;
  Recording::WriterOptions options;
  options.rotate_bytes = 4096;
  PeakOf(60).Write(folder.File("a.jsonl.zst"), options);
  PeakOf(60).Write(folder.File("b.jsonl"), options);
  const Report report = RecordingCheck().Run({folder.File("b.jsonl")});
  EXPECT_GT(report.files.size(), 2u);
  EXPECT_TRUE(report.IsProven());
  EXPECT_EQ(report.objects.at(0).findings.Checked(), 59u);
  EXPECT_TRUE(RecordingCheck().Run({folder.File("a.jsonl.zst")}).IsProven());
  EXPECT_EQ(report.objects.at(0).interrupted, 0u);
}

TEST(JudgeRecording, APartThatIsNotThereIsNoted) {
  const TemporaryFolder folder;
  Recording::WriterOptions options;
  options.rotate_bytes = 4096;
  PeakOf(60).Write(folder.File("b.jsonl"), options);
  std::filesystem::remove(folder.File("b-2.jsonl"));
  const Report report = RecordingCheck().Run({folder.File("b.jsonl")});
  ASSERT_EQ(report.notes.size(), 1u);
  EXPECT_THAT(report.notes[0], HasSubstr("b-2.jsonl, which is not here"));
  const Report jump = RecordingCheck().Run({folder.File("b.jsonl"), folder.File("b-3.jsonl")});
  EXPECT_EQ(jump.objects.at(0).interrupted, 1u);
}

TEST(JudgeRecording, AnInputThatIsNotRecordedLeavesNothingToCheck) {
  const TemporaryFolder folder;
  Recording::RecordingWriter writer(folder.File("a.jsonl"), {}, 1);
  writer.Add(
      {0, "math:0", "MATHFACTORY/1", "RESULT", "ValueDouble", "topic", Recording::ObjectInfo{0, "Peak", {"IN0"}, 0}});
  writer.Finish(2, 0);
  const Report report = RecordingCheck().Run({folder.File("a.jsonl")});
  EXPECT_FALSE(report.IsProven());
  EXPECT_EQ(report.objects.at(0).problem, "its input IN0 is not in the recording");
  EXPECT_EQ(VerdictOf(report.objects.at(0)), "not checked");
}

TEST(JudgeRecording, NamesMeanNothingToThePage) {
  Report report;
  report.objects.push_back({"math:0", "Peak", {"A|B/1/*x*"}, 0, 0, "", "", {}, 0, {}});
  EXPECT_THAT(MarkdownOf(report), HasSubstr("A\\|B/1/\\*x\\*"));
}

TEST(JudgeRecording, WithoutObjectsNothingIsProven) {
  const TemporaryFolder folder;
  Recording::RecordingWriter writer(folder.File("a.jsonl"), {}, 1);
  writer.Finish(2, 0);
  EXPECT_FALSE(RecordingCheck().Run({folder.File("a.jsonl")}).IsProven());
}

TEST(JudgeRecording, ASampleOfAnotherKindInterrupts) {
  RecordedObject object = PeakOf(5);
  object.Record(0, LongOf(3));
  const ObjectReport report = object.CheckObject();
  EXPECT_EQ(report.interrupted, 1u);
  EXPECT_THAT(report.interruptions.at(0), Not(HasSubstr("\n")));
}

}  // namespace
}  // namespace Lumenar::Judge
