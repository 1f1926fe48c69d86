// SPDX-License-Identifier: Apache-2.0
// The graph of objects: as text, JSON, DOT and pictures.
#include <cstdlib>

#include "tests/system/mathctl/PicturesFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kRefused;
using Mathctl::kUnreachable;
using Mathctl::kUsage;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class GraphTest : public PicturesFixture {
 protected:
  void CreateTwo() {
    Out({"create", "Peak", "LEVEL"});
    Out({"create", "Subtract", "math:0", "LEVEL"});
  }

  ScalarInput level_{bench_, "LEVEL", ScalarOf(1, kMilliwatt)};
};

TEST_F(GraphTest, DrawsATree) {
  EXPECT_EQ(Out({"graph"}), "");
  CreateTwo();
  EXPECT_THAT(Out({"graph"}, {{"LC_ALL", "C.UTF-8"}}),
              testing::MatchesRegex("math:1 Subtract in mW: [^\n]*\n├─ math:0 Peak in mW: [^\n]*\n"
                                    "│  └─ TESTBENCH/1/LEVEL\n└─ TESTBENCH/1/LEVEL\n"));
  EXPECT_THAT(Out({"graph", "--ascii"}, {{"LC_ALL", "C.UTF-8"}}), HasSubstr("\n|  `- TESTBENCH/1/LEVEL\n"));
  EXPECT_THAT(Out({"graph"}, {{"LC_ALL", "C"}}), HasSubstr("\n`- TESTBENCH/1/LEVEL\n"));
}

TEST_F(GraphTest, SaysItInJsonCsvAndDot) {
  CreateTwo();
  const auto nodes = ObjectsIn(Out({"graph", "--json"}));
  ASSERT_EQ(nodes.size(), 3u);
  EXPECT_EQ(nodes[1]["inputs"], nlohmann::json({"math:0", "TESTBENCH/1/LEVEL"}));
  EXPECT_EQ(nodes[2]["users"], 2);
  EXPECT_EQ(ObjectsIn(Out({"graph", "--format", "json"})), nodes);
  EXPECT_THAT(Out({"graph", "--format", "csv"}), StartsWith("name,topic,type,inputs,"));
  const std::string dot = Out({"graph", "--format", "dot"});
  EXPECT_THAT(dot, AllOf(StartsWith("digraph objects {\n"), HasSubstr("  n0 -> n1;\n"), HasSubstr("  n2 -> n1;\n")));
  const std::string file = (platform_.Directory() / "graph.dot").string();
  EXPECT_EQ(Out({"graph", "-o", file}), file + "\n");
  EXPECT_EQ(FileText(file), dot);
}

TEST_F(GraphTest, DrawsPicturesWhereGraphvizIs) {
  CreateTwo();
  const std::string svg = (platform_.Directory() / "graph.svg").string();
  if (std::system("dot -V 2>/dev/null") == 0) {
    EXPECT_EQ(Out({"graph", "-o", svg}), svg + "\n");
    EXPECT_THAT(FileText(svg), AllOf(StartsWith("<?xml"), HasSubstr("math:1")));
  }
  const Outcome without = Run({"graph", "-o", svg + ".png"}, {{"PATH", "/nowhere"}});
  EXPECT_EQ(without.exit_code, kRefused);
  EXPECT_EQ(without.error, "mathctl: dot is not installed: apt-get install graphviz\n");
}

TEST_F(GraphTest, SaysInOneLineWhatIsWrong) {
  ExpectRefusals({
      {{"graph", "-o", "a.jpg"}, kUsage, ".dot, .svg or .png"},
      {{"graph", "-o", "/none/a.dot"}, kRefused, "cannot be written (No such file or directory)"},
      {{"graph", "--format", "xml"}, kUsage, "xml"},
      {{"graph", "math:0"}, kUsage, "math:0"},
      {{"graph", "--naming", "127.0.0.1:1"}, kUnreachable, "127.0.0.1:1"},
  });
}

}  // namespace
}  // namespace Lumenar::Test
