// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/diagnosis_parts.h"

namespace Lumenar::Client {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A live object over one topic, with a subscription of this handle.
MathReport Examinee(std::int32_t id, const std::string& topic, std::int32_t handle) {
  MathReport report;
  report.id = id;
  report.type = "Peak";
  report.result_topic = "M/1/RESULT." + std::to_string(id);
  InputReport input;
  input.topic = topic;
  input.samples = 1;
  input.handle = handle;
  report.inputs.push_back(input);
  report.results = 1;
  report.age = std::chrono::microseconds(1);
  return report;
}

SubscriptionView Standing(std::int32_t handle, const std::string& topic, std::uint64_t dropped = 0) {
  SubscriptionView view;
  view.handle = handle;
  view.topic = topic;
  view.dropped = dropped;
  return view;
}

TEST(MatchSubscriptions, NamesTheObjectsWithoutOne) {
  const ObjectGraph graph({Examinee(0, "P/1/A", 10), Examinee(1, "P/1/A", 11), Examinee(2, "P/1/B", 12)});
  const std::vector<std::size_t> all{0, 1, 2, 3, 4};
  EXPECT_THAT(
      MatchSubscriptions(graph, all, {Standing(10, "P/1/A"), Standing(11, "P/1/A"), Standing(12, "P/1/B")}).without,
      IsEmpty());
  EXPECT_THAT(MatchSubscriptions(graph, all, {Standing(10, "P/1/A"), Standing(12, "P/1/A")}).without,
              ElementsAre("math:1", "math:2"));
  EXPECT_THAT(MatchSubscriptions(graph, {0, 3}, {}).without, ElementsAre("math:0"));
}

TEST(MatchSubscriptions, CountsWhatTheObjectsLost) {
  const ObjectGraph graph({Examinee(0, "P/1/A", 10)});
  EXPECT_EQ(MatchSubscriptions(graph, {0}, {Standing(10, "P/1/A", 7), Standing(99, "P/1/A", 5)}).dropped, 7u);
}

TEST(ExamineObjects, SaysWhatMendsEachThatIsNotWell) {
  std::vector<MathReport> reports{Examinee(0, "P/1/A", 1), Examinee(1, "P/1/B", 2), Examinee(2, "P/1/C", 3),
                                  Examinee(3, "P/1/D", 4)};
  reports[1].inputs[0].away = true;
  reports[2].inputs[0].samples = 0;
  reports[3].refused = 5;
  reports[3].refusing = true;
  reports[3].last_reason = "UnitDimensionNotSame";
  const auto findings = ExamineObjects(ObjectGraph(reports), {0, 1, 2, 3}, {}, false);
  ASSERT_EQ(findings.size(), 4u);
  EXPECT_EQ(findings[0].text, "4 math objects, 3 of them not well");
  EXPECT_EQ(findings[1].verdict, Verdict::Fails);
  EXPECT_EQ(findings[1].remedy, "see its engine: mathctl doctor P/1/B");
  EXPECT_EQ(findings[2].verdict, Verdict::Look);
  EXPECT_EQ(findings[2].remedy, "see why its input is silent: mathctl doctor P/1/C");
  EXPECT_EQ(findings[3].verdict, Verdict::Fails);
  EXPECT_THAT(findings[3].text, HasSubstr("their units are of different dimensions"));
  EXPECT_EQ(ExamineObjects(ObjectGraph(reports), {0, 1, 2, 3}, {}, true).size(), 4u);
}

TEST(ExamineObjects, ManyThatAreNotWellAreCounted) {
  std::vector<MathReport> reports;
  std::vector<std::size_t> nodes;
  for (std::int32_t id = 0; id < 1000; ++id) {
    reports.push_back(Examinee(id, "P/1/A", id));
    reports.back().inputs[0].samples = 0;
    nodes.push_back(static_cast<std::size_t>(id));
  }
  const auto findings = ExamineObjects(ObjectGraph(reports), nodes, {}, false);
  EXPECT_EQ(findings.size(), 21u);
  EXPECT_EQ(findings[0].text, "1,000 math objects, 1,000 of them not well");
  EXPECT_EQ(findings[0].verdict, Verdict::Look);
}

}  // namespace
}  // namespace Lumenar::Client
