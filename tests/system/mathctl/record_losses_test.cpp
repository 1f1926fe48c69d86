// SPDX-License-Identifier: Apache-2.0
// Samples that a recording lacks stand in it, at their place, and whoever reads it knows.
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <numeric>

#include "recording/RecordingWriter.h"
#include "tests/system/mathctl/RecordingsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Recording::Event;
using Recording::EventKind;
using testing::HasSubstr;

IsolatedPlatform::Options WithQueue(const std::string& samples) {
  IsolatedPlatform::Options options;
  options.topic_manager_arguments = {"--queue", samples};
  return options;
}

class RecordLossesTest : public RecordingsFixture {
 protected:
  using RecordingsFixture::RecordingsFixture;

  static std::vector<Event> EventsOf(const WholeRecording& whole, EventKind kind) {
    std::vector<Event> events;
    std::copy_if(whole.events.begin(), whole.events.end(), std::back_inserter(events),
                 [kind](const Event& event) { return event.kind == kind; });
    return events;
  }

  static std::vector<Event> GapsOfAll(const WholeRecording& whole) {
    std::vector<Event> gaps = EventsOf(whole, EventKind::Gap);
    std::erase_if(gaps, [](const Event& gap) { return gap.reading.has_value(); });
    return gaps;
  }

  bool WaitForEvent(const std::string& file, EventKind kind) {
    return WaitUntil([&] { return !EventsOf(Read(file), kind).empty(); }, kPatience);
  }

  /// Publishes other and other values until `so` holds: numbers that rise by equal steps, behind a gap the hardest to tell
  /// apart.
  static bool PublishUntil(ScalarInput& input, const std::function<bool()>& so) {
    int next = 0;
    return WaitUntil(
        [&] {
          input = ScalarOf(++next, Value::C_Watts);
          return so();
        },
        kPatience);
  }

  /// How many samples the topic manager has delivered to the subscriber of a topic.
  std::uint64_t Delivered(const std::string& topic) {
    const CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
    const Corvanta::DDS_Manager_var manager = Corvanta::DDS_Manager::_narrow(object);
    const Corvanta::SubscriptionStatusSeq_var all = manager->Subscriptions();
    for (CORBA::ULong i = 0; i < all->length(); ++i)
      if (topic == all.in()[i].topic.in()) return all.in()[i].delivered;
    return 0;
  }

  ScalarInput level_{bench_, "LEVEL", ScalarOf(0, Value::C_Watts)};
};

class SmallQueueTest : public RecordLossesTest {
 protected:
  SmallQueueTest() : RecordLossesTest(WithQueue("8")) {}
};

class LargeQueueTest : public RecordLossesTest {
 protected:
  LargeQueueTest() : RecordLossesTest(WithQueue("100000")) {}
};

TEST_F(RecordLossesTest, AManagerThatWasStartedAgainIsAGapThatEverybodyKnowsOf) {
  Out({"create", "Average", "LEVEL"});
  Out({"set", "math:0", "SIZE", "3"});
  const std::string file = File("a.jsonl");
  const auto record = StartRecord({file, "--with-inputs", "math:0", "--reset"}, 3);
  ASSERT_TRUE(PublishUntil(level_, [&] { return Read(file).SamplesOf(1).size() >= 8; })) << record->Error();
  platform_.KillTopicManager();
  platform_.StartTopicManager();
  ASSERT_TRUE(PublishUntil(level_, [&] { return GapsOfAll(Read(file)).size() == 2; })) << record->Error();
  const std::size_t before = Read(file).SamplesOf(1).size();
  ASSERT_TRUE(PublishUntil(level_, [&] { return Read(file).SamplesOf(1).size() >= before + 8; })) << record->Error();
  record->Signal(SIGINT);
  ASSERT_EQ(record->WaitForExit(kPatience), kDone);
  EXPECT_THAT(record->Error(), HasSubstr("samples may be missing before this moment: the topic manager "));

  const WholeRecording whole = Read(file);
  const std::vector<Event> gaps = GapsOfAll(whole);
  ASSERT_EQ(gaps.size(), 2u) << "an engine may have lost samples for longer than the recorder";
  EXPECT_EQ(gaps[0].text, "the topic manager was started again");
  ASSERT_TRUE(gaps[0].since_ns);
  EXPECT_LE(*gaps[0].since_ns, gaps[0].time_ns);
  EXPECT_EQ(gaps[1].since_ns, gaps[0].since_ns);
  EXPECT_FALSE(EventsOf(whole, EventKind::Size).empty()) << "SIZE may have been changed meanwhile: it is asked for";

  const Outcome verified = Run({"verify", file, "--json", File("proof.json")});
  EXPECT_EQ(verified.exit_code, kDone) << verified.out << verified.error;
  EXPECT_GE(json::parse(TextOf(File("proof.json")))["objects"][0]["interrupted"], 1);
  const Outcome strict = Run({"verify", file, "--strict"});
  EXPECT_EQ(strict.exit_code, kRefused);
  EXPECT_THAT(strict.error, HasSubstr("math:0 is not proven without a gap: "));
  Out({"convert", file, File("b.csv")});
  Out({"convert", File("b.csv"), File("c.jsonl")});
  EXPECT_EQ(TextOf(File("c.jsonl")), TextOf(file)) << "byte for byte";
  EXPECT_THAT(Run({"replay", file, "--speed", "0"}).error, HasSubstr("samples may be missing at "));
}

