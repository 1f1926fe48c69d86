#include "services/topic_manager/SubscriptionStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <thread>
#include <utility>

#include "scratch_directory.h"

namespace Lumenar::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Entry = StateFile::Entry;

class Store : public testing::Test {
 protected:
  StateFile File() const { return StateFile(directory_.Path() / "state"); }
  StateFile::State OnDisk() const {
    std::string problem;
    return File().Read(problem);
  }
  ScratchDirectory directory_;
};

TEST_F(Store, HandlesStartAtOneAndAreNeverUsedAgain) {
  SubscriptionStore store(std::nullopt);
  EXPECT_EQ(store.Add("A", "IOR:01"), 1);
  EXPECT_EQ(store.Add("A", "IOR:01"), 2);
  store.Remove(2);
  EXPECT_EQ(store.Add("A", "IOR:01"), 3);
}

TEST_F(Store, TheFileHoldsASubscriptionWhenAddReturnsAndNoneAfterRemove) {
  SubscriptionStore store(File());
  store.Add("A", "IOR:01");
  EXPECT_THAT(OnDisk().entries, ElementsAre(Entry{1, "A", "IOR:01"}));
  store.Remove(1);
  EXPECT_THAT(OnDisk().entries, IsEmpty());
}

TEST_F(Store, AHandleIsNotUsedAgainAfterARestart) {
  {
    SubscriptionStore store(File());
    store.Add("A", "IOR:01");
    store.Add("B", "IOR:02");
    store.Remove(2);
  }
  SubscriptionStore store(File());
  EXPECT_THAT(store.Entries(), ElementsAre(Entry{1, "A", "IOR:01"}));
  EXPECT_EQ(store.Add("C", "IOR:03"), 3);
}

/// The file is written anew from time to time, and in between each change is a line at its end.
TEST_F(Store, SubscriptionsThatComeAndGoNeitherRewriteTheFileEachTimeNorLetItGrow) {
  SubscriptionStore store(File());
  for (int i = 0; i < 100; ++i) store.Add("STAYS", "IOR:01");
  auto written_anew = [&, inode = ino_t{0}]() mutable {
    struct stat status {};
    EXPECT_EQ(::stat((directory_.Path() / "state").c_str(), &status), 0);
    return std::exchange(inode, status.st_ino) != status.st_ino;
  };
  written_anew();
  int anew = 0;
  std::uintmax_t largest = 0;
  for (int i = 0; i < 2000; ++i) {
    store.Remove(store.Add("COMES AND GOES", "IOR:02"));
    anew += written_anew() ? 1 : 0;
    largest = std::max(largest, std::filesystem::file_size(directory_.Path() / "state"));
  }
  EXPECT_EQ(OnDisk().entries.size(), 100u);
  EXPECT_GE(anew, 2);
  EXPECT_LE(anew, 4);
  EXPECT_LE(largest, 50000u);
}

TEST_F(Store, AfterAFailureTheFileIsWrittenAnew) {
  testing::internal::CaptureStderr();
  const auto file = directory_.Path() / "later" / "state";
  SubscriptionStore store{StateFile(file)};
  store.Add("A", "IOR:01");
  std::filesystem::create_directory(directory_.Path() / "later");
  store.Add("B", "IOR:02");
  std::filesystem::remove(file);
  store.Add("C", "IOR:03");  // fails: there is nothing to add to
  store.Add("D", "IOR:04");
  std::string problem;
  EXPECT_EQ(StateFile(file).Read(problem).entries.size(), 4u);
  EXPECT_THAT(problem, IsEmpty());
  testing::internal::GetCapturedStderr();
}

TEST_F(Store, ManyThreadsGetHandlesOfTheirOwnAllOnDisk) {
  SubscriptionStore store(File());
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int k = 0; k < 25; ++k) {
        const long handle = store.Add("A", "IOR:01");
        const auto entries = OnDisk().entries;
        EXPECT_TRUE(
            std::any_of(entries.begin(), entries.end(), [&](const Entry& entry) { return entry.handle == handle; }));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<long> handles;
  for (const Entry& entry : OnDisk().entries) handles.insert(entry.handle);
  EXPECT_EQ(handles.size(), 100u);
}

TEST_F(Store, AFileThatCannotBeWrittenIsToldOnceAndFailsNoSubscription) {
  testing::internal::CaptureStderr();
  SubscriptionStore store(StateFile(directory_.Path() / "none" / "state"));
  EXPECT_EQ(store.Add("A", "IOR:01"), 1);
  EXPECT_EQ(store.Add("A", "IOR:01"), 2);
  const std::string lines = testing::internal::GetCapturedStderr();
  EXPECT_THAT(lines, testing::HasSubstr("state file not written"));
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1);
}

}  // namespace
}  // namespace Lumenar::Test
