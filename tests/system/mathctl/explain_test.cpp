// SPDX-License-Identifier: Apache-2.0
// What a result is computed from, in words.
#include "tests/system/mathctl/PicturesFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kRefused;
using Mathctl::kUnreachable;
using Mathctl::kUsage;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;

using ExplainTest = PicturesFixture;

constexpr const char* kShort = "0.05";  // of counting

TEST_F(ExplainTest, AMeanIsExplainedDownToTheInstrument) {
  TraceInput trace(bench_, "LEVEL", Trace({1, 2, 3}, kdBm));
  Out({"create", "Average", "LEVEL"});
  Out({"set", "math:0", "SIZE", "10"});
  trace = Trace({4, 5, 6}, kdBm, 1);
  ASSERT_TRUE(WaitUntil([&] {
    return Out({"explain", "math:0", "--count", kShort}).find("2 of 10 samples are in: live") != std::string::npos;
  }));
  const std::string text = Out({"explain", "math:0", "--count", kShort});
  EXPECT_THAT(
      text,
      AllOf(
          HasSubstr("math:0 = mean of the last 10 of TESTBENCH/1/LEVEL (dBm), computed in mW, shown in dBm\n"),
          HasSubstr("  R = 10 log10((10^(x1/10) + ... + 10^(xn/10)) / n), n = 10\n"), HasSubstr("3 points in dBm"),
          HasSubstr("  TESTBENCH/1/LEVEL: dBm to mW: 10^(x/10), so that 10 dBm is 10 mW\n"),
          testing::ContainsRegex("\nTESTBENCH/1/LEVEL: 3 points in dBm, no sample \\(as the topic manager counted over "
                                 "[^)]+\\), engine TESTBENCH/1 at 127\\.0\\.0\\.1:[0-9]+\n")));
}

TEST_F(ExplainTest, EachNodeIsOneObjectInJson) {
  BT_DATA sample = Trace({1, 2, 3}, kMilliwatt);
  const std::uint64_t now_ns = static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
          .count());
  sample.header[0] = static_cast<CORBA::ULong>(now_ns >> 32);
  sample.header[1] = static_cast<CORBA::ULong>(now_ns);
  TraceInput trace(bench_, "TRACE", sample);
  LongInput start(bench_, "START", 1), stop(bench_, "STOP", 2);
  Out({"create", "Peak", "TRACE"});
  Out({"create", "CumulativeAdd", "math:0", "START", "STOP"});
  const auto nodes = ObjectsIn(Out({"explain", "1", "--json", "--count", kShort}));
  ASSERT_EQ(nodes.size(), 5u);
  EXPECT_EQ(nodes[0]["name"], "math:1");
  EXPECT_EQ(nodes[0]["inputs"], nlohmann::json({"math:0", "TESTBENCH/1/START", "TESTBENCH/1/STOP"}));
  EXPECT_THAT(nodes[0]["words"].get<std::string>(),
              HasSubstr("from point 1 (TESTBENCH/1/START) to point 2 (TESTBENCH/1/STOP)"));
  EXPECT_EQ(nodes[0]["units"], "mW");
  for (const auto& node : nodes) {
    if (node["name"] != "TESTBENCH/1/TRACE") continue;
    EXPECT_EQ(node["points"], 3);
    EXPECT_EQ(node["engine"], "TESTBENCH/1");
    EXPECT_EQ(node["problem"], "");
    EXPECT_GE(node["captured_ago_s"].get<double>(), 0);
    EXPECT_LT(node["captured_ago_s"].get<double>(), 60);
  }
}

TEST_F(ExplainTest, SaysWhatWasRefusedAndWhy) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts)), other(bench_, "OTHER", ScalarOf(1, Value::C_Watts));
  Out({"create", "Subtract", "LEVEL", "OTHER"});
  other = ScalarOf(1, Value::Make_unit(Value::U_Second));
  ASSERT_TRUE(WaitUntil([&] {
    return Out({"explain", "math:0", "--count", kShort}).find("refused 1 sample") != std::string::npos;
  }));
  EXPECT_THAT(Out({"explain", "math:0", "--count", kShort}),
              AllOf(HasSubstr("units cannot be combined, refused 1 sample"),
                    HasSubstr("  cannot be computed: TESTBENCH/1/OTHER (s) cannot be brought together with "
                              "TESTBENCH/1/LEVEL (W): their units are of different dimensions"),
                    HasSubstr("  refused 1 sample, the last: their units are of different dimensions")));
}

TEST_F(ExplainTest, AReadingIsExplainedToo) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  EXPECT_THAT(Out({"explain", "LEVEL", "--count", kShort}),
              MatchesRegex("TESTBENCH/1/LEVEL: ValueDouble in W.*, engine TESTBENCH/1 at 127\\.0\\.0\\.1:[0-9]+\n"));
}

TEST_F(ExplainTest, SaysInOneLineWhatIsWrong) {
  ExpectRefusals({
      {{"explain"}, kUsage, "READING"},
      {{"explain", "math:77"}, kRefused, "77"},
      {{"explain", "NOPE"}, kRefused, "NOPE"},
      {{"explain", "math:0", "--count", "0"}, kUsage, "a number of seconds"},
      {{"explain", "math:0", "--naming", "127.0.0.1:1"}, kUnreachable, "127.0.0.1:1"},
  });
}

}  // namespace
}  // namespace Lumenar::Test
