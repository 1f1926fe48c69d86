// SPDX-License-Identifier: Apache-2.0
// Present values of readings and of what math objects have.
#include "tests/system/mathctl/ObjectsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kRefused;
using Mathctl::kUsage;

class GetTest : public ObjectsFixture {
 protected:
  ScalarInput level_{bench_, "LEVEL", ScalarOf(2.5, kMilliwatt)};
  TraceInput trace_{bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt)};
};

TEST_F(GetTest, AMathObjectHasItems) {
  Out({"create", "Average", "LEVEL"});
  Out({"set", "0", "SIZE", "4"});
  EXPECT_EQ(Out({"get", "math:0"}), "2.5 mW  +0 +0 mW\n");
  EXPECT_EQ(Out({"get", "math:0", "RESULT"}), "2.5 mW  +0 +0 mW\n");
  EXPECT_EQ(Out({"get", "0", "size"}), "4\n");
  EXPECT_EQ(Out({"get", "math:0", "SIZE", "full"}), "math:0 SIZE  4\nmath:0 FULL  true\n");
  const auto objects = Objects({"get", "math:0", "SIZE", "FULL"});
  ASSERT_EQ(objects.size(), 2u);
  EXPECT_EQ(objects[0]["object"], "math:0");
  EXPECT_EQ(objects[0]["reading"], "MATHFACTORY/1/SIZE");
  EXPECT_EQ(objects[0]["value"], 4);
  EXPECT_EQ(objects[1]["value"], true);
}

TEST_F(GetTest, SeveralNamesGiveOneLineEach) {
  Out({"create", "Peak", "LEVEL"});
  EXPECT_EQ(Out({"get", "LEVEL", "math:0", "TRACE"}),
            "TESTBENCH/1/LEVEL  2.5 mW  +0 +0 mW\n"
            "math:0             2.5 mW  +0 +0 mW\n"
            "TESTBENCH/1/TRACE  3 points  min 1 mW  max 3 mW  mean 2 mW\n");
  EXPECT_EQ(Objects({"get", "TESTBENCH/1/*"}).size(), 2u);
}

TEST_F(GetTest, ElementsOfATraceAreShownWhenAskedFor) {
  EXPECT_EQ(Out({"get", "TRACE", "-#", "2"}), "3 points  min 1 mW  max 3 mW  mean 2 mW  samples 1 2\n");
  EXPECT_EQ(Objects({"get", "TRACE", "-#", "2"}).at(0)["samples"], json({1.0, 2.0}));
  EXPECT_EQ(Objects({"get", "TRACE", "-#", "0"}).at(0)["samples"], json({1.0, 2.0, 3.0}));
  EXPECT_EQ(Objects({"get", "TRACE", "--samples"}).at(0)["samples"], json({1.0, 2.0, 3.0}));
  EXPECT_FALSE(Objects({"get", "TRACE"}).at(0).contains("samples"));
}

TEST_F(GetTest, RefusesWhatIsNotThere) {
  Out({"create", "Peak", "LEVEL"});
  for (const Refused& row : {
           Refused{{"get", "math:0", "SIZE"}, kUsage, "math object 0 is a Peak: it has a RESULT, but no SIZE"},
           Refused{{"get", "math:9", "SIZE"}, kRefused, "no math object 9"},
           Refused{{"get", "LEVEL", "NOPE"}, kRefused, "no reading \"NOPE\""},
           Refused{{"get", "TRACE", "-#", "-1"}, kUsage, "--elements: a whole number from 0"},
           Refused{{"get"}, kUsage, "READING is required"},
       }) {
    ExpectRefused(row);
  }
}

}  // namespace
}  // namespace Lumenar::Test
