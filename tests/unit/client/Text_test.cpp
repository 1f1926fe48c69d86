// SPDX-License-Identifier: Apache-2.0
#include "client/Text.h"

#include <gtest/gtest.h>

namespace Lumenar::Client {
namespace {

struct TextRow {
  const char* why;
  std::string bytes;
  const char* text;
};

TEST(Printable, Table) {
  const TextRow kRows[] = {
      {"empty", "", ""},
      {"plain", "PROBE/1/WAKEUP dB", "PROBE/1/WAKEUP dB"},
      {"line ends and escapes would move the cursor", "a\nb\x1b[2J\r", "a\\x0ab\\x1b[2J\\x0d"},
      {"a zero inside", std::string("a\0b", 3), "a\\x00b"},
      {"delete", "\x7f", "\\x7f"},
      {"a backslash, so that two names never look the same", "\\x0a", "\\x5cx0a"},
      {"two bytes", "\xc2\xb5s", "\xc2\xb5s"},
      {"three bytes", "k\xe2\x84\xa6", "k\xe2\x84\xa6"},
      {"four bytes", "\xf0\x9f\x94\x8a", "\xf0\x9f\x94\x8a"},
      {"a control character of two bytes", "\xc2\x9b", "\\xc2\\x9b"},
      {"Latin-1", "\xb5s", "\\xb5s"},
      {"a sequence cut short", "\xe2\x84", "\\xe2\\x84"},
      {"a sequence cut short by a letter", "\xe2\x84x", "\\xe2\\x84x"},
      {"a longer form than needed", "\xc0\xaf", "\\xc0\\xaf"},
      {"a surrogate", "\xed\xa0\x80", "\\xed\\xa0\\x80"},
      {"past the last code point", "\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},
      {"a byte that never occurs", "\xff", "\\xff"},
  };
  for (const TextRow& row : kRows) EXPECT_EQ(Printable(row.bytes), row.text) << row.why;
}

}  // namespace
}  // namespace Lumenar::Client
