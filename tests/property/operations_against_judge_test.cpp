// SPDX-License-Identifier: Apache-2.0
// The operations as objects, fed with random samples, new SIZEs and RESETs: RESULT, and whether there was one, after
// each step against the judge, bit for bit.
#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "judge/Operation.h"
#include "tests/support/OperationFixture.h"
#include "tests/support/trace_steps.h"

namespace Lumenar::Test {
namespace {

using Corvanta::MathFactory::Math_var;

template <class Record>
Judge::Datum DatumOf(const Record& record) {
  return Judge::Datum(std::in_place_type<Record>, record);
}

/// A math object of the engine, and the same object by the judge.
struct Twins {
  Math_var math;
  std::unique_ptr<Judge::Operation> judged;
};

class OperationsAgainstJudge : public OperationFixture {
 protected:
  static constexpr int kStepsOfAnObject = 12;

  /// Samples that mostly keep the form of their input, at times come in another and at times in another size.
  BT_DATA Sample(const BT_DATA& like, std::size_t form) {
    int size = static_cast<int>(like.samples.length());
    if (random_.Pick(30) == 0) size = random_.Size();
    return AnyTrace(size, AnyForm(form));
  }

  Scalar Sample(const Scalar& /*like*/, std::size_t form) { return AnyScalar(AnyForm(form)); }

  const Value::Units& AnyForm(std::size_t usual) {
    if (random_.Pick(12) != 0) return forms_[usual];
    return forms_[static_cast<std::size_t>(random_.Pick(static_cast<int>(forms_.size()) - 1))];
  }

  BT_DATA AnyTrace(int size, const Value::Units& units) {
    return random_.Pick(10) == 0 ? random_.Trace(size, units) : random_.OrdinaryTrace(size, units);
  }

  Scalar AnyScalar(const Value::Units& units) {
    const auto number = [&] {
      return random_.Pick(10) == 0 ? double(random_.Number()) : random_.Pick(20000) / 128.0 - 60.0;
    };
    return ScalarOf(number(), units, number() / 32, number() / 32);
  }

  template <class Input>
  static std::vector<Corvanta::EngineReadingBase_ptr> ReferencesTo(const std::vector<Input*>& inputs) {
    std::vector<Corvanta::EngineReadingBase_ptr> references;
    for (const Input* input : inputs) references.push_back(*input);
    return references;
  }

  /// Makes both from the same inputs; none when both are refused.
  std::optional<Twins> MakeTwins(int type, const std::vector<Corvanta::EngineReadingBase_ptr>& inputs,
                                 const std::vector<Judge::Datum>& present) {
    Twins twins;
    const std::string expected = Outcome([&] {
      twins.judged = Judge::Operation::Created(static_cast<Judge::Type>(type), present);
      return "";
    });
    const std::string got = Outcome([&] {
      twins.math = Create(type, inputs);
      return "";
    });
    EXPECT_EQ(twins.judged == nullptr, CORBA::is_nil(twins.math)) << got << "; expected " << expected;
    if (twins.judged == nullptr || CORBA::is_nil(twins.math)) return std::nullopt;
    return twins;
  }

  static Judge::Datum ResultOf(const Math_var& math, const Judge::Datum& like) {
    if (Judge::KindOf(like) == Judge::Kind::Trace) return DatumOf(TraceResult(math));
    return DatumOf(ScalarResult(math));
  }

  /// `step` of the engine publishes what the judge's has published.
  template <class Step>
  void Compare(Twins& twins, const Judge::Outcome& expected, Step step) {
    const std::string topic = ResultTopic(twins.math);
    const std::size_t before = Manager().PublishedOn(topic).size();
    Outcome([&] {
      step();
      return "";
    });
    ASSERT_NE(expected.kind, Judge::Outcome::Unknown) << expected.reason;
    const bool publishes = expected.kind == Judge::Outcome::Published;
    ASSERT_EQ(Manager().PublishedOn(topic).size(), before + (publishes ? 1 : 0)) << expected.reason;
    ASSERT_TRUE(Judge::SameBits(ResultOf(twins.math, *twins.judged->Result()), *twins.judged->Result()));
    if (publishes) ++computed_;
  }

  template <class Input, class Record>
  void Feed(Twins& twins, std::size_t number, Input& input, const Record& sample) {
    const Judge::Outcome expected = twins.judged->Take(number, DatumOf(sample));
    Compare(twins, expected, [&] { Deliver(input, sample); });
  }

  void ChangeSize(Twins& twins) {
    const int size = 1 + random_.Pick(4);
    SetSize(twins.math, size);
    twins.judged->SetSize(size);
  }

  /// Now and then a RESET, and of an Average another SIZE.
  void Disturb(Twins& twins, int type) {
    if (type == Average && random_.Pick(6) == 0) ChangeSize(twins);
    if ((type != Average && type != Peak) || random_.Pick(8) != 0) return;
    const Judge::Outcome expected = twins.judged->Reset();
    Compare(twins, expected, [&] {
      type == Average ? Reset<Corvanta::MathFactory::Average>(twins.math)
                      : Reset<Corvanta::MathFactory::Peak>(twins.math);
    });
  }

