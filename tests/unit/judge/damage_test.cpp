// SPDX-License-Identifier: Apache-2.0
// One changed bit: of a file, whose lines and digest tell; and of a value in a recording that was sealed anew, which
// the computation tells.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <random>

#include "tests/support/RecordedObject.h"

namespace Lumenar::Judge {
namespace {

std::string BytesOf(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void WriteBytes(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

/// A check of these bytes proves them.
bool IsProven(const std::string& path, const std::string& bytes) {
  WriteBytes(path, bytes);
  try {
    return RecordingCheck().Run({path}).IsProven();
  } catch (const std::runtime_error&) {
    return false;
  }
}

class Recorded {
 public:
  explicit Recorded(const std::string& type, bool traces) : object_(type, Present(type, traces)) {
    object_.RecordingBeginsWithSize(1);
    object_.RecordPresent(Present(type, traces));
    for (int i = 0; i < 24; ++i) object_.Sample(inputs_ == 2 ? static_cast<std::size_t>(i % 2) : 0, Next(traces));
  }

  RecordedObject& Object() { return object_; }

 private:
  Datum Next(bool traces) {
    const auto number = [this] { return std::uniform_real_distribution<double>(1, 20)(engine_); };
    if (!traces) return ScalarOf(number(), kWatts, -number() / 100, number() / 100);
    return TraceOf({static_cast<float>(number()), static_cast<float>(number())}, kdBm);
  }

  std::vector<Datum> Present(const std::string& type, bool traces) {
    inputs_ = type == "Average" || type == "Peak" ? 1 : 2;
    if (present_.empty()) present_.assign(inputs_, Next(traces));
    return present_;
  }

  std::mt19937 engine_{7};
  std::size_t inputs_ = 1;
  std::vector<Datum> present_;
  RecordedObject object_;
};

/// Flips a bit of every number of a record, one after the other; false when there is no such bit.
using Flip = std::function<void(Corvanta::SampleRecord&)>;

template <class T, class Bits>
void FlipBit(T& number, int bit) {
  number = std::bit_cast<T>(static_cast<Bits>(std::bit_cast<Bits>(number) ^ Bits{1} << bit));
}

std::vector<Flip> FlipsOfTrace() {
  std::vector<Flip> flips;
  for (const int bit : {0, 1, 7, 15, 22, 23, 27, 30, 31}) {
    flips.push_back([bit](auto& record) {
      auto& trace = std::get<Trace_record>(record);
      FlipBit<float, std::uint32_t>(trace.samples[1], bit);
    });
  }
  flips.push_back([](auto& record) { std::get<Trace_record>(record).sequence_number ^= 1; });
  flips.push_back([](auto& record) { std::get<Trace_record>(record).flags ^= 1; });
  flips.push_back([](auto& record) { std::get<Trace_record>(record).header[11] ^= 1; });
  flips.push_back([](auto& record) { FlipBit<double, std::uint64_t>(std::get<Trace_record>(record).x_step, 0); });
  flips.push_back([](auto& record) { std::get<Trace_record>(record).units.is_dB ^= 1; });
  flips.push_back([](auto& record) { std::get<Trace_record>(record).units.base_power ^= 1; });
  flips.push_back([](auto& record) { std::get<Trace_record>(record).units.slots[0].unit ^= 1; });
  flips.push_back([](auto& record) { std::get<Trace_record>(record).units.slots[0].exponent ^= 2; });
  return flips;
}

std::vector<Flip> FlipsOfScalar() {
  std::vector<Flip> flips;
  for (const int bit : {0, 1, 30, 51, 52, 60, 62, 63}) {
    flips.push_back([bit](auto& record) { FlipBit<double, std::uint64_t>(std::get<Scalar_record>(record).val, bit); });
  }
  for (const int bit : {0, 51, 63}) {
    flips.push_back(
        [bit](auto& record) { FlipBit<double, std::uint64_t>(std::get<Scalar_record>(record).minus_err, bit); });
    flips.push_back(
        [bit](auto& record) { FlipBit<double, std::uint64_t>(std::get<Scalar_record>(record).plus_err, bit); });
  }
  flips.push_back([](auto& record) { std::get<Scalar_record>(record).units.is_dB ^= 1; });
  flips.push_back([](auto& record) { std::get<Scalar_record>(record).units.base_power ^= 1; });
  return flips;
}

class JudgeDamage : public testing::TestWithParam<std::tuple<std::string, bool>> {
 protected:
  JudgeDamage() : recorded_(std::get<0>(GetParam()), std::get<1>(GetParam())) {}

  /// The n-th sample of the result, or of the first input, that was published.
  Corvanta::SampleRecord& RecordOf(bool of_result, int n) {
    const std::uint32_t wanted = of_result ? recorded_.Object().ResultReading() : 0;
    for (Recording::Entry& entry : recorded_.Object().Entries()) {
      auto* sample = std::get_if<Recording::Sample>(&entry);
      if (sample != nullptr && sample->reading == wanted && !sample->present && n-- == 0) return sample->record;
    }
    throw std::out_of_range("no such sample");
  }

  std::vector<Flip> Flips() const { return std::get<1>(GetParam()) ? FlipsOfTrace() : FlipsOfScalar(); }

  Recorded recorded_;
};

TEST_P(JudgeDamage, OfNoneIsExplained) { EXPECT_TRUE(recorded_.Object().Check().IsProven()); }

TEST_P(JudgeDamage, OfEachKindOfBitInAResultIsADifference) {
  int number = 0;
  for (const Flip& flip : Flips()) {
    Corvanta::SampleRecord& record = RecordOf(true, 8);
    const Corvanta::SampleRecord whole = record;
    flip(record);
    const Report report = recorded_.Object().Check();
    EXPECT_FALSE(report.IsProven()) << "flip " << number;
    EXPECT_EQ(report.objects.at(0).findings.CountOf(Remark::Unexplained), 1u) << "flip " << number;
    record = whole;
    ++number;
  }
}

/// Of an input what no result depends on may change: its lowest bits may be rounded away, and a Peak does not tell of a
/// smaller sample.
TEST_P(JudgeDamage, OfTheNumbersOfAnInputIsADifference) {
  if (std::get<0>(GetParam()) == "Peak") return;
  const std::vector<Flip> flips = Flips();
  for (const std::size_t number : {3u, 4u, 5u, 6u, 7u}) {
    Corvanta::SampleRecord& record = RecordOf(false, 6);
    const Corvanta::SampleRecord whole = record;
    flips.at(number)(record);
    EXPECT_FALSE(recorded_.Object().Check().IsProven()) << "flip " << number;
    record = whole;
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, JudgeDamage,
                         testing::Combine(testing::Values("Subtract", "RelativeSubtract", "Average", "Peak"),
                                          testing::Values(true)));
INSTANTIATE_TEST_SUITE_P(OfScalars, JudgeDamage,
                         testing::Combine(testing::Values("Subtract", "Average", "Peak"), testing::Values(false)));

/// Each bit of a small file.
TEST(JudgeFileDamage, OfAnyBitIsFound) {
  const TemporaryFolder folder;
  RecordedObject object("Peak", {ScalarOf(1, kWatts)});
  for (int i = 0; i < 4; ++i) object.Sample(0, ScalarOf(i, kWatts));
  object.Write(folder.File("a.jsonl"));
  const std::string bytes = BytesOf(folder.File("a.jsonl"));
  ASSERT_TRUE(IsProven(folder.File("b.jsonl"), bytes));
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string damaged = bytes;
      damaged[at] = static_cast<char>(damaged[at] ^ 1 << bit);
      ASSERT_FALSE(IsProven(folder.File("b.jsonl"), damaged)) << "byte " << at << " bit " << bit;
    }
  }
}

TEST(JudgeFileDamage, AFileThatBreaksOffIsNotWhole) {
  const TemporaryFolder folder;
  RecordedObject object("Peak", {ScalarOf(1, kWatts)});
  for (int i = 0; i < 4; ++i) object.Sample(0, ScalarOf(i, kWatts));
  object.Write(folder.File("a.jsonl"));
  const std::string bytes = BytesOf(folder.File("a.jsonl"));
  for (std::size_t length = 0; length < bytes.size(); length += 7) {
    ASSERT_FALSE(IsProven(folder.File("b.jsonl"), bytes.substr(0, length))) << length;
  }
}

/// Recordings that no recorder writes.
class Nonsense {
 public:
  explicit Nonsense(unsigned seed) : engine_(seed) {}

  int Pick(int below) { return static_cast<int>(engine_() % static_cast<unsigned>(below)); }

  template <class T>
  T OneOf(std::initializer_list<T> choices) {
    return choices.begin()[Pick(static_cast<int>(choices.size()))];
  }

  void Write(const std::string& path) {
    Recording::RecordingWriter writer(path, {}, 1);
    const std::string type =
        OneOf<std::string>({"Subtract", "RelativeSubtract", "Average", "Peak", "CumulativeAdd", "?"});
    std::vector<std::string> inputs(static_cast<std::size_t>(Pick(4)));
    for (std::string& input : inputs) input = OneOf<std::string>({"A", "B", "C", "math:0", "nowhere"});
    for (const char* name : {"A", "B", "C"}) writer.Add({0, name, "", "", "BasicTrace", "", std::nullopt});
    const std::string kind = OneOf<std::string>({"BasicTrace", "ValueDouble", "long", ""});
    writer.Add({0, "math:0", "", "", kind, "", Recording::ObjectInfo{0, type, inputs, OneOf({0, 1, 3, 99, 100, -1})}});
    for (int i = 0; i < 60; ++i) Pick(6) == 0 ? WriteEvent(writer) : WriteSample(writer);
    writer.Finish(Time(), static_cast<std::uint64_t>(Pick(2)));
  }

 private:
  std::int64_t Time() {
    using Limits = std::numeric_limits<std::int64_t>;
    return Pick(8) == 0 ? OneOf<std::int64_t>({0, Limits::max(), -1})
                        : now_ns_ += OneOf<std::int64_t>({0, 1, 1000000, 40000000000});
  }

  void WriteEvent(Recording::RecordingWriter& writer) {
    Recording::Event event;
    event.kind = static_cast<Recording::EventKind>(Pick(6));
    event.time_ns = Time();
    if (Pick(3) != 0) event.reading = static_cast<std::uint32_t>(Pick(4));
    event.value = OneOf<std::int64_t>({1, 2, 99, 0, -5, 1LL << 40});
    writer.Write(event);
  }

  Units AnyUnits() {
    Units units = UnitOf(OneOf({0, 1, 1, 1, 2, 11, 18, 31, -1}), OneOf({0, 1, 1, 2, -1, 2147483647}),
                         OneOf({0, 0, -3, 400, -2147483647}), Pick(2) == 0);
    if (Pick(8) == 0) units.slots[static_cast<std::size_t>(1 + Pick(4))] = {OneOf({1, 2, 7}), OneOf({1, -2})};
    return units;
  }

  double AnyNumber() {
    return OneOf({0.0, -0.0, 1.0, 2.5, -3.0, 1e300, std::numeric_limits<double>::quiet_NaN(), HUGE_VAL});
  }

  void WriteSample(Recording::RecordingWriter& writer) {
    Recording::Sample sample;
    sample.reading = static_cast<std::uint32_t>(Pick(4));
    sample.time_ns = Time();
    sample.present = Pick(10) == 0;
    std::vector<float> samples(static_cast<std::size_t>(Pick(4)));
    for (float& number : samples) number = static_cast<float>(AnyNumber());
    const int kind = Pick(8);
    if (kind == 0) sample.record = OneOf<CORBA::Long>({0, -1, 2147483647});
    if (kind == 1) sample.record = true;
    if (kind == 2) sample.record = std::get<Scalar_record>(ScalarOf(AnyNumber(), AnyUnits(), AnyNumber(), AnyNumber()));
    if (kind > 2) sample.record = std::get<Trace_record>(TraceOf(samples, AnyUnits()));
    writer.Write(sample);
  }

  std::mt19937 engine_;
  std::int64_t now_ns_ = 1'700'000'000'000'000'000;
};

TEST(JudgeFileDamage, NonsenseIsCheckedToItsEnd) {
  const TemporaryFolder folder;
  for (unsigned seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    const std::string path = folder.File(std::to_string(seed) + ".jsonl");
    Nonsense(seed).Write(path);
    const Report report = RecordingCheck().Run({path});
    ASSERT_EQ(report.objects.size(), 1u);
    EXPECT_FALSE(MarkdownOf(report).empty());
    EXPECT_FALSE(JsonOf(report).empty());
  }
}

}  // namespace
}  // namespace Lumenar::Judge
