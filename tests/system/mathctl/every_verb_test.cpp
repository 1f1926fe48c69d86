// SPDX-License-Identifier: Apache-2.0
// What no verb may be without: help with an example, a page of the manual, a whole-system test.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "tests/system/mathctl/FrameFixture.h"

namespace Lumenar::Test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

std::string TextOfFile(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

class EveryVerb : public testing::Test {
 protected:
  EveryVerb() { Mathctl::DefineApplication(app_, command_); }

  std::vector<const CLI::App*> Verbs() const {
    return app_.get_subcommands([](const CLI::App* verb) { return !verb->get_group().empty(); });
  }

  // Of all tests that run the program, but for this one, which names no verb.
  static std::string SystemTests() {
    std::string texts = TextOfFile(fs::path(LUMENAR_TESTS) / "unit/tools/mathctl/mathctl_test.cpp");
    for (const auto& entry : fs::directory_iterator(fs::path(LUMENAR_TESTS) / "system/mathctl")) {
      if (entry.path().extension() == ".cpp") texts += TextOfFile(entry.path());
    }
    return texts;
  }

  Mathctl::Command command_;
  CLI::App app_{"", "mathctl"};
};

TEST_F(EveryVerb, HasHelpWithAnExample) {
  ASSERT_GE(Verbs().size(), 14u);
  for (const CLI::App* verb : Verbs()) {
    EXPECT_FALSE(verb->get_description().empty()) << verb->get_name();
    EXPECT_THAT(verb->get_footer(), HasSubstr("Example")) << verb->get_name();
    EXPECT_THAT(verb->get_footer(), HasSubstr("mathctl " + verb->get_name())) << verb->get_name();
  }
}

TEST_F(EveryVerb, HasHelpForTerminalsOf120Columns) {
  for (const CLI::App* verb : Verbs()) {
    std::istringstream help(verb->help());
    for (std::string line; std::getline(help, line);) EXPECT_LE(line.size(), 120u) << verb->get_name() << ": " << line;
  }
}

TEST_F(EveryVerb, IsRunByAWholeSystemTest) {
  const std::string tests = SystemTests();
  for (const CLI::App* verb : Verbs()) {
    EXPECT_THAT(tests.find("\"" + verb->get_name() + "\""), testing::Ne(std::string::npos)) << verb->get_name();
  }
}

TEST_F(EveryVerb, StandsInTheManual) {
  const std::string manual = TextOfFile(fs::path(LUMENAR_TESTS) / "../packaging/man/mathctl.1");
  for (const CLI::App* verb : Verbs()) EXPECT_THAT(manual, HasSubstr("\n.B " + verb->get_name())) << verb->get_name();
  for (const CLI::Option* option : app_.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      std::string escaped = "\\-\\-";
      for (const char c : name) escaped += c == '-' ? std::string("\\-") : std::string(1, c);
      EXPECT_THAT(manual, HasSubstr(escaped));
    }
  }
}

}  // namespace
}  // namespace Lumenar::Test
