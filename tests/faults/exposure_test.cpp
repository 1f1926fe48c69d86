// SPDX-License-Identifier: Apache-2.0
// What other users of the machine can see, and whose rights the platform needs.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/faults/FaultCase.h"
#include "tests/faults/ForeignUser.h"
#include "tests/faults/HostileTargets.h"

namespace Lumenar::Test {
namespace {

namespace fs = std::filesystem;

mode_t ModeOf(const fs::path& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) throw std::runtime_error(path.string() + " is not there");
  return status.st_mode & 07777;
}

using Exposure = HostileFixture;

TEST_F(Exposure, FilesAreTheirOwnersAlone) {
  DescribeFault("exposure", "another user of the machine looks around",
                "state file 0600, private directory 0700, whatever the umask");
  EXPECT_EQ(ModeOf(platform_.Directory()), 0700u);
  EXPECT_EQ(ModeOf(platform_.Directory() / "subscriptions.state"), 0600u);
  ExpectSamplesFlow();
}

TEST_F(Exposure, SamplesFlowWhoeverTheUserIs) {
  DescribeFault("exposure: any user", "the whole platform as the user that runs the tests",
                "samples flow from input to subscriber");
  ExpectSamplesFlow();
}

TEST(ExposureOfAnotherUser, NoServiceNeedsRoot) {
  DescribeFault("exposure: no root", "the whole platform as a user without any rights",
                "samples flow from input to subscriber");
  const fs::path self = fs::read_symlink("/proc/self/exe");
  if (const std::string obstacle = ForeignUser::Obstacle(self.string()); !obstacle.empty()) GTEST_SKIP() << obstacle;
  if (const std::string obstacle = ForeignUser::Obstacle(fs::temp_directory_path().string()); !obstacle.empty())
    GTEST_SKIP() << obstacle;
  std::string directory = (fs::temp_directory_path() / "lumenar-user-XXXXXX").string();
  ASSERT_NE(mkdtemp(directory.data()), nullptr);
  ASSERT_EQ(chown(directory.c_str(), ForeignUser::kId, ForeignUser::kId), 0);
  {
    Process test(ForeignUser::Run({self.string(), "--gtest_filter=Exposure.SamplesFlowWhoeverTheUserIs"}),
                 {{"TMPDIR", directory}, {"HOME", directory}}, fs::path(directory) / "test");
    EXPECT_EQ(test.WaitForExit(std::chrono::seconds(60)), 0) << test.Out() << test.Error();
  }
  fs::remove_all(directory);
}

}  // namespace
}  // namespace Lumenar::Test
