// SPDX-License-Identifier: Apache-2.0
// Recordings as files: written, read, changed, cut off.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <system_error>

#include "recording/lines.h"
#include "tests/unit/recording/recording_samples.h"

namespace Lumenar::Recording {
namespace {

using testing::HasSubstr;

class RecordingFiles : public testing::TestWithParam<const char*> {
 protected:
  std::string Path() const { return folder_.File(GetParam()); }
  Folder folder_;
};

TEST_P(RecordingFiles, AreReadBackBitForBit) {
  WriteExample(Path(), {false, "a comment", 0, 0});
  RecordingReader reader(Path());
  EXPECT_EQ(reader.GetHeader().comment, "a comment");
  EXPECT_EQ(reader.GetHeader().started_ns, kNow_ns);
  const std::vector<Entry> entries = EntriesOf(reader);
  const std::vector<SampleRecord> records = AwkwardRecords();
  ASSERT_EQ(entries.size(), records.size() + 5);
  for (std::size_t i = 0; i < records.size(); ++i) {
    const auto& sample = std::get<Sample>(entries[i + 2]);
    EXPECT_TRUE(SameBits(sample.record, records[i])) << i;
    EXPECT_EQ(sample.time_ns, kNow_ns + 1 + static_cast<std::int64_t>(i));
    EXPECT_FALSE(sample.present);
  }
  EXPECT_TRUE(std::get<Sample>(entries.back()).present);
  EXPECT_EQ(std::get<Event>(entries[entries.size() - 3]), (Event{EventKind::Size, kNow_ns + 11, 1, 20, ""}));
  EXPECT_EQ(std::get<Event>(entries[entries.size() - 2]).text, "the topic manager was away");
  ASSERT_EQ(reader.Readings().size(), 2u);
  EXPECT_EQ(reader.Readings()[1].object, (ObjectInfo{0, "Average", {"WAKEUP"}, 10}));
  ASSERT_TRUE(reader.GetEnd());
  EXPECT_EQ(reader.GetEnd()->samples, records.size() + 1);
  EXPECT_EQ(reader.GetEnd()->lost, 5u);
  EXPECT_EQ(reader.CutOff(), "");
  EXPECT_EQ(reader.Size(), std::filesystem::file_size(Path()));
  EXPECT_EQ(reader.BytesRead(), reader.Size());
}

TEST_P(RecordingFiles, TellSinceWhenAndHowManySamplesWereLost) {
  const Event lost{EventKind::Lost, kNow_ns + 9, 0, 12, "", kNow_ns + 3};
  RecordingWriter writer(Path(), {}, kNow_ns);
  writer.Add({0, "A/1/B", "A/1", "B", "long", "A/1/B", std::nullopt});
  writer.Write(lost);
  writer.Write(Event{EventKind::Lost, kNow_ns + 10, std::nullopt, 3, ""});
  EXPECT_EQ(writer.LostInFile(), 15u);
  writer.Finish(kNow_ns + 11, writer.LostInFile());
  RecordingReader reader(Path());
  const std::vector<Entry> entries = EntriesOf(reader);
  EXPECT_EQ(std::get<Event>(entries.at(1)), lost);
  EXPECT_FALSE(std::get<Event>(entries.at(2)).since_ns);
  EXPECT_EQ(reader.GetEnd()->lost, 15u);
}

TEST_P(RecordingFiles, BeginAnotherOneWhenOneCoversItsTime) {
  constexpr std::int64_t kSecond_ns = 1'000'000'000;
  RecordingWriter writer(Path(), {false, "", 0, 10 * kSecond_ns}, kNow_ns);
  writer.Add({0, "A/1/B", "A/1", "B", "long", "A/1/B", std::nullopt});
  for (int second = 0; second < 25; ++second)
    writer.Write(Sample{0, kNow_ns + second * kSecond_ns, SampleRecord(std::in_place_type<CORBA::Long>, second)});
  writer.Finish(kNow_ns + 25 * kSecond_ns, 0);
  ASSERT_EQ(writer.Parts(), 3u);
  for (std::uint32_t part = 1; part <= 3; ++part) {
    RecordingReader reader(PartPath(Path(), part));
    EntriesOf(reader);
    EXPECT_EQ(reader.Samples(), part == 3 ? 5u : 10u);
  }
}

// A bit of a compressed file may say nothing of what is in it: then it is read as the same.
TEST_P(RecordingFiles, OfOneChangedBitAreRefused) {
  WriteExample(Path());
  const std::string text = TextOf(Path());
  RecordingReader original(Path());
  EntriesOf(original);
  std::size_t same = 0;
  for (std::size_t at = 0; at < text.size(); at += 3) {
    std::string changed = text;
    changed[at] = static_cast<char>(changed[at] ^ (1 << (at / 3 % 8)));
    WriteText(Path(), changed);
    try {
      RecordingReader reader(Path());
      EntriesOf(reader);
      same += reader.GetEnd() ? 1 : 0;
      EXPECT_TRUE(!reader.GetEnd() || reader.DigestText() == original.DigestText()) << "byte " << at;
    } catch (const RecordingError&) {}
  }
  EXPECT_LE(same, Path().ends_with(".zst") ? 4u : 0u);
}

TEST_P(RecordingFiles, CutOffAnywhereAreReadUpToThere) {
  WriteExample(Path());
  const std::string text = TextOf(Path());
  std::size_t most = 0;
  for (std::size_t length = 0; length < text.size(); length += 5) {
    WriteText(Path(), text.substr(0, length));
    try {
      RecordingReader reader(Path());
      most = std::max(most, EntriesOf(reader).size());
      EXPECT_FALSE(reader.GetEnd()) << length;
      EXPECT_THAT(reader.CutOff(), HasSubstr("breaks off here")) << length;
    } catch (const RecordingError& error) {
      EXPECT_THAT(error.what(), HasSubstr(":1: is no recording")) << length;
    }
  }
  EXPECT_GT(most, 0u);
}

INSTANTIATE_TEST_SUITE_P(Forms, RecordingFiles, testing::Values("a.jsonl", "a.jsonl.zst"),
                         [](const auto& test) { return test.index == 0 ? "Plain" : "Compressed"; });

TEST(RecordingFile, WithALineMissingIsRefused) {
  const Folder folder;
  const std::string path = folder.File("a.jsonl");
  WriteExample(path);
  std::string text = TextOf(path);
  const std::size_t line = text.find("{\"r\"");
  text.erase(line, text.find('\n', line) - line + 1);
  WriteText(path, text);
  RecordingReader reader(path);
  EXPECT_THROW(EntriesOf(reader), RecordingError);
}

TEST(RecordingFile, WithSomethingBehindItsEndIsRefused) {
  const Folder folder;
  const std::string path = folder.File("a.jsonl");
  WriteExample(path);
  WriteText(path, TextOf(path) + "\n");
  RecordingReader reader(path);
  EXPECT_THROW(EntriesOf(reader), RecordingError);
}

TEST(RecordingFile, IsNotReplacedUnlessAsked) {
  const Folder folder;
  const std::string path = folder.File("a.jsonl");
  WriteText(path, "dear");
  EXPECT_THROW(RecordingWriter(path, {}, kNow_ns), std::system_error);
  EXPECT_EQ(TextOf(path), "dear");
  WriteExample(path, {true, "", 0, 0});
  RecordingReader reader(path);
  EntriesOf(reader);
  EXPECT_TRUE(reader.GetEnd());
}

TEST(RecordingFile, OnAFullDiskSaysSo) {
  EXPECT_THROW(RecordingWriter("/dev/full", {}, kNow_ns), std::system_error);
  EXPECT_THROW(RecordingWriter("/no/such/folder/a.zst", {}, kNow_ns), std::system_error);
}

TEST(RecordingFile, IsOneFromItsFirstMomentOn) {
  const Folder folder;
  const std::string path = folder.File("a.jsonl");
  const RecordingWriter writer(path, {}, kNow_ns);
  RecordingReader reader(path);
  EXPECT_EQ(EntriesOf(reader).size(), 0u);
  EXPECT_FALSE(reader.CutOff().empty());
}

TEST(RecordingFile, BeginsAnotherPartWhenOneIsLargeOrOld) {
  const Folder folder;
  for (const WriterOptions& options : {WriterOptions{false, "", 2000, 0}, WriterOptions{true, "", 0, 10}}) {
    const std::string path = folder.File("a.jsonl");
    RecordingWriter writer(path, options, kNow_ns);
    writer.Add(ReadingNamed("WAKEUP"));
    for (int i = 0; i < 30; ++i) writer.Write(Sample{0, kNow_ns + i, TraceRecord({1, 2, 3})});
    writer.Finish(kNow_ns + 30, 0);
    EXPECT_EQ(writer.Samples(), 30u);
    ASSERT_GE(writer.Parts(), 3u);
    std::string digest;
    std::uint64_t samples = 0;
    for (std::uint32_t part = 1; part <= writer.Parts(); ++part) {
      RecordingReader reader(PartPath(path, part));
      EXPECT_EQ(reader.GetHeader().part, part);
      EXPECT_EQ(reader.GetHeader().continues, digest);
      samples += EntriesOf(reader).size() - 1;
      ASSERT_TRUE(reader.GetEnd());
      EXPECT_EQ(reader.GetEnd()->next,
                part == writer.Parts() ? "" : std::filesystem::path(PartPath("a.jsonl", part + 1)).string());
      digest = reader.GetEnd()->sha256;
    }
    EXPECT_EQ(samples, 30u);
  }
}

TEST(RecordingFile, DoesNotBeginWhereAnotherRecordingsPartIsInTheWay) {
  const Folder folder;
  WriteText(folder.File("a-2.jsonl"), "dear");
  EXPECT_THROW(RecordingWriter(folder.File("a.jsonl"), {false, "", 2000, 0}, kNow_ns), std::system_error);
  EXPECT_FALSE(std::filesystem::exists(folder.File("a.jsonl")));
  RecordingWriter(folder.File("a.jsonl"), {}, kNow_ns);  // one that stays a single file does not mind
}

TEST(RecordingFile, NamesItsPartsBeforeTheEndings) {
  EXPECT_EQ(PartPath("/a.b/c.jsonl.zst", 1), "/a.b/c.jsonl.zst");
  EXPECT_EQ(PartPath("/a.b/c.jsonl.zst", 2), "/a.b/c-2.jsonl.zst");
  EXPECT_EQ(PartPath("c", 3), "c-3");
  EXPECT_EQ(PartPath("x/.c", 2), "x/.c-2");
}

TEST(RecordingWriter, RefusesWhatNoReaderWouldTake) {
  const Folder folder;
  RecordingWriter writer(folder.File("a.jsonl"), {}, kNow_ns);
  writer.Add(ReadingNamed("WAKEUP"));
  EXPECT_THROW(writer.Add(ReadingNamed("WAKEUP")), std::invalid_argument);
  EXPECT_THROW(writer.Write(Sample{1, kNow_ns, TraceRecord({1})}), std::invalid_argument);
  EXPECT_THROW(writer.Write(Sample{0, kNow_ns, SampleRecord()}), std::invalid_argument);
  EXPECT_THROW(writer.Write(Event{EventKind::Reset, kNow_ns, 7, 0, ""}), std::invalid_argument);
}

TEST(ParseLine, SaysWhatIsWrong) {
  const auto reason = [](const std::string& fields) -> std::string {
    const std::string line = SealedLine(fields);
    try {
      ParseLine(std::string_view(line).substr(0, line.size() - 1));
    } catch (const std::invalid_argument& refusal) {
      return refusal.what();
    }
    return "taken";
  };
  EXPECT_THAT(reason("{\"r\":0,\"t\":1"), HasSubstr("\"t\" is not a text"));
  EXPECT_THAT(reason("{\"r\":-1,\"t\":\"2024-05-06T07:08:09.123456789Z\",\"long\":1"), HasSubstr("\"r\""));
  EXPECT_THAT(reason("{\"x\":1"), HasSubstr("neither header"));
  EXPECT_THAT(reason("{\"lumenar_recording\":2"), HasSubstr("format 2"));
  EXPECT_THAT(reason("{\"x\":[[[[[[1]]]]]]"), HasSubstr("nested too deep"));
  EXPECT_THAT(reason("{\"x\":" + std::string(5000, '[')), HasSubstr("nested too deep"));
  EXPECT_THAT(reason("{\"x\":\"\xff\""), HasSubstr("not JSON"));
}

}  // namespace
}  // namespace Lumenar::Recording