TEST_F(SmallQueueTest, WhatTheTopicManagerDroppedIsCountedAtItsPlace) {
  const std::string file = File("a.jsonl");
  const auto record = StartRecord({file, "LEVEL", "--json"}, 1);
  ASSERT_TRUE(PublishUntil(level_, [&] { return !Read(file).samples.empty(); })) << record->Error();
  record->Signal(SIGSTOP);
  for (int i = 0; i < 100; ++i) level_ = ScalarOf(1000 + i, Value::C_Watts);
  record->Signal(SIGCONT);
  ASSERT_TRUE(WaitForEvent(file, EventKind::Lost)) << record->Error();
  record->Signal(SIGINT);
  ASSERT_EQ(record->WaitForExit(kPatience), kDone);

  const WholeRecording whole = Read(file);
  const std::vector<Event> losses = EventsOf(whole, EventKind::Lost);
  const auto lost =
      static_cast<std::uint64_t>(std::accumulate(losses.begin(), losses.end(), std::int64_t{0},
                                                 [](std::int64_t sum, const Event& one) { return sum + one.value; }));
  EXPECT_GE(lost, 50u) << "of a hundred, eight wait, and some are on their way";
  EXPECT_LE(lost, 100u);
  EXPECT_EQ(whole.end.lost, lost);
  EXPECT_EQ(ObjectsIn(record->Out()).at(0)["lost"], lost);
  for (const Event& loss : losses) {
    EXPECT_EQ(loss.reading, 0u);
    EXPECT_TRUE(loss.since_ns);
  }
  EXPECT_THAT(record->Error(), HasSubstr(std::to_string(lost) + " samples were lost"));
  EXPECT_THAT(Run({"replay", file, "--speed", "0"}).error,
              HasSubstr(std::to_string(lost) + " samples were lost when this was recorded"));
}

// The file is a pipe, so that the recorder is as slow as its reader.
TEST_F(LargeQueueTest, WhatTheRecorderWasTooSlowForIsCountedAtItsPlace) {
  constexpr int kQueued = 4096, kMore = 500;
  const std::string pipe = File("pipe.jsonl"), file = File("a.jsonl");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const auto record = StartRecord({pipe, "LEVEL", "-n", "100"}, 1);
  for (int i = 0; i < kQueued + kMore; ++i) level_ = ScalarOf(i, Value::C_Watts);
  ASSERT_TRUE(WaitUntil([&] { return Delivered("TESTBENCH/1/LEVEL") == kQueued + kMore; }, kPatience));
  ASSERT_TRUE(record->IsRunning()) << record->Error();
  WriteFile(file, TextOf(pipe));
  ASSERT_EQ(record->WaitForExit(kPatience), kDone) << record->Error();

  const WholeRecording whole = Read(file);
  ASSERT_TRUE(whole.ended);
  ASSERT_EQ(whole.events.size(), 1u);
  EXPECT_EQ(whole.events[0].kind, EventKind::Lost);
  EXPECT_EQ(whole.events[0].reading, 0u);
  EXPECT_EQ(whole.events[0].value, kMore);
  ASSERT_EQ(whole.samples.size(), 100u);
  EXPECT_EQ(std::get<Scalar>(whole.samples[0].record).val, kMore) << "the oldest are lost";
  EXPECT_EQ(whole.events[0].time_ns, whole.samples[0].time_ns) << "right before the next one";
}

TEST_F(RecordLossesTest, BeginsAnotherFileWhenOneCoversItsTime) {
  const std::string file = File("a.jsonl");
  const auto record = StartRecord({file, "LEVEL", "--rotate-time", "0.2", "--json"}, 1);
  const auto has_three = [&] { return std::filesystem::exists(Recording::PartPath(file, 3)); };
  ASSERT_TRUE(PublishUntil(level_, has_three)) << record->Error();
  record->Signal(SIGINT);
  ASSERT_EQ(record->WaitForExit(kPatience), kDone) << record->Error();
  const auto parts = ObjectsIn(record->Out()).at(0)["parts"].get<std::uint32_t>();
  ASSERT_GE(parts, 3u);
  std::string digest;
  double last = 0;
  for (std::uint32_t part = 1; part <= parts; ++part) {
    const std::string path = Recording::PartPath(file, part);
    EXPECT_EQ(Recording::OpenRecording(path)->GetHeader().continues, digest) << part;
    const WholeRecording whole = Read(path);
    ASSERT_TRUE(whole.ended) << part;
    digest = whole.end.sha256;
    for (const Recording::Sample& sample : whole.samples) EXPECT_EQ(std::get<Scalar>(sample.record).val, ++last);
    if (part == parts) break;
    EXPECT_GE(whole.end.time_ns - Recording::OpenRecording(path)->GetHeader().started_ns, 200'000'000) << part;
    EXPECT_EQ(whole.end.next, std::filesystem::path(Recording::PartPath(file, part + 1)).filename());
  }
  ExpectRefused({{"record", File("b.jsonl"), "LEVEL", "--rotate-time", "0"}, Mathctl::kUsage, "--rotate-time"});
  ExpectRefused({{"record", File("b.jsonl"), "LEVEL", "--rotate-time", "long"}, Mathctl::kUsage, "--rotate-time"});
}

}  // namespace
}  // namespace Lumenar::Test
