#include "services/topic_manager/SubscriptionStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <thread>

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
