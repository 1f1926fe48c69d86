// SPDX-License-Identifier: Apache-2.0
// The operations as objects, fed with random traces: RESULT after each sample against the rules written down here on
// top of the per-sample judge, bit for bit.
#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <optional>

#include "tests/support/OperationFixture.h"
#include "tests/support/trace_steps.h"

namespace Lumenar::Test {
namespace {

using Corvanta::MathFactory::Math_var;

/// What an operation of one or two traces makes of its inputs. A failure leaves the result as it was.
class Rule {
 public:
  virtual ~Rule() = default;
  /// A sample of the first (0) or second (1) input.
  virtual void Take(int input, const BT_DATA& sample) = 0;
  BT_DATA result = DefaultRecord<BT_DATA>();

 protected:
  PerSampleTrace Of(const BT_DATA& record) { return PerSampleTrace(record, lines_); }

 private:
  std::ostringstream lines_;
};

class DifferenceRule final : public Rule {
 public:
  DifferenceRule(bool relative, const BT_DATA& first, const BT_DATA& second)
      : relative_(relative), inputs_{Of(first), Of(second)} {
    Outcome([&] {
      Update();
      return "";
    });
  }

  void Take(int input, const BT_DATA& sample) override {
    inputs_[input] = sample;
    Update();
  }

 private:
  void Update() {
    if (relative_) {
      PerSampleTrace distance(inputs_[0]);
      distance.RelativeSubEqual(inputs_[1]);
      result = distance.record;
      return;
    }
    const bool first_was_dB = inputs_[0].Remove_dB();
    const bool second_was_dB = inputs_[1].Remove_dB();
    Outcome([&] {
      PerSampleTrace difference(inputs_[0]);
      difference -= inputs_[1];
      if (first_was_dB) difference.Add_dB();
      result = difference.record;
      return "";
    });
    if (first_was_dB) inputs_[0].Add_dB();
    if (second_was_dB) inputs_[1].Add_dB();
  }

  bool relative_;
  PerSampleTrace inputs_[2];
};

class AverageRule final : public Rule {
 public:
  AverageRule(std::size_t size, const BT_DATA& present) : size_(size) { Take(0, present); }

  void Take(int, const BT_DATA& record) override {
    PerSampleTrace sample = Of(record);
    const bool was_dB = sample.Remove_dB();
    if (history_.empty()) {
      history_.push_front(sample.record);
      if (was_dB) sample.Add_dB();
      result = sample.record;
      return;
    }
    PerSampleTrace mean = Of(result);
    mean.Remove_dB();
    mean *= static_cast<int>(history_.size());
    mean += sample;  // what cannot be added does not come into the history
    history_.push_front(sample.record);
    while (history_.size() > size_) {
      const BT_DATA oldest = history_.back();
      history_.pop_back();
      mean -= Of(oldest);
    }
    if (history_.size() == 1) {
      mean = Of(sample.record);
    } else {
      mean /= static_cast<int>(history_.size());
    }
    if (was_dB) mean.Add_dB();
    result = mean.record;
  }

 private:
  std::size_t size_;
  std::deque<BT_DATA> history_;
};

class PeakRule final : public Rule {
 public:
  explicit PeakRule(const BT_DATA& present) { result = present; }

  void Take(int, const BT_DATA& record) override {
    PerSampleTrace peak = Of(result);
    const bool was_dB = peak.Remove_dB();
    PerSampleTrace sample = Of(record);
    sample.Remove_dB();
    peak.DoPeak(sample);
    PerSampleTrace held = Of(peak.record);
    if (was_dB) held.Add_dB();
    result = held.record;
  }
};

class OperationsAgainstJudge : public OperationFixture {
 protected:
  /// Samples that mostly keep the form of their input, at times come in another and at times in another size.
  BT_DATA Sample(int size, std::size_t form) {
    if (random_.Pick(30) == 0) size = random_.Size();
    if (random_.Pick(12) == 0) form = static_cast<std::size_t>(random_.Pick(static_cast<int>(forms_.size()) - 1));
    return AnyTrace(size, forms_[form]);
  }

