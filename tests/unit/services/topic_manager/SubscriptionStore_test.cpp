// SPDX-License-Identifier: Apache-2.0
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

  /// A subscription that the file holds.
  static long Add(SubscriptionStore& store, const std::string& topic, const std::string& reference) {
    const long handle = store.Add(topic, reference);
    store.Save();
    return handle;
  }

  ScratchDirectory directory_;
};

TEST_F(Store, HandlesStartAtOneAndAreNeverUsedAgain) {
  SubscriptionStore store(std::nullopt);
  EXPECT_EQ(Add(store, "A", "IOR:01"), 1);
  EXPECT_EQ(Add(store, "A", "IOR:01"), 2);
  store.Remove(2);
  EXPECT_EQ(Add(store, "A", "IOR:01"), 3);
}

TEST_F(Store, ASubscriberIsFoundByItsHandleOrByItself) {
  SubscriptionStore store(std::nullopt);
  const long first = Add(store, "A", "IOR:01"), second = Add(store, "A", "IOR:01"), other = Add(store, "B", "IOR:02");
  const auto found = [&](long handle, const char* topic, const char* reference) {
    return store.Find({{handle, topic, reference}}).at(0);
  };
  EXPECT_EQ(found(second, "A", "IOR:01"), second);
  EXPECT_EQ(found(99, "B", "IOR:02"), other);
  EXPECT_EQ(found(first, "B", "IOR:02"), other) << "a handle of somebody else says nothing";
  EXPECT_EQ(found(other, "B", "IOR:03"), 0);
  EXPECT_EQ(found(other, "A", "IOR:02"), 0);
  store.Remove(first);
  EXPECT_EQ(found(first, "A", "IOR:01"), second);
  store.Remove(second);
  EXPECT_EQ(found(first, "A", "IOR:01"), 0);
}

/// By handles of a manager that is no more, some of which others have, and which these themselves have for each other.
TEST_F(Store, SubscriptionsOfOneSubscriberToOneTopicStayAsMany) {
  SubscriptionStore store(std::nullopt);
  Add(store, "B", "IOR:02");
  const std::vector<Entry> claims{{1, "A", "IOR:01"}, {2, "A", "IOR:01"}, {7, "A", "IOR:01"}};
  EXPECT_THAT(store.Find(claims), ElementsAre(0, 0, 0));
  const long first = Add(store, "A", "IOR:01"), second = Add(store, "A", "IOR:01");
  EXPECT_EQ(first, 2);
  EXPECT_EQ(second, 3);
  EXPECT_THAT(store.Find(claims), ElementsAre(second, first, 0)) << "each is there for one of them";
}

TEST_F(Store, TopicsAndReferencesHaveOneBound) {
  SubscriptionStore store(std::nullopt, 14);
  const long first = Add(store, "A", "IOR:01");
  Add(store, "B", "IOR:02");
  EXPECT_THROW(Add(store, "C", "IOR:"), std::length_error);
  store.Remove(first);
  EXPECT_EQ(Add(store, "C", "IOR:03"), 3);
  EXPECT_EQ(store.Entries().size(), 2u);
}

TEST_F(Store, ASubscriberIsFoundAfterARestart) {
  {
    SubscriptionStore store(File());
    Add(store, "A", "IOR:01");
  }
  EXPECT_THAT(SubscriptionStore(File()).Find({{7, "A", "IOR:01"}}), ElementsAre(1));
}

TEST_F(Store, SeveralAreSavedAtOnce) {
  SubscriptionStore store(File());
  Add(store, "A", "IOR:01");
  for (int i = 0; i < 100; ++i) store.Add("B", "IOR:02");
  EXPECT_EQ(OnDisk().entries.size(), 1u);
  store.Save();
  EXPECT_EQ(OnDisk().entries.size(), 101u);
}

TEST_F(Store, TheFileHoldsASubscriptionWhenAddReturnsAndNoneAfterRemove) {
  SubscriptionStore store(File());
  Add(store, "A", "IOR:01");
  EXPECT_THAT(OnDisk().entries, ElementsAre(Entry{1, "A", "IOR:01"}));
  store.Remove(1);
  EXPECT_THAT(OnDisk().entries, IsEmpty());
}

