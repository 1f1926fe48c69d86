// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <random>

#include "Common_Math/src/MathValueBasicTrace.h"
#include "Common_Math/src/MathValueValueDouble.h"
#include "Common_Math/src/SimpleOp2.h"
#include "tests/support/trace_samples.h"

namespace Lumenar::Test {
namespace {

using Operand = DecibelOperand<BT_DATA>;

const std::vector<Value::Units>& AllUnits() {
  static const std::vector<Value::Units> units = [] {
    Value::Units squared = Value::Make_unit(Value::U_Watt, 2, -3, true);  // drifts with each round
    return std::vector<Value::Units>{Value::C_Watts, Value::Make_unit(Value::U_Watt, 1, -3, true),
                                     Value::Make_unit(Value::U_Volt, 1, 0, true), squared, Value::Units{true, 0, {}}};
  }();
  return units;
}

std::vector<float> Levels(std::minstd_rand& random, std::size_t points) {
  constexpr float kOdd[] = {0.0f,
                            -0.0f,
                            1e-40f,
                            -250.0f,
                            250.0f,
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::quiet_NaN()};
  std::uniform_real_distribution<float> level(-120.0f, 30.0f);
  std::vector<float> samples(points);
  for (float& sample : samples) sample = random() % 16 == 0 ? kOdd[random() % std::size(kOdd)] : level(random);
  return samples;
}

std::string PictureOf(const MathTrace& trace) {
  std::string text;
  for (const MathTrace::Sample& sample : trace.SampleValues()) text += Picture(sample) + "\n";
  return text;
}

/// Each computation finds the operand as it would be with every way out of dB and back gone at once.
TEST(DecibelOperand, NumbersAreThoseOfEachWayGoneAtOnce) {
  std::minstd_rand random(1);
  for (int run = 0; run < 200; ++run) {
    const Value::Units units = AllUnits()[static_cast<std::size_t>(run) % AllUnits().size()];
    const BT_DATA first = TraceOf(Levels(random, 1 + random() % 40), units);
    MathTrace expected(first);
    Operand operand{MathTrace(first)};
    for (int step = 0; step < 12; ++step) {
      SCOPED_TRACE("run " + std::to_string(run) + " step " + std::to_string(step));
      if (random() % 4 == 0) {
        const BT_DATA next = TraceOf(Levels(random, 1 + random() % 40), AllUnits()[random() % AllUnits().size()]);
        expected = next;
        BT_DATA taken = next;
        operand = std::move(taken);
        EXPECT_EQ(PictureOf(operand.Value()), PictureOf(expected)) << "as it came";
      }
      const bool was_dB = expected.Remove_dB();
      ASSERT_EQ(operand.Remove_dB(), was_dB);
      ASSERT_EQ(PictureOf(operand.Value()), PictureOf(expected));
      if (!was_dB) continue;
      expected.Add_dB();
      operand.Add_dB();
    }
  }
}

TEST(DecibelOperand, ATraceThatStaysIsConvertedNoMore) {
  std::minstd_rand random(2);
  MathTrace trace(TraceOf(Levels(random, 40), Value::Make_unit(Value::U_Watt, 1, -3, true)));
  ASSERT_TRUE(trace.Remove_dB());
  int rounds = 1;
  while (!trace.GoThroughDecibels() && rounds < 10) ++rounds;
  EXPECT_LT(rounds, 10) << "the round changes nothing any more after a few";
}

TEST(DecibelOperand, AScalarGoesEachWayAtOnce) {
  const auto level = VALUE::ValueToCorba(Value::Value_object<double>(-3.0, AllUnits()[1], -0.1, 0.1));
  MathScalar expected(level);
  DecibelOperand<Corvanta::VALUE_DOUBLE::VALUE> operand{MathScalar(level)};
  for (int step = 0; step < 5; ++step) {
    ASSERT_TRUE(expected.Remove_dB());
    ASSERT_TRUE(operand.Remove_dB());
    EXPECT_EQ(operand.Value().ToRecord().val, expected.ToRecord().val);
    expected.Add_dB();
    operand.Add_dB();
    EXPECT_EQ(operand.Value().ToRecord().val, expected.ToRecord().val) << "in dB again";
    EXPECT_TRUE(operand.Value().ToRecord().units.is_dB);
  }
}

}  // namespace
}  // namespace Lumenar::Test
