// SPDX-License-Identifier: Apache-2.0
// A client's subscriptions against a platform of real processes.
#include "client/Subscription.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <variant>
#include <vector>

#include "client/MathObjects.h"
#include "client/values.h"
#include "platform/dds/DDS_BaseObj.h"
#include "platform/wire/sample_calls.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Client {
namespace {

using Lumenar::Test::IsolatedPlatform;
using Lumenar::Test::WaitUntil;

constexpr int kQueued = 4096;  // samples that wait for a reader
constexpr int kMore = 10;

IsolatedPlatform::Options RoomForAll() {
  IsolatedPlatform::Options options;
  options.topic_manager_arguments = {"--queue", "100000"};
  return options;
}

class SubscriptionTest : public testing::Test {
 protected:
  SubscriptionTest() : platform_(RoomForAll()) {
    platform_.UseInThisProcess();
    platform_.StartEngine("math_factory_hh");
  }

  static std::size_t Subscriptions(Connection& connection) {
    const auto manager = connection.TopicManager();
    return Corvanta::SubscriptionStatusSeq_var(manager->Subscriptions())->length();
  }

  IsolatedPlatform platform_;
};

TEST_F(SubscriptionTest, DeliversFromItsBeginningToItsEndWhileTheConnectionLives) {
  Connection connection;
  const Reading type = connection.FindReading("TYPE");
  SetValue(type, "1");
  {
    Subscription subscription(connection);
    subscription.Add(type);
    for (const char* number : {"4", "2"}) SetValue(type, number);
    for (const CORBA::Long number : {4, 2}) {
      const auto delivery = subscription.Next(std::chrono::seconds(10));
      ASSERT_TRUE(delivery);
      EXPECT_EQ(std::get<CORBA::Long>(delivery->record), number);
    }
    EXPECT_EQ(Subscriptions(connection), 1u);
  }
  EXPECT_EQ(Subscriptions(connection), 0u);
}

TEST_F(SubscriptionTest, CountsWhatItsReaderWasTooSlowFor) {
  Connection connection;
  const Reading type = connection.FindReading("TYPE");
  Subscription subscription(connection);
  subscription.Add(type);
  auto& manager = Corvanta::DdsBaseAccess::Instance();
  for (int number = 0; number < kQueued + kMore; ++number)
    manager.Publish(type.topic.c_str(), Corvanta::ViewOf(number));
  ASSERT_TRUE(WaitUntil([&] { return subscription.Lost() >= kMore; })) << subscription.Lost();
  const auto oldest = subscription.Next(std::chrono::seconds(10));
  ASSERT_TRUE(oldest);
  EXPECT_EQ(std::get<CORBA::Long>(oldest->record), kMore) << "the oldest went";
  ASSERT_EQ(oldest->lost.size(), 1u) << "right before this one";
  EXPECT_EQ(oldest->lost[0].source, 0u);
  EXPECT_EQ(oldest->lost[0].samples, static_cast<std::uint64_t>(kMore));
  EXPECT_TRUE(subscription.Next(std::chrono::seconds(10))->lost.empty());
  EXPECT_EQ(subscription.Lost(), kMore);
}

TEST_F(SubscriptionTest, DeliversOneSampleThatIsLargerThanTheRoomForAll) {
  constexpr CORBA::ULong kPoints = 17'000'000;
  Connection connection;
  const Reading type = connection.FindReading("TYPE");
  Subscription subscription(connection);
  subscription.Add(type);
  Corvanta::BASIC_TRACE::BT_DATA trace{};
  trace.samples.length(kPoints);
  std::fill_n(trace.samples.get_buffer(), kPoints, 1.0f);
  Corvanta::DdsBaseAccess::Instance().Publish(type.topic.c_str(), Corvanta::ViewOf(trace));
  const auto delivery = subscription.Next(std::chrono::seconds(10));
  ASSERT_TRUE(delivery);
  EXPECT_EQ(std::get<Corvanta::BASIC_TRACE::BT_DATA>(delivery->record).samples.length(), kPoints);
  EXPECT_EQ(subscription.Lost(), 0u);
}

TEST_F(SubscriptionTest, EndsWithTheOrbAndWakesItsReader) {
  Connection connection;
  Subscription subscription(connection);
  subscription.Add(connection.FindReading("TYPE"));
  EXPECT_FALSE(subscription.Next(std::chrono::milliseconds(1)));
  EXPECT_FALSE(subscription.Ended());
  connection.Orb().Shutdown();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(subscription.Next(std::chrono::seconds(30)));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_TRUE(subscription.Ended());
}

TEST_F(SubscriptionTest, WaitsForASampleWithoutALimit) {
  Connection connection;
  const Reading type = connection.FindReading("TYPE");
  Subscription subscription(connection);
  subscription.Add(type);
  auto next = std::async(std::launch::async, [&] { return subscription.Next(std::chrono::milliseconds::max()); });
  EXPECT_EQ(next.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout) << "it waits";
  SetValue(type, "3");
  const auto delivery = next.get();
  ASSERT_TRUE(delivery);
  EXPECT_EQ(std::get<CORBA::Long>(delivery->record), 3);
}

TEST_F(SubscriptionTest, ListsWhatWasRenewedOnceUntilItIsTaken) {
  Connection connection;
  Subscription subscription(connection);
  subscription.Add(connection.FindReading("TYPE"));
  for (int round = 0; round < 2; ++round) {
    platform_.KillTopicManager();
    // Without its file the next one knows nobody.
    ASSERT_TRUE(std::filesystem::remove(platform_.Directory() / "subscriptions.state"));
    platform_.StartTopicManager();
    ASSERT_TRUE(WaitUntil([&] {
      try {
        return Subscriptions(connection) == 1;
      } catch (const Error&) {
        return false;
      } catch (const CORBA::Exception&) {
        return false;
      }
    }));
  }
  std::vector<std::size_t> renewed;
  EXPECT_TRUE(WaitUntil([&] {
    if (renewed.empty()) renewed = subscription.TakeRenewed();
    return !renewed.empty();
  }));
  EXPECT_EQ(renewed, std::vector<std::size_t>{0});
}

TEST_F(SubscriptionTest, SaysSoWhenTheTopicManagerIsAway) {
  Connection connection(std::chrono::milliseconds(500));
  const Reading type = connection.FindReading("TYPE");
  platform_.KillTopicManager();
  Subscription subscription(connection);
  try {
    subscription.Add(type);
    FAIL() << "subscribed to nobody";
  } catch (const Error& error) {
    EXPECT_EQ(error.Kind(), ErrorKind::Unreachable);
  }
}

}  // namespace
}  // namespace Lumenar::Client