  BT_DATA AnyTrace(int size, const Value::Units& units) {
    return random_.Pick(10) == 0 ? random_.Trace(size, units) : random_.OrdinaryTrace(size, units);
  }

  void Follow(Math_var math, Rule& rule, const BT_DATA& like, std::size_t form) {
    for (int step = 0; step < 8; ++step) {
      const int input = random_.Pick(2);
      const BT_DATA sample = Sample(static_cast<int>(like.samples.length()), form);
      Outcome([&] {
        rule.Take(input, sample);
        ++computed_;
        return "";
      });
      Outcome([&] {
        Deliver(input == 0 || inputs_ == 1 ? trace_ : other_trace_, sample);
        return "";
      });
      const BT_DATA got = TraceResult(math);
      ASSERT_EQ(UnitsOf(got), UnitsOf(rule.result)) << "step " << step;
      ASSERT_EQ(got.samples.length(), rule.result.samples.length()) << "step " << step;
      for (CORBA::ULong i = 0; i < got.samples.length(); ++i) {
        ASSERT_EQ(Bits(got.samples[i]), Bits(rule.result.samples[i])) << "step " << step << " sample " << i;
      }
    }
  }

  /// Makes the object and the rule from the same inputs, and follows both unless the inputs are refused.
  template <class MakeRule>
  void Check(int type, MakeRule make_rule, int size_of_average = 1) {
    inputs_ = type == Subtract || type == RelativeSubtract ? 2 : 1;
    for (std::size_t round = 0; round < 5 * (forms_.size() - 1); ++round) {
      const std::size_t form = round % (forms_.size() - 1);
      const int size = random_.Pick(20) == 0 ? 10001 : random_.Pick(68);
      SCOPED_TRACE(testing::Message() << "form " << form << ", " << size << " samples");
      const BT_DATA first = AnyTrace(size, forms_[form]);
      const BT_DATA second = Sample(size, form);
      trace_ = first;
      other_trace_ = second;
      std::unique_ptr<Rule> rule;
      Outcome([&] {
        rule = make_rule(first, second);
        return "";
      });
      Math_var math;
      Outcome([&] {
        math = inputs_ == 2 ? Create(type, {trace_, other_trace_}) : Create(type, {trace_});
        return "";
      });
      ASSERT_EQ(rule == nullptr, CORBA::is_nil(math));
      if (rule == nullptr) continue;
      if (type == Average) SetSize(math, size_of_average);
      ASSERT_NO_FATAL_FAILURE(Follow(math, *rule, first, form));
      Factory().DeleteMath(math->GetId());
    }
    EXPECT_GT(computed_, 200) << "nearly everything was refused";
  }

  RandomTraces random_{77};
  const std::vector<Value::Units> forms_ = UnitForms();  // the last one is malformed
  int inputs_ = 1;
  int computed_ = 0;  // samples that gave a result
};

TEST_F(OperationsAgainstJudge, Subtract) {
  Check(Subtract, [](const BT_DATA& a, const BT_DATA& b) { return std::make_unique<DifferenceRule>(false, a, b); });
}

TEST_F(OperationsAgainstJudge, RelativeSubtract) {
  Check(RelativeSubtract,
        [](const BT_DATA& a, const BT_DATA& b) { return std::make_unique<DifferenceRule>(true, a, b); });
}

TEST_F(OperationsAgainstJudge, Peak) {
  Check(Peak, [](const BT_DATA& a, const BT_DATA&) { return std::make_unique<PeakRule>(a); });
}

TEST_F(OperationsAgainstJudge, AverageOfOne) {
  Check(
      Average, [](const BT_DATA& a, const BT_DATA&) { return std::make_unique<AverageRule>(1, a); }, 1);
}

TEST_F(OperationsAgainstJudge, AverageOfThree) {
  Check(
      Average, [](const BT_DATA& a, const BT_DATA&) { return std::make_unique<AverageRule>(3, a); }, 3);
}

}  // namespace
}  // namespace Lumenar::Test
