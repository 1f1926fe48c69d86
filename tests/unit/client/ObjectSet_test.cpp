// SPDX-License-Identifier: Apache-2.0
#include "client/ObjectSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/Error.h"

namespace Lumenar::Client {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

SetInput Reading(const char* name) { return {name, std::nullopt}; }
SetInput Object(std::size_t place) { return {"", place}; }

std::string ReasonOf(const std::string& text) {
  try {
    ObjectSet::FromJson(text);
    return "taken";
  } catch (const Error& error) {
    EXPECT_EQ(error.Kind(), ErrorKind::BadArgument);
    return error.what();
  }
}

std::string WithObjects(const std::string& objects) {
  return R"({"lumenar_objects": 1, "objects": [)" + objects + "]}";
}

TEST(ObjectSet, AsJsonAndBackIsTheSame) {
  const std::vector<SetObject> objects{{"Subtract", {Object(1), Reading("A/1/\"X\"")}, 0},
                                       {"Average", {Reading("A/1/X")}, 10},
                                       {"CumulativeAdd", {Object(1), Reading("A/1/START"), Reading("A/1/STOP")}, 0}};
  const ObjectSet set(objects);
  EXPECT_EQ(ObjectSet::FromJson(set.Json()).Objects(), objects);
  EXPECT_THAT(set.Order(), ElementsAre(1, 0, 2)) << "inputs first";
  EXPECT_EQ(ObjectSet::FromJson(ObjectSet().Json()).Objects().size(), 0u);
}

TEST(ObjectSet, OfALongChainIsOrdered) {
  std::vector<SetObject> objects;
  for (std::size_t i = 0; i < 50000; ++i) objects.push_back({"Peak", {Object(i + 1)}, 0});
  objects.push_back({"Peak", {Reading("X")}, 0});
  EXPECT_EQ(ObjectSet(objects).Order().front(), 50000u);
}

TEST(ObjectSet, SaysWhatIsWrong) {
  EXPECT_THAT(ReasonOf(""), HasSubstr("not JSON"));
  EXPECT_THAT(ReasonOf("[]"), HasSubstr("has no \"lumenar_objects\""));
  EXPECT_THAT(ReasonOf(R"({"lumenar_objects": "1", "objects": []})"), HasSubstr("of another form"));
  EXPECT_THAT(ReasonOf(R"({"lumenar_objects": 1})"), HasSubstr("has no \"objects\""));
  EXPECT_THAT(ReasonOf(WithObjects("7")), HasSubstr("object 0: has no \"type\""));
  EXPECT_THAT(ReasonOf(WithObjects(R"({"type": 1, "inputs": []})")), HasSubstr("\"type\" is not a text"));
  EXPECT_THAT(ReasonOf(WithObjects(R"({"type": "Peak", "inputs": "X"})")), HasSubstr("\"inputs\" is not a short list"));
  EXPECT_THAT(ReasonOf(WithObjects(R"({"type": "Peak", "inputs": [1]})")), HasSubstr("an input is neither"));
  EXPECT_THAT(ReasonOf(WithObjects(R"({"type": "Peak", "inputs": [""]})")), HasSubstr("an input is neither"));
  EXPECT_THAT(ReasonOf(WithObjects(R"({"type": "Peak", "inputs": [{"object": -1}]})")),
              HasSubstr("not a number of an object"));
  EXPECT_THAT(ReasonOf(WithObjects(R"({"type": "Peak", "inputs": [{"object": 1}]})")),
              HasSubstr("there is no object 1"));
  EXPECT_THAT(ReasonOf(WithObjects(R"({"type": "Average", "inputs": ["X"], "size": -1})")),
              HasSubstr("\"size\" is not"));
  EXPECT_THAT(ReasonOf(WithObjects(
                  R"({"type": "Peak", "inputs": [{"object": 1}]}, {"type": "Peak", "inputs": [{"object": 0}]})")),
              HasSubstr("is an input of itself"));
  EXPECT_THAT(ReasonOf(std::string(1000000, '[')), HasSubstr("nested too deep"));
}

}  // namespace
}  // namespace Lumenar::Client