TEST_F(Store, AHandleIsNotUsedAgainAfterARestart) {
  {
    SubscriptionStore store(File());
    Add(store, "A", "IOR:01");
    Add(store, "B", "IOR:02");
    store.Remove(2);
  }
  SubscriptionStore store(File());
  EXPECT_THAT(store.Entries(), ElementsAre(Entry{1, "A", "IOR:01"}));
  EXPECT_EQ(Add(store, "C", "IOR:03"), 3);
}

TEST_F(Store, AfterTheLastHandleTheyStartAnewAndPassOverThoseInUse) {
  directory_.Write("state", "topic_manager subscriptions 1\nsub 1 A IOR:01\nsub 3 B IOR:02\nsub 2147483646 C IOR:03\n");
  {
    SubscriptionStore store(File());
    EXPECT_EQ(Add(store, "D", "IOR:04"), 2147483647);
    EXPECT_EQ(Add(store, "E", "IOR:05"), 2);
    EXPECT_EQ(Add(store, "F", "IOR:06"), 4);
  }
  SubscriptionStore store(File());
  EXPECT_EQ(store.Entries().size(), 6u);
  EXPECT_EQ(Add(store, "G", "IOR:07"), 5);
}

TEST_F(Store, AFileThatWasTakenAwayOrReplacedIsWrittenAnewAtOnce) {
  SubscriptionStore store(File());
  Add(store, "A", "IOR:01");
  const auto path = directory_.Path() / "state";
  const auto precious = directory_.Write("precious", "precious");
  std::filesystem::remove(path);
  Add(store, "B", "IOR:02");
  EXPECT_EQ(OnDisk().entries.size(), 2u);
  std::filesystem::remove(path);
  std::filesystem::create_symlink(precious, path);
  Add(store, "C", "IOR:03");
  EXPECT_EQ(OnDisk().entries.size(), 3u);
  std::filesystem::remove(path);
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  Add(store, "D", "IOR:04");
  EXPECT_EQ(OnDisk().entries.size(), 4u);
  EXPECT_EQ(std::filesystem::file_size(precious), 8u);
}

/// The file is written anew from time to time, and in between each change is a line at its end.
TEST_F(Store, SubscriptionsThatComeAndGoNeitherRewriteTheFileEachTimeNorLetItGrow) {
  SubscriptionStore store(File());
  for (int i = 0; i < 100; ++i) Add(store, "STAYS", "IOR:01");
  auto written_anew = [&, inode = ino_t{0}]() mutable {
    struct stat status {};
    EXPECT_EQ(::stat((directory_.Path() / "state").c_str(), &status), 0);
    return std::exchange(inode, status.st_ino) != status.st_ino;
  };
  written_anew();
  int anew = 0;
  std::uintmax_t largest = 0;
  for (int i = 0; i < 2000; ++i) {
    const long handle = Add(store, "COMES AND GOES", "IOR:02");
    anew += written_anew() ? 1 : 0;
    store.Remove(handle);
    anew += written_anew() ? 1 : 0;  // not after both alone: a file written anew twice may have its first number again
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
  Add(store, "A", "IOR:01");
  std::filesystem::create_directory(directory_.Path() / "later");
  Add(store, "B", "IOR:02");
  std::filesystem::remove(file);
  Add(store, "C", "IOR:03");  // fails: there is nothing to add to
  Add(store, "D", "IOR:04");
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
        const long handle = Add(store, "A", "IOR:01");
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
  EXPECT_EQ(Add(store, "A", "IOR:01"), 1);
  EXPECT_EQ(Add(store, "A", "IOR:01"), 2);
  const std::string lines = testing::internal::GetCapturedStderr();
  EXPECT_THAT(lines, testing::HasSubstr("state file not written"));
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1);
}

}  // namespace
}  // namespace Lumenar::Test
