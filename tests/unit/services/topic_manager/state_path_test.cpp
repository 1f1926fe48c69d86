// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/state_path.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "scratch_directory.h"

namespace Lumenar::Test {
namespace {

/// An environment variable with another value while this lives.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const char* const before = std::getenv(name)) before_ = before;
    Set(value);
  }
  ~Variable() { Set(before_ ? before_->c_str() : nullptr); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  void Set(const char* value) { value == nullptr ? ::unsetenv(name_) : ::setenv(name_, value, 1); }

  const char* const name_;
  std::optional<std::string> before_;
};

TEST(StatePath, StandsInTheStateDirectoryByTheAddressOfTheNamingService) {
  const Variable state("XDG_STATE_HOME", "/state");
  EXPECT_EQ(DefaultStatePath("topic_manager", "127.0.0.1:2700"), "/state/lumenar/topic_manager-127.0.0.1-2700.state");
  EXPECT_EQ(DefaultStatePath("topic_manager", "a/../b:1"), "/state/lumenar/topic_manager-a-..-b-1.state");
}

TEST(StatePath, IsThatOfTheUserWithoutTheVariable) {
  for (const char* unset : {static_cast<const char*>(nullptr), "", "relative"}) {
    const Variable state("XDG_STATE_HOME", unset), home("HOME", "/home/me");
    const std::string directory = ::geteuid() == 0 ? "/var/lib" : "/home/me/.local/state";
    EXPECT_EQ(DefaultStatePath("x", "h:1"), directory + "/lumenar/x-h-1.state");
  }
}

TEST(StatePath, ItsDirectoryIsMadeForItsOwnerAlone) {
  const ScratchDirectory scratch;
  const auto file = scratch.Path() / "a" / "b" / "file";
  MakeDirectoryOf(file);
  struct stat status {};
  ASSERT_EQ(::stat((scratch.Path() / "a" / "b").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700u);
  MakeDirectoryOf(file);
  MakeDirectoryOf("/proc/none/file");
}

}  // namespace
}  // namespace Lumenar::Test
