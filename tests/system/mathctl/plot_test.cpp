// SPDX-License-Identifier: Apache-2.0
// Pictures of readings: on the terminal, in a pipe, in files, and live.
#include <sys/resource.h>

#include <csignal>

#include "tests/support/PseudoTerminal.h"
#include "tests/system/mathctl/PicturesFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUnreachable;
using Mathctl::kUsage;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class PlotTest : public PicturesFixture {
 protected:
  std::string File(const std::string& name) const { return (platform_.Directory() / name).string(); }

  std::size_t FilesBeside() const {
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(platform_.Directory()))
      files += entry.path().filename().string().rfind(".mathctl-", 0) == 0 ? 1 : 0;
    return files;
  }

  std::map<std::string, std::string> TerminalEnvironment() const {
    auto environment = platform_.Environment();
    environment["LC_ALL"] = "C.UTF-8";
    environment["TERM"] = "xterm";
    return environment;
  }

  const std::map<std::string, std::string> utf8_{{"LC_ALL", "C.UTF-8"}};
  const std::map<std::string, std::string> plain_{{"LC_ALL", "C"}};
};

TEST_F(PlotTest, DrawsCharactersInAPipe) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3, 2, 1}, kMilliwatt));
  const std::string picture = Out({"plot", "TRACE"}, utf8_);
  EXPECT_THAT(picture, AllOf(HasSubstr("mW  TESTBENCH/1/TRACE\n"), HasSubstr("│"), HasSubstr("point\n")));
  EXPECT_THAT(picture, Not(HasSubstr("\x1b"))) << "no escape sequences where there is no terminal";
  EXPECT_EQ(std::count(picture.begin(), picture.end(), '\n'), 24);
}

TEST_F(PlotTest, DrawsAsciiWhereTheLocaleOrTheUserWantsIt) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  const std::string picture = Out({"plot", "TRACE"}, plain_);
  EXPECT_THAT(picture, HasSubstr("mW  * TESTBENCH/1/TRACE\n"));
  for (const char c : picture) EXPECT_LT(static_cast<unsigned char>(c), 0x80);
  EXPECT_EQ(Out({"plot", "TRACE", "--ascii"}, utf8_), picture);
}

TEST_F(PlotTest, FitsTheSizeThatItIsTold) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  const std::string picture = Out({"plot", "TRACE"}, {{"LC_ALL", "C"}, {"COLUMNS", "40"}, {"LINES", "12"}});
  EXPECT_EQ(std::count(picture.begin(), picture.end(), '\n'), 12);
  std::istringstream lines(picture);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 40u) << line;
}

TEST_F(PlotTest, FitsTheTerminalAndUsesItsColours) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  PseudoTerminal terminal(BuiltProgram("mathctl"), {"plot", "TRACE"}, TerminalEnvironment(), {50, 20});
  EXPECT_EQ(terminal.Wait(), kDone);
  EXPECT_THAT(terminal.All(), HasSubstr("\x1b[36m"));
  EXPECT_EQ(std::count(terminal.All().begin(), terminal.All().end(), '\n'), 19);
  auto environment = TerminalEnvironment();
  environment["NO_COLOR"] = "1";
  PseudoTerminal plain(BuiltProgram("mathctl"), {"plot", "TRACE"}, environment);
  EXPECT_EQ(plain.Wait(), kDone);
  EXPECT_THAT(plain.All(), Not(HasSubstr("\x1b[")));
}

TEST_F(PlotTest, SeveralUnitsHaveSeveralPanels) {
  BT_DATA timed = Trace({1, 2, 3}, kMilliwatt);
  timed.x_step = 1e-6;
  timed.header[2] = Value::U_Second;
  TraceInput trace(bench_, "TRACE", timed), level(bench_, "LEVEL", Trace({-10, -20, -30}, kdBm));
  Out({"create", "Peak", "TRACE"});
  const std::string picture = Out({"plot", "TRACE", "math:0", "LEVEL"}, plain_);
  EXPECT_THAT(picture, AllOf(HasSubstr("mW  * TESTBENCH/1/TRACE  + math:0\n"), HasSubstr("time (us)\n"),
                             HasSubstr("dBm  * TESTBENCH/1/LEVEL\n"), HasSubstr("point\n")));
}

TEST_F(PlotTest, AnUnusualNumberHarmsNothing) {
  TraceInput trace(bench_, "TRACE", Trace({std::nanf(""), -INFINITY, 3e38f, -3e38f}, kMilliwatt));
  TraceInput empty(bench_, "EMPTY", Trace({}, kMilliwatt));
  EXPECT_THAT(Out({"plot", "TRACE", "EMPTY"}, plain_), HasSubstr("*"));
}

