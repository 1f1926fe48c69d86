// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/StateFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <system_error>

#include "scratch_directory.h"

namespace Lumenar::Test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Entry = StateFile::Entry;

class State : public testing::Test {
 protected:
  StateFile::State ReadText(const std::string& text) {
    return StateFile(directory_.Write("state", text)).Read(problem_);
  }
  ScratchDirectory directory_;
  std::string problem_;
};

TEST_F(State, RoundTrip) {
  const StateFile file(directory_.Path() / "state");
  const StateFile::State written{17,
                                 {{3, "MATHFACTORY/1/RESULT.2", "IOR:0123"}, {16, " %\n\xc3\xa4\x01%41", "IOR:45"}}};
  file.Write(written);
  const StateFile::State read = file.Read(problem_);
  EXPECT_EQ(read.next_handle, 17);
  EXPECT_EQ(read.entries, written.entries);
  EXPECT_THAT(problem_, IsEmpty());
}

TEST_F(State, IsReadableByItsOwnerOnlyAndLeavesNothingElse) {
  StateFile(directory_.Path() / "state").Write({});
  struct stat status {};
  ASSERT_EQ(::stat((directory_.Path() / "state").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.Path()), {}), 1);
}

TEST_F(State, NoFileIsAnEmptyState) {
  const StateFile::State state = StateFile(directory_.Path() / "none").Read(problem_);
  EXPECT_EQ(state.next_handle, 1);
  EXPECT_THAT(state.entries, IsEmpty());
  EXPECT_THAT(problem_, IsEmpty());
}

TEST_F(State, ADirectoryThatIsNotThereIsAnError) {
  EXPECT_THROW(StateFile(directory_.Path() / "none" / "state").Write({}), std::system_error);
}

struct Damage {
  const char* what;
  const char* line;
};

class DamagedLine : public State, public testing::WithParamInterface<Damage> {};

TEST_P(DamagedLine, IsToldOnceAndTheOthersAreKept) {
  const auto state = ReadText(std::string("topic_manager subscriptions 1\nnext 9\nsub 3 A IOR:01\n") + GetParam().line +
                              "\nsub 5 B IOR:02\n");
  EXPECT_THAT(state.entries, ElementsAre(Entry{3, "A", "IOR:01"}, Entry{5, "B", "IOR:02"}));
  EXPECT_EQ(state.next_handle, 9);
  EXPECT_THAT(problem_, HasSubstr("state:4: damaged (1 line(s) in all not read, 2 subscription(s) kept)"));
}

INSTANTIATE_TEST_SUITE_P(StateFile, DamagedLine,
                         testing::Values(Damage{"garbage", "\x01\x02garbage"}, Damage{"empty line", ""},
                                         Damage{"cut off", "sub 4 A"}, Damage{"no handle", "sub x A IOR:01"},
                                         Damage{"handle 0", "sub 0 A IOR:01"}, Damage{"negative", "sub -4 A IOR:01"},
                                         Damage{"handle too large", "sub 2147483648 A IOR:01"},
                                         Damage{"handle twice", "sub 3 A IOR:01"}, Damage{"no reference", "sub 4 A B"},
                                         Damage{"bad escape", "sub 4 A%4 IOR:01"},
                                         Damage{"bad escape digits", "sub 4 A%4gB IOR:01"},
                                         Damage{"end of none", "end 4"}, Damage{"end without handle", "end"},
                                         Damage{"too much", "sub 4 A IOR:01 IOR:02"}, Damage{"bad next", "next x"}));

TEST_F(State, AddedLinesBeginAndEndSubscriptions) {
  const StateFile file(directory_.Path() / "state");
  file.Write({4, {{1, "A", "IOR:01"}, {3, "B", "IOR:02"}}});
  file.Append(StateFile::BeginLine({7, "C %", "IOR:03"}) + StateFile::BeginLine({8, "D", "IOR:04"}));
  file.Append(StateFile::EndLine(1));
  file.Append(StateFile::EndLine(8));
  const StateFile::State read = file.Read(problem_);
  EXPECT_THAT(read.entries, ElementsAre(Entry{3, "B", "IOR:02"}, Entry{7, "C %", "IOR:03"}));
  EXPECT_EQ(read.next_handle, 9) << "the handle of a subscription that ended is not used again";
  EXPECT_THAT(problem_, IsEmpty());
}

TEST_F(State, NothingIsAddedToAFileThatIsNotThere) {
  EXPECT_THROW(StateFile(directory_.Path() / "state").Append(StateFile::EndLine(1)), std::system_error);
}

TEST_F(State, TheNextHandleIsAboveAllThatWereRead) {
  EXPECT_EQ(ReadText("topic_manager subscriptions 1\nnext 2\nsub 7 A IOR:01\n").next_handle, 8);
}

TEST_F(State, AfterTheLastHandleTheyStartAnew) {
  const std::string title = "topic_manager subscriptions 1\n";
  EXPECT_EQ(ReadText(title + "sub 2147483646 A IOR:01\n").next_handle, 2147483647);
  EXPECT_EQ(ReadText(title + "next 2\nsub 2147483647 A IOR:01\n").next_handle, 1);
  EXPECT_EQ(ReadText(title + "sub 2147483647 A IOR:01\nnext 5\n").next_handle, 5);
  EXPECT_EQ(ReadText(title + "sub 2147483647 A IOR:01\nnext 5\nsub 5 B IOR:02\n").next_handle, 6);
  EXPECT_THAT(problem_, IsEmpty());
}

TEST_F(State, AReferenceIsBounded) {
  const std::string title = "topic_manager subscriptions 1\n";
  const std::string longest = "IOR:" + std::string(StateFile::kLongestReference - 4, '0');
  EXPECT_EQ(ReadText(title + "sub 3 A " + longest + "\n").entries.size(), 1u);
  EXPECT_THAT(problem_, IsEmpty());
  EXPECT_THAT(ReadText(title + "sub 3 A " + longest + "0\nsub 4 B IOR:01\n").entries,
              ElementsAre(Entry{4, "B", "IOR:01"}));
  EXPECT_THAT(problem_, HasSubstr("state:2: damaged"));
  EXPECT_THAT(ReadText(title + "sub 3 A IOR:" + std::string(70 << 20, '0') + "\nsub 4 B IOR:01\n").entries,
              ElementsAre(Entry{4, "B", "IOR:01"}));
}

TEST_F(State, WhatIsNoRegularFileIsRefused) {
  const auto path = directory_.Path() / "state";
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  EXPECT_THROW(StateFile(path).Read(problem_), std::runtime_error);
  std::filesystem::remove(path);
  std::filesystem::create_symlink("/etc/passwd", path);
  EXPECT_THROW(StateFile(path).Read(problem_), std::runtime_error);
  EXPECT_THROW(StateFile(directory_.Path()).Read(problem_), std::runtime_error);
}

TEST_F(State, AFileOfAnotherKindIsToldOfAndReadAsFarAsItGoes) {
  EXPECT_THAT(ReadText("something else\nsub 7 A IOR:01\n").entries, ElementsAre(Entry{7, "A", "IOR:01"}));
  EXPECT_THAT(problem_, HasSubstr("state:1: damaged"));
}

TEST_F(State, AnEmptyFileIsToldOf) {
  EXPECT_THAT(ReadText("").entries, IsEmpty());
  EXPECT_THAT(problem_, HasSubstr("empty"));
}

}  // namespace
}  // namespace Lumenar::Test
