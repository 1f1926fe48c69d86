// SPDX-License-Identifier: Apache-2.0
#include "platform/base/ReplaceFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <system_error>

#include "scratch_folder.h"

namespace Lumenar {
namespace {

namespace fs = std::filesystem;

std::string TextOf(const fs::path& path) {
  std::ifstream stream(path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

class Replacement : public testing::Test {
 protected:
  long Entries() const { return std::distance(fs::directory_iterator(folder_.Path()), {}); }

  Lumenar::Test::ScratchFolder folder_;
  const fs::path file_ = folder_.Path() / "file";
};

TEST_F(Replacement, IsTheOwnersAloneAndLeavesNothingElse) {
  ReplaceFile(file_, "one");
  ReplaceFile(file_, "two");
  EXPECT_EQ(TextOf(file_), "two");
  struct stat status {};
  ASSERT_EQ(::stat(file_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  EXPECT_EQ(Entries(), 1);
}

TEST_F(Replacement, TakesThePlaceOfALinkAndOfAPipeAndSparesWhatTheLinkPointsAt) {
  const fs::path precious = folder_.Path() / "precious";
  std::ofstream(precious) << "precious";
  fs::create_symlink(precious, file_);
  ReplaceFile(file_, "state");
  EXPECT_EQ(TextOf(precious), "precious");
  EXPECT_FALSE(fs::is_symlink(file_));

  fs::remove(file_);
  ASSERT_EQ(::mkfifo(file_.c_str(), 0600), 0);
  ReplaceFile(file_, "state");
  EXPECT_EQ(TextOf(file_), "state");
}

/// Names that somebody could foresee: none of them is opened.
TEST_F(Replacement, LooksAtNothingThatWasPlantedBesideIt) {
  const fs::path precious = folder_.Path() / "precious";
  std::ofstream(precious) << "precious";
  fs::create_symlink(precious, file_.string() + ".new");
  fs::create_symlink(precious, file_.string() + ".tmp");
  ASSERT_EQ(::mkfifo((file_.string() + "~").c_str(), 0600), 0);
  ReplaceFile(file_, "state");
  EXPECT_EQ(TextOf(file_), "state");
  EXPECT_EQ(TextOf(precious), "precious");
  EXPECT_EQ(Entries(), 5);
}

TEST_F(Replacement, AdditionsGoToARegularFileOnly) {
  const fs::path precious = folder_.Path() / "precious";
  std::ofstream(precious) << "precious";
  fs::create_symlink(precious, file_);
  EXPECT_THROW(AppendToFile(file_, "x"), std::system_error);
  fs::remove(file_);
  ASSERT_EQ(::mkfifo(file_.c_str(), 0600), 0);
  EXPECT_THROW(AppendToFile(file_, "x"), std::system_error);
  fs::remove(file_);
  EXPECT_THROW(AppendToFile(file_, "x"), std::system_error) << "nothing is made anew";
  EXPECT_EQ(TextOf(precious), "precious");
}

TEST_F(Replacement, ThatFindsNoRoomLeavesTheOldFileAndNothingElse) {
  ReplaceFile(file_, "old");
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{1000, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_THROW(ReplaceFile(file_, std::string(5000, 'x')), std::system_error);
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(TextOf(file_), "old");
  EXPECT_EQ(Entries(), 1);
}

TEST_F(Replacement, ThatWasCutOffIsClearedAway) {
  std::ofstream(file_.string() + ".new-a1B2c3") << "half";
  std::ofstream(file_.string() + ".new-notes-of-mine") << "mine";
  fs::create_symlink("/etc/passwd", file_.string() + ".new-000000");
  RemoveUnfinishedReplacements(file_);
  EXPECT_EQ(Entries(), 2);
  RemoveUnfinishedReplacements("/nonexistent/folder/file");
}

}  // namespace
}  // namespace Lumenar
