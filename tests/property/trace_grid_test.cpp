// SPDX-License-Identifier: Apache-2.0
// Every operation on a trace, on each pair of unit forms, at each size from 0 to 67, on long traces, and in buffers
// that begin anywhere: the engine against the judge, bit for bit.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/trace_steps.h"

namespace Lumenar::Test {
namespace {

using Sample = Value::Value_object<float>;

/// Samples of a trace in a buffer that begins `offset` floats behind a cache line, with sentinels on both sides.
class MovedSamples {
 public:
  MovedSamples(BT_DATA& record, std::size_t offset)
      : count_(record.samples.length()), storage_(count_ + offset + 3 * kLine, kSentinel) {
    const auto line = reinterpret_cast<std::uintptr_t>(storage_.data() + kLine) / kLineBytes * kLineBytes;
    begin_ = reinterpret_cast<float*>(line) + offset;
    if (count_ > 0) std::copy_n(record.samples.get_buffer(), count_, begin_);
    record.samples.replace(static_cast<CORBA::ULong>(count_), static_cast<CORBA::ULong>(count_), begin_, false);
  }

  bool SentinelsStand() const {
    const auto stands = [](float number) { return number == kSentinel; };
    const float* const storage_end = storage_.data() + storage_.size();
    return std::all_of(storage_.data(), static_cast<const float*>(begin_), stands) &&
           std::all_of(static_cast<const float*>(begin_) + count_, storage_end, stands);
  }

 private:
  static constexpr std::size_t kLineBytes = 64;
  static constexpr std::size_t kLine = kLineBytes / sizeof(float);
  static constexpr float kSentinel = 12345.678f;

  std::size_t count_;
  std::vector<float> storage_;
  float* begin_;
};

/// The index of the first sample whose bits differ, -2 for different units or sizes, -1 for equal records.
int Difference(const BT_DATA& got, const BT_DATA& expected) {
  if (got.samples.length() != expected.samples.length()) return -2;
  if (VALUE::UnitsFromCorba(got.units) != VALUE::UnitsFromCorba(expected.units)) return -2;
  for (CORBA::ULong i = 0; i < got.samples.length(); ++i) {
    if (Bits(got.samples[i]) != Bits(expected.samples[i])) return static_cast<int>(i);
  }
  return -1;
}

bool SameValues(const std::vector<Sample>& got, const std::vector<Judge::Trace::Sample>& expected) {
  return std::equal(got.begin(), got.end(), expected.begin(), expected.end(), Same<float>);
}

class TraceGrid : public testing::TestWithParam<int> {
 protected:
  void Compare(int operation, const BT_DATA& first, const BT_DATA& second) {
    Pair a(first, judged_lines_);
    Pair b(second, judged_lines_);
    const MovedSamples of_a(a.trace.record, static_cast<std::size_t>(random_.Pick(16)));
    const MovedSamples of_b(b.trace.record, static_cast<std::size_t>(random_.Pick(16)));
    if (random_.Pick(2) == 0) {  // the sum over a range looks at the values as of the last refresh
      const auto refresh = [](const auto& trace) {
        trace.UpdateValues();
        return std::string();
      };
      Outcome([&] { return refresh(a.trace); });
      Outcome([&] { return refresh(a.judged); });
    }
    const int last = static_cast<int>(first.samples.length()) - random_.Pick(3);
    const std::vector<int> numbers{random_.Pick(200) - 99, random_.Pick(5) - 1, last};
    const std::string expected = Outcome([&] { return Step(operation, a.judged, b.judged, second, numbers); });
    ASSERT_EQ(Outcome([&] { return Step(operation, a.trace, b.trace, second, numbers); }), expected);
    ASSERT_EQ(written_.Take(), judged_lines_.str());
    judged_lines_.str("");
    for (Pair* pair : {&a, &b}) {
      ASSERT_EQ(-1, Difference(pair->trace.record, pair->judged.record));
      const bool stale = pair->judged.refresh_needed;  // looking at a stale list would refresh it
      ASSERT_TRUE(stale || SameValues(pair->trace.SampleValues(), pair->judged.list));
    }
    ASSERT_TRUE(of_a.SentinelsStand() && of_b.SentinelsStand());
  }

  RandomTraces random_{static_cast<unsigned>(GetParam()) + 100};
  std::ostringstream judged_lines_;
  CapturedOutput written_;
};

TEST_P(TraceGrid, EachPairOfUnitFormsGivesTheBitsOfTheRule) {
  const std::vector<Value::Units> forms = UnitForms();
  int size = 0;
  for (const Value::Units& form : forms) {
    for (const Value::Units& other_form : forms) {
      SCOPED_TRACE(testing::Message() << "size " << size);
      ASSERT_NO_FATAL_FAILURE(Compare(GetParam(), random_.Trace(size, form), random_.Trace(size, other_form)));
      ASSERT_NO_FATAL_FAILURE(
          Compare(GetParam(), random_.OrdinaryTrace(size, form), random_.OrdinaryTrace(size, other_form)));
      size = (size + 1) % 68;
    }
  }
}

TEST_P(TraceGrid, LongTracesGiveTheBitsOfTheRule) {
  const std::vector<Value::Units> forms = UnitForms();
  for (const int size : {1001, 10001}) {
    for (const int form : {0, 1, 2, 3}) {
      const Value::Units& units = forms[static_cast<std::size_t>(form)];
      const Value::Units& others = forms[static_cast<std::size_t>(random_.Pick(kPowerForms))];
      SCOPED_TRACE(testing::Message() << "size " << size << " form " << form);
      ASSERT_NO_FATAL_FAILURE(Compare(GetParam(), random_.Trace(size, units), random_.Trace(size, units)));
      ASSERT_NO_FATAL_FAILURE(Compare(GetParam(), random_.Trace(size, units), random_.Trace(size, others)));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, TraceGrid, testing::Range(0, kOperations));

}  // namespace
}  // namespace Lumenar::Test
