// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/picture_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "client/Error.h"

namespace Lumenar::Mathctl {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class PictureFile : public testing::Test {
 protected:
  PictureFile() {
    std::string pattern = (fs::temp_directory_path() / "picture-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
  }
  ~PictureFile() override { fs::remove_all(folder_); }

  static std::string TextOfFile(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  static std::string Refusal(const std::string& path) {
    try {
      WriteWhole(path, "x");
    } catch (const Client::Error& error) {
      EXPECT_EQ(error.Kind(), Client::ErrorKind::Refused);
      return error.what();
    }
    return "written";
  }

  fs::path folder_;
};

TEST_F(PictureFile, KindsAreToldByTheEnding) {
  EXPECT_EQ(PictureKindOf("a.png"), PictureKind::Png);
  EXPECT_EQ(PictureKindOf("a.SVG"), PictureKind::Svg);
  EXPECT_EQ(PictureKindOf("a/b.c.pdf"), PictureKind::Pdf);
  for (const char* other : {"", "a", "png", ".png", "a.jpg", "a.png.gz", "/dev/full", "-"}) {
    EXPECT_FALSE(PictureKindOf(other)) << other;
  }
}

TEST_F(PictureFile, IsWrittenWholeWithTheUsualRights) {
  const fs::path path = folder_ / "a.png";
  WriteWhole(path, std::string("one\0two", 7));
  WriteWhole(path, "three");
  EXPECT_EQ(TextOfFile(path), "three");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()), 1) << "nothing stays beside it";
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ(status.st_mode & 0777u, 0666u & ~mask);
}

TEST_F(PictureFile, SaysWhyItCannotBeWritten) {
  EXPECT_THAT(Refusal(folder_ / "none" / "a.png"), HasSubstr("none/a.png: cannot be written (No such file"));
  fs::create_directory(folder_ / "b.png");
  EXPECT_THAT(Refusal(folder_ / "b.png"), HasSubstr("cannot be written (Is a directory)"));
}

TEST_F(PictureFile, AnotherProgramDraws) {
  EXPECT_EQ(Drawn({"cat"}, "a picture", "coreutils"), "a picture");
  const std::string large(3000000, 'x');
  EXPECT_EQ(Drawn({"cat"}, large, "coreutils"), large);
}

TEST_F(PictureFile, SaysWhatTheOtherProgramSays) {
  const auto failure = [](const std::vector<std::string>& words) -> std::string {
    try {
      Drawn(words, "", "some-package");
    } catch (const Client::Error& error) {
      return error.what();
    }
    return "drawn";
  };
  EXPECT_EQ(failure({"no-such-program-here"}), "no-such-program-here is not installed: apt-get install some-package");
  EXPECT_EQ(failure({"sh", "-c", "echo first >&2; echo the reason >&2; exit 3"}),
            "sh did not draw the picture: the reason");
}

}  // namespace
}  // namespace Lumenar::Mathctl
