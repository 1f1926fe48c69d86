// SPDX-License-Identifier: Apache-2.0
#include "recording/csv.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/unit/recording/recording_samples.h"

namespace Lumenar::Recording {
namespace {

using testing::HasSubstr;

void ToCsv(const std::string& from, const std::string& to) {
  RecordingReader reader(from);
  CsvWriter writer(to, true, reader.GetHeader(), 3);
  while (const auto entry = reader.Next()) writer.Write(*entry);
  writer.Finish(reader.GetEnd()->time_ns, reader.GetEnd()->lost, reader.GetEnd()->next);
}

void FromCsv(CsvReader& reader, const std::string& to) {
  RecordingWriter writer(to, {true, "", 0, 0}, reader.GetHeader());
  while (const auto entry = reader.Next()) {
    if (const auto* reading = std::get_if<ReadingInfo>(&*entry)) writer.Add(*reading);
    if (const auto* sample = std::get_if<Sample>(&*entry)) writer.Write(*sample);
    if (const auto* event = std::get_if<Event>(&*entry)) writer.Write(*event);
  }
  writer.Finish(reader.GetEnd()->time_ns, reader.GetEnd()->lost, reader.GetEnd()->next);
}

class Csv : public testing::Test {
 protected:
  Csv() {
    WriteExample(recording_, {false, "a comment", 0, 0});
    ToCsv(recording_, csv_);
  }

  std::string ReasonOf(const std::string& text) const {
    WriteText(csv_, text);
    try {
      CsvReader reader(csv_);
      while (reader.Next()) {}
      return reader.Changed() ? "changed" : "taken";
    } catch (const RecordingError& error) {
      return error.what();
    }
  }

  const Folder folder_;
  const std::string recording_ = folder_.File("a.jsonl");
  const std::string csv_ = folder_.File("a.csv");
};

TEST_F(Csv, AndBackIsTheSameByteForByte) {
  CsvReader reader(csv_);
  const std::string back = folder_.File("b.jsonl");
  FromCsv(reader, back);
  EXPECT_FALSE(reader.Changed());
  EXPECT_EQ(TextOf(back), TextOf(recording_));
}

TEST_F(Csv, IsReadableBySpreadsheets) {
  const std::string text = TextOf(csv_);
  EXPECT_THAT(text,
              HasSubstr("\ntime,reading,kind,present,units,units_fields,value,minus_err,plus_err,sequence_number,flags,"
                        "header,x_step,points,p0,p1,p2\n"));
  EXPECT_THAT(text, HasSubstr("2024-05-06T07:08:09.123456793Z,WAKEUP,BasicTrace,,dBm,,,,,7,2147483649,"));
  EXPECT_THAT(text, HasSubstr(",0.1,3,nan:ffc12345,inf,1e-45\n"));
  EXPECT_THAT(text, HasSubstr(",WAKEUP,ValueDouble,,W,,0.1,-0,1e+300,,,,,\n"));
}

TEST_F(Csv, TakesLineEndsOfOtherSystems) {
  std::string text = TextOf(csv_);
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) text.insert(at, 1, '\r');
  EXPECT_EQ(ReasonOf(text), "taken");
}

TEST_F(Csv, ThatWasEditedIsTakenAndSaysSo) {
  std::string text = TextOf(csv_);
  const std::size_t at = text.find(",-0,1e+300");
  text.replace(at, 3, ",-1");
  EXPECT_EQ(ReasonOf(text), "changed");
}

TEST_F(Csv, ThatCannotBeReadSaysWhere) {
  const std::string text = TextOf(csv_);
  const std::string start = text.substr(0, text.find("2024-05-06T07:08:09.123456791Z"));
  const auto lines = std::to_string(std::count(start.begin(), start.end(), '\n') + 1);
  EXPECT_THAT(ReasonOf(""), HasSubstr(":1: is no recording as CSV"));
  EXPECT_THAT(ReasonOf("a,b\n"), HasSubstr(":1: is no recording as CSV"));
  EXPECT_THAT(ReasonOf(start), HasSubstr(":" + lines + ": the recording breaks off"));
  EXPECT_THAT(ReasonOf(start + "x\n"), HasSubstr(":" + lines + ": is not a time"));
  const std::string time = "2024-05-06T07:08:09.123456789Z,";
  EXPECT_THAT(ReasonOf(start + time + "OTHER,long,,,,1,,,,,,,\n"), HasSubstr("not introduced"));
  EXPECT_THAT(ReasonOf(start + time + "WAKEUP,long,,,,1.5,,,,,,,\n"), HasSubstr("not the number"));
  EXPECT_THAT(ReasonOf(start + time + "WAKEUP,long,,,,1\n"), HasSubstr("too few cells"));
  EXPECT_THAT(ReasonOf(start + time + "WAKEUP,long,,,,1,,,,,,,,1\n"), HasSubstr("too many cells"));
  EXPECT_THAT(ReasonOf(start + time + "WAKEUP,text,,,,1,,,,,,,\n"), HasSubstr("kind"));
  EXPECT_THAT(ReasonOf(start + time + "\"WAKEUP,long\n"), HasSubstr("quotation mark"));
  EXPECT_THAT(ReasonOf(start + time + "WAKEUP,BasicTrace,,W,,,,,1,1,1 2,0,1,1\n"), HasSubstr("12 words"));
  EXPECT_THAT(ReasonOf(start + time + "WAKEUP,BasicTrace,,W,,,,,1,1,0 0 0 0 0 0 0 0 0 0 0 0,0,4000000000,1\n"),
              HasSubstr("too many points"));
}

TEST_F(Csv, QuotesNamesThatNeedIt) {
  const std::string odd = folder_.File("odd.jsonl"), csv = folder_.File("odd.csv"), back = folder_.File("back.jsonl");
  RecordingWriter writer(odd, {}, kNow_ns);
  writer.Add(ReadingNamed("a, \"b\""));
  writer.Write(Sample{0, kNow_ns, SampleRecord(std::in_place_type<bool>, true)});
  writer.Finish(kNow_ns, 0);
  ToCsv(odd, csv);
  CsvReader reader(csv);
  FromCsv(reader, back);
  EXPECT_EQ(TextOf(back), TextOf(odd));
}

}  // namespace
}  // namespace Lumenar::Recording