TEST_F(PlotTest, TheEndingSaysWhatKindOfFileItIs) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, kMilliwatt));
  const std::string png = File("it's a picture.png"), svg = File("a.SVG"), pdf = File("a.pdf");
  EXPECT_EQ(Out({"plot", "TRACE", "-o", png}), png + "\n");
  EXPECT_THAT(FileText(png), StartsWith("\x89PNG\r\n\x1a\n"));
  EXPECT_EQ(ObjectsIn(Out({"plot", "TRACE", "--output", svg, "--json"})).at(0)["file"], svg);
  EXPECT_THAT(FileText(svg), AllOf(StartsWith("<?xml"), HasSubstr("TESTBENCH/1/TRACE")));
  EXPECT_EQ(Out({"plot", "TRACE", "-o", pdf}), pdf + "\n");
  EXPECT_THAT(FileText(pdf), StartsWith("%PDF"));
  EXPECT_EQ(FilesBeside(), 0u);
}

TEST_F(PlotTest, SaysInOneLineWhatIsWrong) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, kMilliwatt));
  Out({"create", "Peak", "LEVEL"});
  const std::string no_folder = File("none/a.png"), folder = File("folder.png");
  std::filesystem::create_directory(folder);
  ExpectRefusals({
      {{"plot", "TRACE", "-o", "a.jpg"}, kUsage, ".png, .svg or .pdf"},
      {{"plot", "TRACE", "-o", "/dev/full"}, kUsage, ".png, .svg or .pdf"},
      {{"plot", "TRACE", "-o", "/dev/stdout"}, kUsage, ".png, .svg or .pdf"},
      {{"plot", "TRACE", "-o", "a.jpg", "--naming", "127.0.0.1:1"}, kUsage, ".png, .svg or .pdf"},
      {{"plot", "TRACE", "-o", no_folder}, kRefused, "cannot be written (No such file or directory)"},
      {{"plot", "TRACE", "-o", folder}, kRefused, "cannot be written (Is a directory)"},
      {{"plot", "TRACE", "-n", "0"}, kUsage, "a whole number from 1 to 1000000 is needed"},
      {{"plot", "TRACE", "-n", "-3"}, kUsage, "-n"},
      {{"plot", "TRACE", "--for", "0"}, kUsage, "a number of seconds"},
      {{"plot", "TRACE", "--live", "-o", "a.png"}, kUsage, "excludes"},
      {{"plot", "TRACE", "--json"}, kUsage, "no other format"},
      {{"plot"}, kUsage, "READING"},
      {{"plot", "LEVEL"}, kUsage, "`--for SEC` or `-n N` draws the history of TESTBENCH/1/LEVEL"},
      {{"plot", "NOPE"}, kRefused, "NOPE"},
      {{"plot", "math:77"}, kRefused, "77"},
      {{"plot", "MATHFACTORY/1/RESET"}, kUsage, "an action has no value to draw"},
      {{"plot", "TRACE", "--naming", "127.0.0.1:1"}, kUnreachable, "127.0.0.1:1"},
  });
}

TEST_F(PlotTest, AFullDiskLeavesTheOldPicture) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  const std::string file = File("a.png");
  std::ofstream(file) << "the old one";
  const Outcome outcome = [&] {
    const auto process = platform_.Start("mathctl", {"plot", "TRACE", "-n", "1", "-o", file});
    EXPECT_TRUE(WaitForSubscriptions(1)) << process->Error();
    const rlimit small{1000, 1000};
    EXPECT_EQ(prlimit(process->Pid(), RLIMIT_FSIZE, &small, nullptr), 0);
    trace = Trace({4, 5, 6}, kMilliwatt, 1);
    const int exit_code = process->WaitForExit(kPatience);
    return Outcome{exit_code, process->Out(), process->Error()};
  }();
  EXPECT_EQ(outcome.exit_code, kRefused) << outcome.error;
  EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
  EXPECT_EQ(FileText(file), "the old one");
  EXPECT_EQ(FilesBeside(), 0u);
}

TEST_F(PlotTest, DrawsTheHistoryOfAScalarWithItsErrorBand) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, kMilliwatt));
  const auto plot = platform_.Start("mathctl", {"plot", "LEVEL", "-n", "3"}, plain_);
  ASSERT_TRUE(WaitForSubscriptions(1)) << plot->Error();
  for (const double value : {2, 3, 4}) level = ScalarOf(value, kMilliwatt, -1, 2);
  ASSERT_EQ(plot->WaitForExit(kPatience), kDone) << plot->Error();
  EXPECT_THAT(plot->Out(), AllOf(HasSubstr("mW  * TESTBENCH/1/LEVEL\n"), HasSubstr(":"), HasSubstr("*"),
                                 HasSubstr("time since "), StartsWith("captured from ")));
  EXPECT_TRUE(WaitForSubscriptions(0)) << "the plot left its subscription behind";
}

