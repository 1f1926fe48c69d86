// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/AnswerReader.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <stdexcept>

namespace Lumenar::Scpi {
namespace {

using namespace std::string_literals;

constexpr std::size_t kLargest = 1000;

Answer Whole(const std::string& bytes, LineEnd end = LineEnd::Lf) {
  AnswerReader reader(end, kLargest);
  reader.Add(bytes);
  EXPECT_TRUE(reader.IsWhole() || reader.EndsWithSilence()) << bytes;
  return reader.Take();
}

std::string WhyNot(const std::string& bytes, LineEnd end = LineEnd::Lf) {
  AnswerReader reader(end, kLargest);
  try {
    reader.Add(bytes);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return reader.IsWhole() ? "whole" : "goes on";
}

TEST(AnswerReader, ATextEndsWithALineFeed) {
  EXPECT_EQ(Whole("1.5\n").bytes, "1.5");
  EXPECT_EQ(Whole("1.5\r\n").bytes, "1.5");
  EXPECT_EQ(Whole("1.5\r\n", LineEnd::CrLf).bytes, "1.5");
  EXPECT_EQ(Whole("\n").bytes, "");
  EXPECT_EQ(Whole("#H1F\n").bytes, "#H1F") << "a hexadecimal number, no block";
  EXPECT_EQ(Whole("#\n").bytes, "#");
  EXPECT_FALSE(Whole("1.5\n").is_block);
}

TEST(AnswerReader, ABlockHasTheLengthThatItAnnounces) {
  const Answer answer = Whole("#15a\nb#9\n");
  EXPECT_TRUE(answer.is_block);
  EXPECT_EQ(answer.bytes, "a\nb#9");
  EXPECT_EQ(Whole("#10\n").bytes, "");
  EXPECT_EQ(Whole("#3005\0\0\0\0\0\r\n"s).bytes, "\0\0\0\0\0"s);
}

TEST(AnswerReader, WithoutLineEndSilenceEndsATextAndItsLengthABlock) {
  EXPECT_EQ(Whole("1.5", LineEnd::None).bytes, "1.5");
  EXPECT_EQ(Whole("1.5\r\n", LineEnd::None).bytes, "1.5");
  EXPECT_EQ(Whole("#12ab", LineEnd::None).bytes, "ab");
  EXPECT_EQ(Whole("#12ab\n", LineEnd::None).bytes, "ab");
  EXPECT_EQ(Whole("\r\n#12ab", LineEnd::None).bytes, "ab") << "the end of the answer before";
  EXPECT_EQ(WhyNot("#13ab", LineEnd::None), "goes on");
}

/// Wherever it is cut, the answer is the same.
TEST(AnswerReader, PiecesMakeTheWhole) {
  for (const std::string& bytes : {"-1.25E+3,7\r\n"s, "#211hello\nworld\n"s, "#15\0\1\2\3\4\n"s}) {
    const Answer whole = Whole(bytes);
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
      AnswerReader reader(LineEnd::Lf, kLargest);
      reader.Add(bytes.substr(0, cut));
      EXPECT_EQ(reader.IsWhole(), cut == bytes.size()) << cut;
      if (cut < bytes.size()) reader.Add(bytes.substr(cut));
      EXPECT_EQ(reader.Take().bytes, whole.bytes) << cut;
    }
    AnswerReader reader(LineEnd::Lf, kLargest);
    for (const char byte : bytes) {
      EXPECT_FALSE(reader.IsWhole());
      reader.Add(std::string(1, byte));
    }
    EXPECT_EQ(reader.Take().bytes, whole.bytes);
  }
}

TEST(AnswerReader, WhatCanBeNoAnswerIsRefused) {
  struct {
    std::string bytes;
    const char* reason;
  } const cases[] = {
      {"#9999999999", "a block that announces 999999999 bytes, more than 1000 (largest)"},
      {"#0abc\n", "a block of indefinite length (#0), whose end cannot be told: it needs a definite one"},
      {"#2x1", "a block whose length is no number: '#2x1'"},
      {"#12abc\n", "a block with more than the 2 bytes that it announces"},
      {"#12ab\nc", "more than one answer, the second begins with 'c'"},
      {"1\n2\n", "more than one answer, the second begins with '2\\x0a'"},
      {std::string(2000, 'n'), "more than 1000 bytes (largest)"},
  };
  for (const auto& [bytes, reason] : cases) EXPECT_EQ(WhyNot(bytes), reason);
  EXPECT_EQ(WhyNot("#12abc", LineEnd::None), "more than one answer, the second begins with 'c'");
}

TEST(AnswerReader, SaysHowFarItCame) {
  const auto progress = [](const std::string& bytes) {
    AnswerReader reader(LineEnd::Lf, kLargest);
    reader.Add(bytes);
    return reader.Progress();
  };
  EXPECT_EQ(progress(""), "");
  EXPECT_EQ(progress("#3100abc"), "3 of the 100 bytes that its block announces");
  EXPECT_EQ(progress("#13abc"), "all of the 3 bytes that its block announces, but no line end");
  EXPECT_EQ(progress("1.5"), "3 bytes without a line end");
}

std::size_t MemoryInUse() {
  const struct mallinfo2 memory = mallinfo2();
  return memory.uordblks + memory.hblkhd;
}

/// A length that lies takes no memory.
TEST(AnswerReader, MemoryIsTakenForWhatHasCome) {
  const std::size_t before = MemoryInUse();
  AnswerReader reader(LineEnd::Lf, 1'000'000'000);
  reader.Add("#9999999999abc");
  EXPECT_LT(MemoryInUse(), before + 100'000);
  EXPECT_EQ(reader.Progress(), "3 of the 999999999 bytes that its block announces");
}

}  // namespace
}  // namespace Lumenar::Scpi
