// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/graph_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/records/Records.h"

namespace Lumenar::Mathctl {
namespace {

using Client::InputReport;
using Client::MathReport;
using Client::ObjectGraph;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

MathReport LiveObject(std::int32_t id, const std::string& type, const std::vector<std::string>& inputs) {
  MathReport report;
  report.id = id;
  report.type = type;
  report.result_topic = "MATHFACTORY/1/RESULT." + std::to_string(id);
  for (const std::string& topic : inputs) {
    InputReport input;
    input.topic = topic;
    input.samples = 1;
    report.inputs.push_back(input);
  }
  report.units = VALUE::UnitsToCorba(Value::C_Watts);
  report.points = 1;
  report.results = 1;
  report.age = std::chrono::microseconds(1);
  return report;
}

std::vector<MathReport> ThreeObjects() {
  return {LiveObject(0, "Peak", {"PROBE/1/LEVEL"}),
          LiveObject(1, "Subtract", {"MATHFACTORY/1/RESULT.0", "PROBE/1/LEVEL"}),
          LiveObject(2, "Subtract", {"MATHFACTORY/1/RESULT.1", "MATHFACTORY/1/RESULT.0"})};
}

TEST(GraphText, DrawsWhatAResultIsComputedFrom) {
  EXPECT_THAT(GraphText(ObjectGraph(ThreeObjects()), {}, false),
              ElementsAre("math:2 Subtract in W: live",     //
                          "├─ math:1 Subtract in W: live",  //
                          "│  ├─ math:0 Peak in W: live",   //
                          "│  │  └─ PROBE/1/LEVEL",         //
                          "│  └─ PROBE/1/LEVEL",            //
                          "└─ math:0 (see above)"));
}

TEST(GraphText, DoesWithAscii) {
  EXPECT_THAT(GraphText(ObjectGraph({LiveObject(7, "Peak", {"SIM/1/A"})}), {}, true),
              ElementsAre("math:7 Peak in W: live", "`- SIM/1/A"));
  EXPECT_THAT(GraphText(ObjectGraph({}), {}, true), SizeIs(0));
}

TEST(GraphText, ALongChainGoesOnInTreesOfItsOwn) {
  constexpr std::int32_t kLength = 10000;
  std::vector<MathReport> chain;
  for (std::int32_t id = 0; id < kLength; ++id)
    chain.push_back(LiveObject(id, "Peak", {id == 0 ? "SIM/1/A" : chain.back().result_topic}));
  std::size_t bytes = 0, objects = 0;
  for (const std::string& line : GraphText(ObjectGraph(chain), {}, false)) {
    bytes += line.size();
    objects += line.find(": live") != std::string::npos ? 1 : 0;
  }
  EXPECT_EQ(objects, static_cast<std::size_t>(kLength));
  EXPECT_LT(bytes, 3000000u);
}

TEST(GraphText, SaysItInDot) {
  std::vector<MathReport> objects{LiveObject(0, "Average", {"SIM/1/A \"quoted\\\""})};
  objects[0].size = 10;
  objects[0].inputs[0].away = true;
  EXPECT_EQ(
      GraphDot(ObjectGraph(objects), {}),
      "digraph objects {\n"
      "  rankdir=LR;\n"
      "  n0 [label=\"math:0 Average 10\\nW, input away: SIM/1/A \\\"quoted\\\\x5c\\\"\", shape=ellipse, color=red];\n"
      "  n1 -> n0;\n"
      "  n1 [label=\"SIM/1/A \\\"quoted\\\\x5c\\\": away\", shape=box, color=red];\n"
      "}\n");
}

}  // namespace
}  // namespace Lumenar::Mathctl
