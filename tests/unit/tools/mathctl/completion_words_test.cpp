// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/completion_words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Lumenar::Mathctl {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using Words = std::vector<std::string>;

class WantedLastTest : public testing::Test {
 protected:
  WantedLastTest() { DefineApplication(app_, command_); }

  WordWanted Wanted(const std::string& line) const { return WantedLast(app_, WordsOfLine(line)); }

  Command command_;
  CLI::App app_{"", "mathctl"};
};

TEST_F(WantedLastTest, KindsOfWords) {
  const std::pair<const char*, WordKind> kRows[] = {
      {"mathctl ", WordKind::Fixed},
      {"mathctl get ", WordKind::Reading},
      {"mathctl GET ", WordKind::Reading},
      {"mathctl get PROBE/1/A PRO", WordKind::Reading},
      {"mathctl -w 2 --format json watch PRO", WordKind::Reading},
      {"mathctl watch -n ", WordKind::File},
      {"mathctl watch -n 3 ", WordKind::Reading},
      {"mathctl watch -n3 ", WordKind::Reading},
      {"mathctl watch --idle=3 ", WordKind::Reading},
      {"mathctl readings PRO", WordKind::Reading},
      {"mathctl delete math:1 ", WordKind::Object},
      {"mathctl reset ", WordKind::Object},
      {"mathctl set ", WordKind::Attribute},
      {"mathctl create ", WordKind::Type},
      {"mathctl create Average ", WordKind::Reading},
      {"mathctl engines ", WordKind::File},
      {"mathctl nonsense ", WordKind::Fixed},
  };
  for (const auto& [line, kind] : kRows) EXPECT_EQ(Wanted(line).kind, kind) << line;
}

TEST_F(WantedLastTest, FixedWords) {
  EXPECT_THAT(Wanted("mathctl ").fixed, IsSupersetOf({"list", "watch", "completion"}));
  EXPECT_THAT(Wanted("mathctl watch --").fixed, IsSupersetOf({"--idle", "--timeout", "-n", "--help"}));
  EXPECT_THAT(Wanted("mathctl --").fixed, Contains("--naming"));
  EXPECT_THAT(Wanted("mathctl list --format ").fixed, ElementsAre("table", "json", "csv"));
  EXPECT_THAT(Wanted("mathctl set math:3 ").fixed, ElementsAre("SIZE"));
  EXPECT_THAT(Wanted("mathctl set math:3 SIZE ").fixed, IsEmpty());
  EXPECT_THAT(Wanted("mathctl completion ").fixed, ElementsAre("bash", "zsh", "fish"));
}

TEST_F(WantedLastTest, ThePlatformIsThatOfTheLine) {
  const Options options = Wanted("mathctl --naming 10.0.0.1:2809 --factory MATHFACTORY/2 get ").options;
  EXPECT_EQ(options.naming, "10.0.0.1:2809");
  EXPECT_EQ(options.factory, "MATHFACTORY/2");
  EXPECT_EQ(Wanted("mathctl --naming nonsense get ").options.naming, "");
}

TEST(WordsOfLine, Table) {
  const std::pair<const char*, Words> kRows[] = {
      {"mathctl", {}},
      {"mathctl ", {""}},
      {"mathctl  get  PRO", {"get", "PRO"}},
      {"LUMENAR_NAMING=h:1 /usr/bin/mathctl get ", {"get", ""}},
      {"", {""}},
  };
  for (const auto& [line, words] : kRows) EXPECT_EQ(WordsOfLine(line), words) << line;
}

TEST(Beginning, TheCaseOfLettersDoesNotCount) {
  EXPECT_THAT(Beginning("probe/1/w", {"PROBE/1/WAKEUP", "PROBE/1/START", "PROBE"}), ElementsAre("PROBE/1/WAKEUP"));
  EXPECT_THAT(Beginning("", {"a", "b"}), ElementsAre("a", "b"));
}

}  // namespace
}  // namespace Lumenar::Mathctl