TEST_F(PlotTest, DrawsWhatCameUntilItsTimeIsOver) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, kMilliwatt));
  const Outcome silent = Run({"plot", "LEVEL", "--for", "0.2"});
  EXPECT_EQ(silent.exit_code, kUnreachable);
  EXPECT_THAT(silent.error, HasSubstr("no sample came within 0.2 s; `mathctl doctor TESTBENCH/1/LEVEL`"));
}

TEST_F(PlotTest, CtrlCDrawsWhatHasCome) {
  LongInput count(bench_, "COUNT", 0);
  const auto plot = platform_.Start("mathctl", {"plot", "COUNT", "-n", "1000", "--for", "600"}, plain_);
  ASSERT_TRUE(WaitForSubscriptions(1)) << plot->Error();
  for (int i = 0; i < 5; ++i) count = i;
  const CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
  const Corvanta::DDS_Manager_var manager = Corvanta::DDS_Manager::_narrow(object);
  ASSERT_TRUE(WaitUntil([&] {
    const Corvanta::SubscriptionStatusSeq_var subscriptions = manager->Subscriptions();
    return subscriptions->length() == 1 && subscriptions.in()[0].delivered == 5;
  }));
  plot->Signal(SIGINT);
  EXPECT_EQ(plot->WaitForExit(kPatience), kDone) << plot->Error();
  EXPECT_THAT(plot->Out(), HasSubstr("(no unit)  * TESTBENCH/1/COUNT\n"));
  EXPECT_EQ(plot->Error(), "");
}

TEST_F(PlotTest, LiveDrawsAgainWithEachResultUntilQ) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  PseudoTerminal terminal(BuiltProgram("mathctl"), {"plot", "TRACE", "--live"}, TerminalEnvironment());
  terminal.ReadUntil("0 results; q ends");
  ASSERT_TRUE(WaitForSubscriptions(1));
  trace = Trace({7, 8, 9}, kMilliwatt, 1);
  terminal.ReadUntil("1 results; q ends");
  terminal.Resize({40, 12});
  terminal.ReadUntil("1 results; q ends");
  terminal.Write("q");
  EXPECT_EQ(terminal.Wait(), kDone);
  EXPECT_THAT(terminal.All(), AllOf(HasSubstr("\x1b[?1049h"), HasSubstr("\x1b[?1049l"), HasSubstr("\x1b[?25h")));
  EXPECT_TRUE(WaitForSubscriptions(0));
}

TEST_F(PlotTest, LiveEndsInGoodOrderOnCtrlC) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  PseudoTerminal terminal(BuiltProgram("mathctl"), {"plot", "TRACE", "--live"}, TerminalEnvironment());
  terminal.ReadUntil("q ends");
  terminal.Write("\x03");
  EXPECT_EQ(terminal.Wait(), kDone);
  EXPECT_THAT(terminal.All(), HasSubstr("\x1b[?1049l"));
  EXPECT_TRUE(WaitForSubscriptions(0));
}

TEST_F(PlotTest, LiveInAPipeEndsAfterItsResults) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, kMilliwatt));
  const auto plot = platform_.Start("mathctl", {"plot", "LEVEL", "--live", "-n", "3"}, plain_);
  ASSERT_TRUE(WaitForSubscriptions(1)) << plot->Error();
  for (const double value : {2, 3, 4}) level = ScalarOf(value, kMilliwatt);
  ASSERT_EQ(plot->WaitForExit(kPatience), kDone) << plot->Error();
  EXPECT_THAT(plot->Out(), EndsWith("3 results\n"));
  EXPECT_THAT(plot->Out(), Not(HasSubstr("\x1b")));
}

TEST_F(PlotTest, LiveEndsWhenItsObjectGoes) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, kMilliwatt));
  Out({"create", "Peak", "LEVEL"});
  const auto plot = platform_.Start("mathctl", {"plot", "math:0", "--live", "--timeout", "0.3"}, plain_);
  ASSERT_TRUE(WaitForSubscriptions(2)) << plot->Error();
  Out({"delete", "math:0"});
  EXPECT_EQ(plot->WaitForExit(kPatience), kRefused);
  const std::string error = plot->Error();
  EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 1) << error;
}

}  // namespace
}  // namespace Lumenar::Test
