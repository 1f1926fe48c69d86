// SPDX-License-Identifier: Apache-2.0
#include "platform/base/TextFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <system_error>

#include "scratch_folder.h"

namespace Lumenar {
namespace {

using Links = TextFile::Links;

std::string Refusal(const std::filesystem::path& path, Links links = Links::Followed) {
  try {
    TextFile file(path, links);
    return "accepted";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

class TextFile_ : public testing::Test {
 protected:
  std::filesystem::path Write(const std::string& text) {
    std::ofstream(folder_.Path() / "file", std::ios::binary) << text;
    return folder_.Path() / "file";
  }
  Lumenar::Test::ScratchFolder folder_;
};

TEST_F(TextFile_, LinesComeWithoutTheirEndsAlsoTheLastOneThatHasNone) {
  TextFile file(Write("one\n\nthree\r\nfo\0ur"));
  std::vector<std::string> lines;
  for (std::string line; file.NextLine(line, 100);) lines.push_back(line);
  EXPECT_THAT(lines, testing::ElementsAre("one", "", "three\r", "fo"));
}

TEST_F(TextFile_, OfALongLineComesOneByteTooMany) {
  TextFile file(Write(std::string(5, 'a') + "\n" + std::string(1000000, 'b') + "\nc\n"));
  std::string line;
  ASSERT_TRUE(file.NextLine(line, 5));
  EXPECT_EQ(line, "aaaaa");
  ASSERT_TRUE(file.NextLine(line, 5));
  EXPECT_EQ(line, "bbbbbb");
  ASSERT_TRUE(file.NextLine(line, 5));
  EXPECT_EQ(line, "c");
  EXPECT_FALSE(file.NextLine(line, 5));
}

TEST_F(TextFile_, TheRestIsBounded) {
  const auto path = Write(std::string(100000, 'x'));
  EXPECT_EQ(TextFile(path).Rest(100000).size(), 100000u);
  TextFile file(path);
  EXPECT_THROW(file.Rest(99999), std::runtime_error);
}

TEST_F(TextFile_, PipesDevicesAndFoldersAreRefusedAtOnce) {
  const auto pipe = folder_.Path() / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  for (const std::filesystem::path& path : {pipe, std::filesystem::path("/dev/zero"), folder_.Path()})
    EXPECT_EQ(Refusal(path), path.string() + ": is not a regular file");
}

TEST_F(TextFile_, LinksAreFollowedUnlessTheyAreRefused) {
  const auto link = folder_.Path() / "link";
  std::filesystem::create_symlink(Write("x"), link);
  EXPECT_EQ(Refusal(link), "accepted");
  EXPECT_EQ(Refusal(link, Links::Refused), link.string() + ": is a symbolic link");
}

TEST_F(TextFile_, AFileThatIsNotThereIsASystemError) {
  const auto path = folder_.Path() / "none";
  EXPECT_THROW(TextFile file(path), std::system_error);
  EXPECT_EQ(Refusal(path), path.string() + ": No such file or directory");
}

}  // namespace
}  // namespace Lumenar