  template <class Input, class Record>
  void Follow(Twins& twins, int type, std::vector<Input*> inputs, const Record& like, std::size_t form) {
    for (int step = 0; step < kStepsOfAnObject; ++step) {
      SCOPED_TRACE(testing::Message() << "step " << step);
      ASSERT_NO_FATAL_FAILURE(Disturb(twins, type));
      const auto number = static_cast<std::size_t>(random_.Pick(static_cast<int>(inputs.size())));
      ASSERT_NO_FATAL_FAILURE(Feed(twins, number, *inputs[number], Sample(like, form)));
      if (type == Average) {
        ASSERT_EQ(Full(twins.math), twins.judged->IsFull());
      }
    }
  }

  /// Objects over inputs in every form of units, made from the same inputs as the judge's, and followed.
  template <class Input, class Record>
  void Check(int type, std::vector<Input*> inputs, const Record& like) {
    for (std::size_t round = 0; round < 5 * (forms_.size() - 1); ++round) {
      const std::size_t form = round % (forms_.size() - 1);
      SCOPED_TRACE(testing::Message() << "form " << form << ", round " << round);
      const Record first = First(like, forms_[form]);
      std::vector<Judge::Datum> present{DatumOf(first)};
      *inputs[0] = first;
      if (inputs.size() == 2) {
        const Record second = Sample(first, form);
        *inputs[1] = second;
        present.push_back(DatumOf(second));
      }
      auto twins = MakeTwins(type, ReferencesTo(inputs), present);
      if (!twins) continue;
      ASSERT_NO_FATAL_FAILURE(Follow(*twins, type, inputs, first, form));
      Factory().DeleteMath(twins->math->GetId());
    }
    EXPECT_GT(computed_, 200) << "nearly everything was refused";
  }

  BT_DATA First(const BT_DATA& /*like*/, const Value::Units& units) {
    return AnyTrace(random_.Pick(20) == 0 ? 10001 : random_.Pick(68), units);
  }
  Scalar First(const Scalar& /*like*/, const Value::Units& units) { return AnyScalar(units); }

  void CheckTraces(int type) {
    std::vector<TraceInput*> inputs{&trace_};
    if (HasTwoInputs(type)) inputs.push_back(&other_trace_);
    Check(type, inputs, BT_DATA{});
  }

  void CheckScalars(int type) {
    std::vector<ScalarInput*> inputs{&scalar_};
    if (HasTwoInputs(type)) inputs.push_back(&other_scalar_);
    Check(type, inputs, Scalar{});
  }

  /// A sample of one of the inputs of a CumulativeAdd; of the trace, this one.
  void FeedSum(Twins& twins, std::size_t number, const BT_DATA& trace) {
    const CORBA::Long index = random_.Pick(60) - 5;
    if (number == 0) return Feed(twins, number, trace_, trace);
    Feed(twins, number, number == 1 ? start_ : stop_, index);
  }

  RandomTraces random_{77};
  const std::vector<Value::Units> forms_ = UnitForms();  // the last one is malformed
  int computed_ = 0;                                     // samples that gave a result
};

TEST_F(OperationsAgainstJudge, SubtractOfTraces) { CheckTraces(Subtract); }
TEST_F(OperationsAgainstJudge, SubtractOfScalars) { CheckScalars(Subtract); }
TEST_F(OperationsAgainstJudge, RelativeSubtractOfTraces) { CheckTraces(RelativeSubtract); }
TEST_F(OperationsAgainstJudge, RelativeSubtractOfScalars) { CheckScalars(RelativeSubtract); }
TEST_F(OperationsAgainstJudge, AverageOfTraces) { CheckTraces(Average); }
TEST_F(OperationsAgainstJudge, AverageOfScalars) { CheckScalars(Average); }
TEST_F(OperationsAgainstJudge, PeakOfTraces) { CheckTraces(Peak); }
TEST_F(OperationsAgainstJudge, PeakOfScalars) { CheckScalars(Peak); }

TEST_F(OperationsAgainstJudge, CumulativeAdd) {
  for (std::size_t round = 0; round < 5 * (forms_.size() - 1); ++round) {
    const std::size_t form = round % (forms_.size() - 1);
    SCOPED_TRACE(testing::Message() << "form " << form << ", round " << round);
    const BT_DATA first = First(BT_DATA{}, forms_[form]);
    const int start = random_.Pick(8) - 2;
    const int stop = random_.Pick(80) - 2;
    trace_ = first;
    start_ = start;
    stop_ = stop;
    auto twins = MakeTwins(Lumenar::Test::CumulativeAdd, {trace_, start_, stop_},
                           {DatumOf(first), Judge::Datum(CORBA::Long{start}), Judge::Datum(CORBA::Long{stop})});
    if (!twins) continue;
    for (int step = 0; step < kStepsOfAnObject; ++step) {
      ASSERT_NO_FATAL_FAILURE(FeedSum(*twins, static_cast<std::size_t>(random_.Pick(3)), Sample(first, form)));
    }
    Factory().DeleteMath(twins->math->GetId());
  }
  EXPECT_GT(computed_, 200) << "nearly everything was refused";
}

}  // namespace
}  // namespace Lumenar::Test
