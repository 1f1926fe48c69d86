// SPDX-License-Identifier: Apache-2.0
// Every verb with right and with wrong arguments, in a pipe and on a terminal: the exit code, what goes to standard output
// and what to standard error, and that nothing but a terminal gets colours or progress.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "recording/RecordingWriter.h"
#include "tests/system/mathctl/FrameFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUnreachable;
using Mathctl::kUsage;
using testing::HasSubstr;
using testing::Not;

/// One way to call a verb. In its words "{object}" is a math object of its own, "{new}" a name of a file that is not there,
/// "{recording}" a recording and "{set}" a saved set of objects.
struct VerbCall {
  std::vector<std::string> words;
  int exit_code;
  const char* out;    ///< stands in standard output; empty: nothing is written there
  const char* error;  ///< stands in its one line of standard error; empty: nothing is written there
  enum { Ends, EndsWithCtrlC } end = Ends;
  enum { Plain, Draws, ShowsProgress, MayShowProgress } on_terminal = Plain;  ///< what it does there besides
};

const VerbCall kCalls[] = {
    {{"engines"}, kDone, "TESTBENCH/1", ""},
    {{"engines", "more"}, kUsage, "", "not expected: more"},
    {{"readings", "LEVEL"}, kDone, "TESTBENCH/1/LEVEL", ""},
    {{"readings", "LEVLE"}, kRefused, "", "near: TESTBENCH/1/LEVEL"},
    {{"types"}, kDone, "CumulativeAdd", ""},
    {{"types", "more"}, kUsage, "", "not expected: more"},
    {{"create", "Average", "LEVEL"}, kDone, "math:", ""},
    {{"create", "Mean", "LEVEL"}, kUsage, "", "no type \"Mean\""},
    {{"list", "{object}"}, kDone, "TESTBENCH/1/LEVEL", ""},
    {{"list", "math:999999"}, kRefused, "", "no math object math:999999"},
    {{"show", "{object}"}, kDone, "Average", ""},
    {{"show", "LEVEL"}, kRefused, "", "no math object fits"},
    {{"top", "-n", "1"}, kDone, "MATHFACTORY/1", "", VerbCall::Ends, VerbCall::Draws},
    {{"top", "-d", "0"}, kUsage, "", "--delay"},
    {{"get", "LEVEL"}, kDone, "1 W  +0 +0 W", ""},
    {{"get", "LEVLE"}, kRefused, "", "near: TESTBENCH/1/LEVEL"},
    {{"watch", "LEVEL"}, kDone, "1 W  +0 +0 W", "", VerbCall::EndsWithCtrlC},
    {{"watch", "LEVEL", "-n", "0"}, kUsage, "", "-n"},
    {{"plot", "TRACE"}, kDone, "TESTBENCH/1/TRACE", "", VerbCall::Ends, VerbCall::Draws},
    {{"plot", "TRACE", "-o", "{new}.bmp"}, kUsage, "", ".png, .svg or .pdf"},
    {{"record", "{new}.jsonl", "LEVEL", "--for", "0.2"}, kDone, "SAMPLES", "", VerbCall::Ends, VerbCall::ShowsProgress},
    {{"record", "{new}.jsonl", "LEVEL", "-n", "0"}, kUsage, "", "-n"},
    {{"replay", "{recording}", "--speed", "0"}, kDone, "RECORDED AS", "", VerbCall::Ends, VerbCall::MayShowProgress},
    {{"replay", "{recording}", "--speed", "0", "--stay"},
     kDone,
     "RECORDED AS",
     "",
     VerbCall::EndsWithCtrlC,
     VerbCall::MayShowProgress},
    {{"replay", "{new}.jsonl"}, kRefused, "", "No such file or directory"},
    {{"convert", "{recording}", "{new}.csv"}, kDone, "SAMPLES", "", VerbCall::Ends, VerbCall::ShowsProgress},
    {{"convert", "{recording}", "{new}.txt"}, kUsage, "", "the name must end in"},
    {{"reference", "save", "{new}.jsonl", "TRACE"}, kDone, "TESTBENCH/1/TRACE", ""},
    {{"reference", "save"}, kUsage, "", "FILE is required"},
    {{"reference", "load", "{recording}", "--reading", "LEVEL"}, kDone, "REFERENCE/", "", VerbCall::EndsWithCtrlC},
    {{"reference", "load", "{new}.jsonl"}, kRefused, "", "No such file or directory"},
    {{"save", "{new}.json"}, kDone, "", ""},
    {{"save", "{new}/a.json"}, kRefused, "", "No such file or directory"},
    {{"apply", "{set}"}, kDone, "there", ""},
    {{"apply", "{new}.json"}, kRefused, "", "No such file or directory"},
    {{"set", "{object}", "SIZE", "3"}, kDone, "", ""},
    {{"set", "{object}", "SIZE", "many"}, kUsage, "", "not a whole number"},
    {{"reset", "{object}"}, kDone, "", ""},
    {{"reset", "math:999999"}, kRefused, "", "no math object 999999"},
    {{"delete", "{object}"}, kDone, "", ""},
    {{"delete", "{object}", "math:*"}, kUsage, "", "--yes does it"},
    {{"subscriptions"}, kDone, "TESTBENCH/1/LEVEL", ""},
    {{"subscriptions", "more"}, kUsage, "", "not expected: more"},
    {{"doctor", "COUNT", "--count", "0.05"}, kDone, "topic manager", ""},
    {{"doctor", "NOWHERE", "--count", "0.05"}, kUnreachable, "FAILS", "is not well"},
    {{"doctor", "--count", "0"}, kUsage, "", "--count"},
#ifdef LUMENAR_HAS_SIGROK
    {{"discover", "-q", "demo"}, kDone, "SETTING", ""},
#endif
    {{"discover", "-q", "127.0.0.1:1"}, kUnreachable, "127.0.0.1:1", "1 of 1 do not answer"},
    {{"discover", "--limit", "0", "demo"}, kUsage, "", "--limit"},
    {{"explain", "{object}", "--count", "0.05"}, kDone, "mean of the last", ""},
    {{"explain", "LEVLE"}, kRefused, "", "near: TESTBENCH/1/LEVEL"},
    {{"graph"}, kDone, "TESTBENCH/1/LEVEL", ""},
    {{"graph", "-o", "{new}.bmp"}, kUsage, "", ".dot, .svg or .png"},
    {{"verify", "{recording}"}, kDone, "explained", ""},
    {{"verify", "{new}.jsonl"}, kRefused, "", "No such file or directory"},
    {{"completion", "bash"}, kDone, "complete ", ""},
    {{"completion", "tcsh"}, kUsage, "", "SHELL: "},
};

