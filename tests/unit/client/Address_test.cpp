// SPDX-License-Identifier: Apache-2.0
#include "client/Address.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/Error.h"

namespace Lumenar::Client {
namespace {

using testing::HasSubstr;

TEST(MathIdFromText, Table) {
  struct Row {
    const char* text;
    std::optional<std::int32_t> id;
  };
  const Row kRows[] = {
      {"math:3", 3},
      {"3", 3},
      {"0", 0},
      {"math:0", 0},
      {"2147483647", 2147483647},
      {"2147483648", {}},
      {"-1", {}},
      {"-0", {}},
      {"math:-1", {}},
      {"+1", {}},
      {"math:", {}},
      {"", {}},
      {"3a", {}},
      {" 3", {}},
      {"3 ", {}},
      {"Math:3", 3},
      {"Matx:3", {}},
      {"math:math:3", {}},
      {"PROBE/1/3", {}},
      {"1.0", {}},
  };
  for (const Row& row : kRows) EXPECT_EQ(MathIdFromText(row.text), row.id) << '"' << row.text << '"';
}

class MatchReadingTest : public testing::Test {
 protected:
  const std::vector<ReadingName> names_{
      {"MATHFACTORY/1", "TYPE"}, {"MATHFACTORY/1", "RESULT"}, {"MATHFACTORY/1", "RESULT.2"},
      {"PROBE/1", "WAKEUP"},     {"PROBE/1", "START"},        {"PROBE/2", "WAKEUP"},
      {"SIM/1", "LEVEL"},        {"SIM/1", "bell\a"},         {"SIM/1", "PROBE/1/START"},
      {"SIM/2", "Level"},
  };

  ErrorKind KindFor(const std::string& text, std::string* message = nullptr) const {
    try {
      MatchReading(text, names_);
    } catch (const Error& error) {
      if (message != nullptr) *message = error.what();
      return error.Kind();
    }
    ADD_FAILURE() << text << " was found";
    return ErrorKind::Refused;
  }
};

TEST_F(MatchReadingTest, FindsByEveryFormThatFitsOnce) {
  struct Row {
    const char* text;
    std::size_t index;
    const char* why;
  };
  const Row kRows[] = {
      {"PROBE/1/WAKEUP", 3, "in full"},
      {"PROBE/2/WAKEUP", 5, "in full, the other instance"},
      {"MATHFACTORY/RESULT.2", 2, "without the instance"},
      {"LEVEL", 6, "the item alone"},
      {"RESULT", 1, "a whole item name, not the beginning of one"},
      {"bell\a", 7, "byte for byte"},
      {"bell\\x07", 7, "as it is printed"},
      {"PROBE/1/START", 4, "the fullest form wins over an item that happens to have this name"},
      {"Bell\a", 7, "in the other case of letters"},
      {"probe/1/Wakeup", 3, "in full, in the other case of letters"},
      {"Level", 9, "the one that is typed, where another one differs in the case of letters alone"},
  };
  for (const Row& row : kRows) EXPECT_EQ(MatchReading(row.text, names_), row.index) << row.why;
}

TEST_F(MatchReadingTest, SaysWhatATextMayMean) {
  std::string message;
  EXPECT_EQ(KindFor("WAKEUP", &message), ErrorKind::BadArgument);
  EXPECT_THAT(message, HasSubstr("PROBE/1/WAKEUP, PROBE/2/WAKEUP"));
  EXPECT_EQ(KindFor("PROBE/WAKEUP"), ErrorKind::BadArgument);
  EXPECT_EQ(KindFor("level", &message), ErrorKind::BadArgument);
  EXPECT_THAT(message, HasSubstr("SIM/1/LEVEL, SIM/2/Level"));
}

TEST_F(MatchReadingTest, RefusesWhatIsNotThere) {
  std::string message;
  EXPECT_EQ(KindFor("wake\nup", &message), ErrorKind::NotFound);
  EXPECT_EQ(message, "no reading \"wake\\x0aup\"; near: PROBE/1/WAKEUP, PROBE/2/WAKEUP");
  EXPECT_EQ(KindFor("PROBE/1/WAKUP", &message), ErrorKind::NotFound);
  EXPECT_THAT(message, HasSubstr("no reading \"PROBE/1/WAKUP\"; near: PROBE/1/WAKEUP"));
  EXPECT_EQ(KindFor("TEMPERATURE", &message), ErrorKind::NotFound);
  EXPECT_EQ(message, "no reading \"TEMPERATURE\"; `mathctl readings` lists them");
  for (const char* text : {"", "/", "PROBE", "PROBE/1", "PROBE/3/WAKEUP", "PROBE/1/WAKEUP "}) {
    EXPECT_EQ(KindFor(text), ErrorKind::NotFound) << '"' << text << '"';
  }
}

TEST_F(MatchReadingTest, PatternsMeanAllThatFit) {
  struct Row {
    const char* pattern;
    std::vector<std::size_t> indexes;
  };
  const Row kRows[] = {
      {"PROBE/1/*", {3, 4, 8}}, {"PROBE/?/WAKEUP", {3, 5}}, {"probe/wake*", {3, 5}}, {"*LEVEL", {6, 9}},
      {"RESULT", {1}},          {"*/RESULT*", {1, 2}},      {"bell\\x0?", {7}},
  };
  for (const Row& row : kRows) EXPECT_EQ(MatchReadings(row.pattern, names_), row.indexes) << row.pattern;
  EXPECT_THROW(MatchReadings("NOPE*", names_), Error);
  EXPECT_THROW(MatchReadings("WAKEUP", names_), Error) << "no pattern, and not the only one";
}

TEST(MatchReadings, ANameWithAStarIsThatNameAlone) {
  const std::vector<ReadingName> names{{"SIM/1", "A*"}, {"SIM/1", "AB"}};
  EXPECT_EQ(MatchReadings("A*", names), std::vector<std::size_t>{0});
}

}  // namespace
}  // namespace Lumenar::Client
