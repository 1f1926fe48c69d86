// SPDX-License-Identifier: Apache-2.0
// Recordings of a running engine, computed again.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <thread>

#include "judge/verify/Path.h"
#include "recording/RecordingWriter.h"
#include "tests/system/mathctl/RecordingsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUsage;
using testing::HasSubstr;

class VerifyTest : public RecordingsFixture {
 protected:
  /// Records objects with their inputs while `feed` runs, until the recording has so many published samples.
  std::string RecordObjects(const Words& objects, std::size_t subscriptions, std::size_t samples,
                            const std::function<void()>& feed) {
    const std::string file = File("proof.jsonl");
    Words words{file, "--reset", "--force", "-n", std::to_string(samples)};
    for (const std::string& object : objects) {
      words.push_back("--with-inputs");
      words.push_back(object);
    }
    const auto record = StartRecord(words, subscriptions);
    EXPECT_TRUE(WaitUntil([&] { return SoFar(file).events.size() >= resets_; })) << record->Error();
    feed();
    EXPECT_EQ(record->WaitForExit(kPatience), kDone) << record->Error();
    return file;
  }

  json ReportOf(const std::string& file, int exit_code) {
    const Outcome outcome = Run({"verify", file, "--json", File("report.json"), "--report", File("report.md")});
    EXPECT_EQ(outcome.exit_code, exit_code) << outcome.out << outcome.error;
    return json::parse(TextOf(File("report.json")));
  }

  /// The same recording with another value in its n-th published sample of a reading, sealed anew.
  static void CopyChanged(const std::string& from, const std::string& to, std::uint32_t reading, int n,
                          const std::function<void(Corvanta::SampleRecord&)>& change) {
    const auto reader = Recording::OpenRecording(from);
    Recording::RecordingWriter writer(to, {}, reader->GetHeader());
    while (auto entry = reader->Next()) {
      if (const auto* info = std::get_if<Recording::ReadingInfo>(&*entry)) writer.Add(*info);
      if (const auto* event = std::get_if<Recording::Event>(&*entry)) writer.Write(*event);
      auto* sample = std::get_if<Recording::Sample>(&*entry);
      if (sample == nullptr) continue;
      if (sample->reading == reading && !sample->present && n-- == 0) change(sample->record);
      writer.Write(*sample);
    }
    writer.Finish(reader->GetEnd()->time_ns, 0);
  }

  static std::uint32_t IndexOf(const std::string& file, const std::string& name) {
    for (const Recording::ReadingInfo& info : Read(file).readings) {
      if (info.name == name) return info.index;
    }
    ADD_FAILURE() << "no " << name;
    return 0;
  }

  /// What a recording has while it is written; nothing before its first line.
  static WholeRecording SoFar(const std::string& file) {
    try {
      return Read(file);
    } catch (const std::runtime_error&) {
      return {};
    }
  }

  static float NumberAt(int i) { return static_cast<float>(i * 37 % 11) - 4.3f; }

  std::size_t resets_ = 0;  // that a recording begins with
};

TEST_F(VerifyTest, EveryOperationOfARunningEngineComesOutBitForBit) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kdBm)), other(bench_, "OTHER", Trace({3, 1, 2}, kdBm));
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, kdBm, -0.1, 0.2));
  LongInput start(bench_, "START", 0), stop(bench_, "STOP", 1);
  Out({"create", "Average", "TRACE"});
  Out({"create", "Peak", "TRACE"});
  Out({"create", "Subtract", "TRACE", "OTHER"});
  Out({"create", "RelativeSubtract", "TRACE", "OTHER"});
  Out({"create", "CumulativeAdd", "TRACE", "START", "STOP"});
  Out({"create", "Average", "LEVEL"});
  Out({"set", "math:0", "SIZE", "3"});
  Out({"set", "math:5", "SIZE", "4"});
  resets_ = 3;
  // 5 inputs, 6 results, 2 SIZEs. A sample of TRACE has 5 results, of OTHER 2, of START 1, of LEVEL 1.
  const std::string file =
      RecordObjects({"math:0", "math:1", "math:2", "math:3", "math:4", "math:5"}, 13, 2 + 20 * (6 + 3 + 2 + 2), [&] {
        for (int i = 0; i < 20; ++i) {
          trace = Trace({NumberAt(i), NumberAt(i + 1), NumberAt(i + 2)}, kdBm, static_cast<unsigned>(i));
          other = Trace({NumberAt(3 * i), NumberAt(i + 5), 1}, kdBm, static_cast<unsigned>(i));
          start = i % 2;
          level = ScalarOf(NumberAt(i), kdBm, -0.1, NumberAt(i) + 5);
        }
      });
  const json report = ReportOf(file, kDone);
  EXPECT_EQ(report["proven"], true) << report.dump(1);
  ASSERT_EQ(report["objects"].size(), 6u);
  for (const json& object : report["objects"]) {
    EXPECT_EQ(object["verdict"], "explained") << object.dump(1);
    EXPECT_GE(object["checked"].get<int>(), 15) << object.dump(1);
  }
  EXPECT_THAT(TextOf(File("report.md")), HasSubstr("Every result that was checked came out bit for bit"));
  EXPECT_THAT(Out({"verify", file}), HasSubstr("explained"));
}

