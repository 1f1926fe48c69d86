// SPDX-License-Identifier: Apache-2.0
// Ten thousand math objects: people still get an answer at once. The benchmark of objects measures the same more strictly.
#include <cstdio>

#include "tests/support/CommandLineFigures.h"
#include "tests/support/ProcessFigures.h"
#include "tests/system/mathctl/ObjectsFixture.h"

namespace Lumenar::Test {
namespace {

class ManyObjectsTest : public ObjectsFixture {
 protected:
  // A call that the engine answers wakes one of its threads at least.
  void ExpectFewCalls(const Words& words) {
    const long before = CountWakings(engine_.Pid());
    const Outcome outcome = Run(words);
    EXPECT_TRUE(outcome.exit_code == Mathctl::kDone || outcome.exit_code == Mathctl::kUnreachable) << outcome.error;
    EXPECT_LT(CountWakings(engine_.Pid()) - before, 3000) << words.front() << ": a call for each object?";
  }
};

TEST_F(ManyObjectsTest, AreListedAndDrawnAtOnce) {
  constexpr int kObjects = 10000;
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts)), other(bench_, "OTHER", ScalarOf(1, Value::C_Watts));
  const auto inputs = Inputs(level, other);
  for (int i = 0; i < kObjects; ++i) const Corvanta::MathFactory::Math_var object = Create(Subtract, inputs);
  ASSERT_EQ(Objects({"list"}).size(), static_cast<std::size_t>(kObjects));

  const std::string last = Objects({"list"}).back()["object"];
  for (const Words& words : {Words{"list"}, Words{"top", "-n", "1"}, Words{"graph"}, Words{"doctor", "--count", "0.05"},
                             Words{"explain", last, "--count", "0.05"}, Words{"show", last}, Words{"save"}}) {
    ExpectFewCalls(words);
  }

  const double list_s = SecondsToList(platform_);
  const double redraw_s = ProcessorSecondsToRedraw(platform_);
  std::printf("list of %d objects: %.3f s; redraw of top: %.1f ms of processor time\n", kObjects, list_s,
              redraw_s * 1e3);
  EXPECT_LT(list_s, 1.0) << "0.5 s on a machine that does nothing else";
  EXPECT_LT(redraw_s, 0.05);
}

}  // namespace
}  // namespace Lumenar::Test
