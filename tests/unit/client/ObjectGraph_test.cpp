// SPDX-License-Identifier: Apache-2.0
#include "client/ObjectGraph.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Lumenar::Client {
namespace {

using testing::ElementsAre;

MathReport GraphReport(std::int32_t id, const std::vector<std::string>& inputs) {
  MathReport report;
  report.id = id;
  report.result_topic = "M/RESULT." + std::to_string(id);
  for (const std::string& topic : inputs) {
    InputReport input;
    input.topic = topic;
    report.inputs.push_back(input);
  }
  return report;
}

TEST(ObjectGraph, JoinsResultsToInputsByTopic) {
  std::vector<MathReport> reports{GraphReport(3, {"P/1/A"}), GraphReport(5, {"M/RESULT.3", "P/1/B"})};
  reports[1].inputs[1].away = true;
  const ObjectGraph graph(reports);
  ASSERT_EQ(graph.Nodes().size(), 4u);
  EXPECT_EQ(graph.Nodes()[0].name, "math:3");
  EXPECT_EQ(graph.Nodes()[2].name, "P/1/A");
  EXPECT_FALSE(graph.Nodes()[2].object);
  EXPECT_THAT(graph.Nodes()[1].inputs, ElementsAre(0, 3));
  EXPECT_EQ(graph.Nodes()[0].users, 1u);
  EXPECT_FALSE(graph.Nodes()[2].away);
  EXPECT_TRUE(graph.Nodes()[3].away);
  EXPECT_EQ(graph.Find("P/1/B"), 3u);
  EXPECT_FALSE(graph.Find("P/1/C"));
}

TEST(ObjectGraph, EveryObjectStandsBeforeItsInputs) {
  const ObjectGraph graph({GraphReport(0, {"P/1/A"}), GraphReport(1, {"M/RESULT.0", "P/1/A"}),
                           GraphReport(2, {"M/RESULT.0", "M/RESULT.1"}), GraphReport(9, {"P/1/Z"})});
  EXPECT_THAT(graph.Below(2), ElementsAre(2, 1, 0, 4));
  EXPECT_THAT(graph.Below(0), ElementsAre(0, 4));
  EXPECT_THAT(graph.Below(4), ElementsAre(4));
}

TEST(ObjectGraph, ObjectsOverEachOtherTwiceCostTheirNumber) {
  constexpr std::int32_t kLength = 2000;
  std::vector<MathReport> reports{GraphReport(0, {"P/1/A", "P/1/A"})};
  for (std::int32_t id = 1; id < kLength; ++id)
    reports.push_back(GraphReport(id, {reports.back().result_topic, reports.back().result_topic}));
  EXPECT_EQ(ObjectGraph(reports).Below(kLength - 1).size(), static_cast<std::size_t>(kLength) + 1);
}

TEST(ObjectGraph, AReportThatCannotBeEndsAllTheSame) {
  const ObjectGraph circle({GraphReport(0, {"M/RESULT.1"}), GraphReport(1, {"M/RESULT.0"})});
  EXPECT_THAT(circle.Below(0), testing::Contains(0));
}

TEST(ObjectGraph, NamesAreThoseThatAreGiven) {
  const ObjectGraph graph({GraphReport(0, {"P/1/A"})}, [](const std::string& topic) { return "<" + topic + ">"; });
  EXPECT_EQ(graph.Nodes()[0].name, "<M/RESULT.0>");
  EXPECT_EQ(graph.Nodes()[1].name, "<P/1/A>");
}

}  // namespace
}  // namespace Lumenar::Client