TEST_F(VerifyTest, AnyOrderThatTheEngineHadIsFound) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2}, kdBm)), other(bench_, "OTHER", Trace({2, 1}, kdBm));
  Out({"create", "Subtract", "TRACE", "OTHER"});
  const std::string file = RecordObjects({"math:0"}, 3, 4 * 100, [&] {
    std::thread beside([&] {
      for (int i = 0; i < 100; ++i) other = Trace({NumberAt(i), 0.1f * static_cast<float>(i)}, kdBm);
    });
    for (int i = 0; i < 100; ++i) trace = Trace({NumberAt(i + 3), 0.3f * static_cast<float>(i)}, kdBm);
    beside.join();
  });
  const json report = ReportOf(file, kDone);
  EXPECT_EQ(report["objects"][0]["unexplained"], 0) << report.dump(1);
}

TEST_F(VerifyTest, OneChangedBitIsFound) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, kMilliwatt));
  Out({"create", "Average", "LEVEL"});
  Out({"set", "math:0", "SIZE", "3"});
  resets_ = 1;
  const std::string file = RecordObjects({"math:0"}, 3, 1 + 2 * 12, [&] {
    for (int i = 0; i < 12; ++i) level = ScalarOf(NumberAt(i), kMilliwatt);
  });
  ReportOf(file, kDone);
  for (const std::string reading : {"math:0", "TESTBENCH/1/LEVEL"}) {
    const std::string changed = File("changed.jsonl");
    std::filesystem::remove(changed);
    CopyChanged(file, changed, IndexOf(file, reading), 8,
                [](auto& record) { std::get<Scalar>(record).val *= 1 + 0x1p-48; });
    const Outcome outcome = Run({"verify", changed});
    EXPECT_EQ(outcome.exit_code, kRefused) << reading;
    EXPECT_THAT(outcome.error, HasSubstr("mathctl: math:0 differs: ")) << reading;
    EXPECT_THAT(outcome.out, HasSubstr("differs")) << reading;
  }
  std::string bytes = TextOf(file);
  bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 4);
  WriteFile(File("damaged.jsonl"), bytes);
  const Outcome damaged = Run({"verify", File("damaged.jsonl")});
  EXPECT_EQ(damaged.exit_code, kRefused);
  EXPECT_THAT(damaged.error, HasSubstr("is not whole: "));
}

TEST_F(VerifyTest, AResetThatIsNotInTheRecordingIsAssumedUnlessStrict) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, kMilliwatt));
  Out({"create", "Peak", "LEVEL"});
  resets_ = 1;
  const std::string file = RecordObjects({"math:0"}, 2, 2 * 13, [&] {
    for (int i = 0; i < 6; ++i) level = ScalarOf(9 + i, kMilliwatt);
    ASSERT_TRUE(WaitUntil([&] { return Objects({"get", "math:0"}).at(0)["value"] == 14; }));
    // A sample that the recorded RESET came before for certain: further away than arrivals may be out of order.
    std::this_thread::sleep_for(2 * std::chrono::nanoseconds(Judge::SearchLimits{}.disorder_ns));
    level = ScalarOf(15, kMilliwatt);
    ASSERT_TRUE(WaitUntil([&] { return Objects({"get", "math:0"}).at(0)["value"] == 15; }));
    Out({"reset", "math:0"});
    for (int i = 0; i < 6; ++i) level = ScalarOf(i, kMilliwatt);
  });
  EXPECT_EQ(ReportOf(file, kDone)["objects"][0]["reset_assumed"], 1);
  EXPECT_EQ(Run({"verify", file, "--strict"}).exit_code, kRefused);
}

TEST_F(VerifyTest, WhatMakesNoSenseIsOneLine) {
  EXPECT_EQ(Run({"verify"}).exit_code, kUsage);
  const auto complaint = [&](const Words& words) {
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.exit_code, kRefused) << testing::PrintToString(words);
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
    return outcome.error;
  };
  EXPECT_THAT(complaint({"verify", File("nowhere.jsonl")}), HasSubstr("nowhere.jsonl: No such file or directory"));
  WriteFile(File("text"), "no recording\n");
  EXPECT_THAT(complaint({"verify", File("text")}), HasSubstr("text:1: "));
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, kMilliwatt));
  const auto record = StartRecord({File("bare.jsonl"), "LEVEL", "-n", "1"}, 1);
  ASSERT_TRUE(WaitUntil([&] { return SoFar(File("bare.jsonl")).present.size() == 1; }));
  level = ScalarOf(2, kMilliwatt);
  ASSERT_EQ(record->WaitForExit(kPatience), kDone);
  EXPECT_THAT(complaint({"verify", File("bare.jsonl")}), HasSubstr("there is no math object in this recording"));
  EXPECT_THAT(complaint({"verify", File("bare.jsonl"), "--report", File("no/folder.md")}), HasSubstr("no/folder.md: "));
  EXPECT_THAT(complaint({"verify", File("bare.jsonl"), "--json", "/dev/full"}), HasSubstr("/dev/full: No space left"));
}

}  // namespace
}  // namespace Lumenar::Test