std::string Without(std::string text, const std::string& mark, const std::string& value) {
  for (std::size_t at = 0; (at = text.find(mark)) != std::string::npos;) text.replace(at, mark.size(), value);
  return text;
}

/// What is left of a terminal's text without the line of progress, which begins at the left border and ends by wiping the
/// rest of the line.
std::string WithoutProgress(std::string text) {
  for (std::size_t at = 0; (at = text.find('\r')) != std::string::npos;) {
    const std::size_t end = text.find("\x1b[K", at);
    if (end == std::string::npos) break;
    text.erase(at, end + 3 - at);
  }
  return text;
}

class BothWaysTest : public FrameFixture {
 protected:
  BothWaysTest() {
    WriteRecording(File("recording.jsonl"));
    Out({"create", "Peak", "LEVEL"});
    Out({"save", File("set.json")});
  }

  std::string File(const std::string& name) const { return (platform_.Directory() / name).string(); }

  /// A reading, and the Peak of it, which rises with each sample.
  static void WriteRecording(const std::string& path) {
    constexpr std::int64_t kBegin_ns = 1'714'979'289'000'000'000;
    Recording::RecordingWriter writer(path, {}, kBegin_ns);
    writer.Add({0, "OLD/1/LEVEL", "OLD/1", "LEVEL", "ValueDouble", "OLD/1/LEVEL", std::nullopt});
    writer.Add({0, "math:4", "MATHFACTORY/1", "RESULT", "ValueDouble", "MATHFACTORY/1/RESULT",
                Recording::ObjectInfo{4, "Peak", {"OLD/1/LEVEL"}, 0}});
    for (int i = 0; i < 20; ++i) {
      for (const std::uint32_t reading : {0u, 1u})
        writer.Write(
            Recording::Sample{reading, kBegin_ns + i * 1'000'000 + reading,
                              Corvanta::SampleRecord(std::in_place_type<Scalar>, ScalarOf(i, Value::C_Watts))});
    }
    writer.Finish(kBegin_ns + 1'000'000'000, 0);
  }

  /// The words with everything in its place, made anew for each call.
  Words WordsOf(const VerbCall& call) {
    Words words = call.words;
    for (std::string& word : words) {
      if (word == "{object}") word = NewObject();
      word = Without(word, "{new}", File("new-" + std::to_string(++files_)));
      word = Without(word, "{recording}", File("recording.jsonl"));
      word = Without(word, "{set}", File("set.json"));
    }
    return words;
  }

  std::string NewObject() {
    std::string name = Out({"create", "Average", "LEVEL"});
    name.pop_back();
    return name;
  }

  static bool IsReady(const VerbCall& call, const std::string& out) { return out.find(call.out) != std::string::npos; }

  void InAPipe(const VerbCall& call) {
    const auto process = platform_.Start("mathctl", WordsOf(call));
    if (call.end == VerbCall::EndsWithCtrlC) {
      EXPECT_TRUE(WaitUntil([&] { return IsReady(call, process->Out()); }, kPatience));
      process->Signal(SIGINT);
    }
    EXPECT_EQ(process->WaitForExit(kPatience), call.exit_code);
    ExpectOut(call, process->Out());
    ExpectError(call, process->Error());
    for (const std::string& text : {process->Out(), process->Error()}) {
      EXPECT_THAT(text, Not(HasSubstr("\x1b"))) << "no colours, no progress";
      EXPECT_THAT(text, Not(HasSubstr("\r")));
    }
  }

  /// With one of the two streams on the terminal, and the other one in a file. The text of each.
  void OnATerminal(const VerbCall& call, bool is_out, std::map<std::string, std::string> environment = {}) {
    Words words = WordsOf(call);
    const std::string file = File("stream-" + std::to_string(++files_));
    words.insert(words.begin(), {"-c", std::string("exec \"$@\" ") + (is_out ? "2>" : ">") + "\"$0\"", file,
                                 BuiltProgram("mathctl").string()});
    environment.insert(platform_.Environment().begin(), platform_.Environment().end());
    PseudoTerminal terminal("/bin/bash", words, environment);
    if (call.end == VerbCall::EndsWithCtrlC) {
      if (is_out) terminal.ReadUntil(call.out, kPatience);
      EXPECT_TRUE(WaitUntil([&] { return is_out || IsReady(call, TextOf(file)); }, kPatience));
      terminal.Write("\x03");
    }
    EXPECT_EQ(terminal.Wait(kPatience), call.exit_code);
    const std::string out = is_out ? terminal.All() : TextOf(file), error = is_out ? TextOf(file) : terminal.All();
    ExpectOut(call, out);
    ExpectError(call, is_out ? error : WithoutProgress(error));
    EXPECT_THAT(is_out ? error : out, Not(HasSubstr("\x1b"))) << "this is no terminal";
    if (environment.contains("NO_COLOR")) return ExpectNoColours(out);
    is_out ? ExpectDrawing(call, out) : ExpectProgress(call, error);
  }

  static void ExpectDrawing(const VerbCall& call, const std::string& out) {
    EXPECT_EQ(out.find('\x1b') != std::string::npos, call.on_terminal == VerbCall::Draws);
  }

  static void ExpectProgress(const VerbCall& call, const std::string& error) {
    if (call.on_terminal == VerbCall::MayShowProgress) return;  // how long it takes decides
    EXPECT_EQ(error.find('\r') != std::string::npos, call.on_terminal == VerbCall::ShowsProgress);
  }

  static void ExpectNoColours(const std::string& out) {
    static const std::regex colour("\x1b\\[([0-9;]*;)?(3|4|9|10)[0-7](;[0-9;]*)?m");
    EXPECT_FALSE(std::regex_search(out, colour)) << out;
  }

  static void ExpectOut(const VerbCall& call, const std::string& out) {
    if (*call.out == '\0') {
      EXPECT_EQ(out, "");
      return;
    }
    EXPECT_THAT(out, HasSubstr(call.out));
    EXPECT_THAT(out, testing::AnyOf(testing::EndsWith("\n"), HasSubstr("\x1b")));
  }

  static void ExpectError(const VerbCall& call, const std::string& error) {
    if (*call.error == '\0') {
      EXPECT_EQ(error, "");
      return;
    }
    EXPECT_THAT(error, testing::MatchesRegex("mathctl: [^\n]+\n")) << "one line";
    EXPECT_THAT(error, HasSubstr(call.error));
  }

  static std::string TextOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  ScalarInput level_{bench_, "LEVEL", ScalarOf(1, Value::C_Watts)};
  TraceInput trace_{bench_, "TRACE", Trace({1, 2, 3}, kdBm)};
  LongInput count_{bench_, "COUNT", 1};
  int files_ = 0;
};

TEST_F(BothWaysTest, EachVerbInAPipe) {
  for (const VerbCall& call : kCalls) {
    SCOPED_TRACE(testing::PrintToString(call.words));
    InAPipe(call);
  }
}

TEST_F(BothWaysTest, EachVerbOnATerminal) {
  for (const VerbCall& call : kCalls) {
    for (const bool is_out : {true, false}) {
      SCOPED_TRACE(testing::PrintToString(call.words) + (is_out ? ": standard output" : ": standard error"));
      OnATerminal(call, is_out);
    }
    if (call.on_terminal == VerbCall::Draws) OnATerminal(call, true, {{"NO_COLOR", "1"}});
  }
}

TEST(BothWaysTable, HasEveryVerbWithRightAndWithWrongArguments) {
  Mathctl::Command command;
  CLI::App app{"", "mathctl"};
  Mathctl::DefineApplication(app, command);
  std::set<std::string> right, wrong;
  for (const VerbCall& call : kCalls) (call.exit_code == kDone ? right : wrong).insert(call.words.front());
  for (const CLI::App* verb : app.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); })) {
#ifndef LUMENAR_HAS_SIGROK
    if (verb->get_name() == "discover") continue;  // nobody answers
#endif
    EXPECT_TRUE(right.contains(verb->get_name())) << verb->get_name();
    EXPECT_TRUE(wrong.contains(verb->get_name())) << verb->get_name();
  }
}

}  // namespace
}  // namespace Lumenar::Test
