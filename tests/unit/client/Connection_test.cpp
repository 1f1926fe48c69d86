// SPDX-License-Identifier: Apache-2.0
// Several Connections in one process, to one platform and to two.
#include "client/Connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <omniORB4/Naming.hh>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "client/Subscription.h"
#include "client/values.h"
#include "platform/orb/ORB_base.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Client {
namespace {

using Lumenar::Test::IsolatedPlatform;
using Lumenar::Test::WaitUntil;

/// A platform with a reading COUNT of SIM/1, whose samples are `offset` and up, one for each Step.
class CountingPlatform {
 public:
  explicit CountingPlatform(int offset) {
    platform_.StartEngine(
        "sim", {{"SIM_READINGS", "long:COUNT:rate=0:wave=count:amplitude=1:offset=" + std::to_string(offset)}});
  }

  IsolatedPlatform& operator*() { return platform_; }
  std::string Address() const { return platform_.NamingAddress(); }

 private:
  IsolatedPlatform platform_;
};

void Step(Connection& connection) { SetValue(connection.FindReading("SIM/1/COUNT_STEP"), "1"); }

CORBA::Long NextLong(Subscription& subscription) {
  const auto delivery = subscription.Next(std::chrono::seconds(10));
  return delivery ? std::get<CORBA::Long>(delivery->record) : -1;
}

class ConnectionTest : public testing::Test {
 protected:
  ConnectionTest() { (*first_).UseInThisProcess(); }

  CountingPlatform first_{100};
  CountingPlatform second_{200};
};

TEST_F(ConnectionTest, EachOfTwoReachesItsOwnPlatform) {
  Connection first(first_.Address());
  Connection second(second_.Address());
  EXPECT_EQ(first.NamingAddress(), first_.Address());
  EXPECT_EQ(second.NamingAddress(), second_.Address());
  EXPECT_EQ(std::get<CORBA::Long>(GetValue(first.FindReading("COUNT"))), 100);
  EXPECT_EQ(std::get<CORBA::Long>(GetValue(second.FindReading("COUNT"))), 200);
}

TEST_F(ConnectionTest, OneWithoutAnAddressReachesThePlatformOfTheEnvironmentBesideAnother) {
  Connection other(second_.Address());
  Connection by_environment;
  EXPECT_EQ(std::get<CORBA::Long>(GetValue(by_environment.FindReading("COUNT"))), 100);
  EXPECT_EQ(std::get<CORBA::Long>(GetValue(other.FindReading("COUNT"))), 200);
}

// The two managers count their handles alike, so that the subscriptions of both have the same ones.
TEST_F(ConnectionTest, SubscriptionsOfTwoPlatformsWithEqualHandlesKeepApart) {
  constexpr int kSubscriptions = 4;
  constexpr CORBA::Long kSamples = 20;
  std::vector<std::unique_ptr<Connection>> connections;
  for (const auto& address : {first_.Address(), second_.Address()})
    connections.push_back(std::make_unique<Connection>(address));
  std::vector<std::vector<std::unique_ptr<Subscription>>> subscriptions(2);
  for (int i = 0; i < kSubscriptions; ++i) {
    for (std::size_t platform : {0, 1}) {
      auto& of_platform = subscriptions[platform];
      of_platform.push_back(std::make_unique<Subscription>(*connections[platform]));
      of_platform.back()->Add(connections[platform]->FindReading("COUNT"));
    }
  }
  for (CORBA::Long n = 1; n <= kSamples; ++n) {
    for (auto& connection : connections) Step(*connection);
  }
  for (CORBA::Long n = 1; n <= kSamples; ++n) {
    for (auto& subscription : subscriptions[0]) ASSERT_EQ(NextLong(*subscription), 100 + n);
    for (auto& subscription : subscriptions[1]) ASSERT_EQ(NextLong(*subscription), 200 + n);
  }
}

TEST_F(ConnectionTest, TheEndOfOneLeavesTheOtherAndItsSubscriptions) {
  Connection stays(second_.Address());
  Subscription subscription(stays);
  subscription.Add(stays.FindReading("COUNT"));
  {
    Connection goes(first_.Address());
    Subscription other(goes);
    other.Add(goes.FindReading("COUNT"));
    Step(goes);
    EXPECT_EQ(NextLong(other), 101);
  }
  Step(stays);
  EXPECT_EQ(NextLong(subscription), 201);
}

TEST_F(ConnectionTest, TheOrbGoesWithTheLastAndComesBackWithTheNext) {
  for (int round = 0; round < 3; ++round) {
    EXPECT_FALSE(Corvanta::ORB_base::HasCurrent());
    auto first = std::make_unique<Connection>(first_.Address());
    const auto second = std::make_unique<Connection>(first_.Address());
    first.reset();
    EXPECT_TRUE(Corvanta::ORB_base::HasCurrent());
    Subscription subscription(*second);
    subscription.Add(second->FindReading("COUNT"));
    Step(*second);
    EXPECT_EQ(NextLong(subscription), 101 + round);
  }
  EXPECT_FALSE(Corvanta::ORB_base::HasCurrent());
}

TEST_F(ConnectionTest, ASubscriptionOutlivesItsTopicManager) {
  Connection connection(second_.Address());
  Subscription subscription(connection);
  subscription.Add(connection.FindReading("COUNT"));
  (*second_).KillTopicManager();
  (*second_).StartTopicManager();
  EXPECT_TRUE(WaitUntil([&] {
    Step(connection);
    return subscription.Next(std::chrono::milliseconds(100)).has_value();
  }));
}

TEST_F(ConnectionTest, TellsItsReaderOfArrivalsUntilToldNotTo) {
  Connection connection(first_.Address());
  Subscription subscription(connection);
  std::atomic<int> arrivals = 0;
  subscription.OnArrival([&] { ++arrivals; });
  subscription.Add(connection.FindReading("COUNT"));
  Step(connection);
  EXPECT_EQ(NextLong(subscription), 101);
  EXPECT_TRUE(WaitUntil([&] { return arrivals == 1; }));
  subscription.OnArrival({});
  Step(connection);
  EXPECT_EQ(NextLong(subscription), 102);
  EXPECT_EQ(arrivals, 1);
}

TEST_F(ConnectionTest, SaysThatAnAddressIsNone) {
  for (const char* address : {"", "host", "host:", "host:0", "host:70000", "a b:2700"}) {
    try {
      Connection connection{std::string(address)};
      ADD_FAILURE() << "connected to " << address;
    } catch (const Error& error) {
      EXPECT_EQ(error.Kind(), ErrorKind::BadArgument) << address;
      EXPECT_THAT(error.what(), testing::HasSubstr("address of the naming service"));
    }
  }
}

TEST_F(ConnectionTest, ANameThatLeadsNowhereHidesNoEngine) {
  Connection connection(first_.Address());
  const CORBA::Object_var object =
      connection.Orb().Orb()->string_to_object(("corbaloc:iiop:" + first_.Address() + "/NameService").c_str());
  const CosNaming::NamingContext_var root = CosNaming::NamingContext::_narrow(object);
  CosNaming::Name
      name;  // listed as FOREIGN/1, where nothing stands: it is of a kind, which names of the platform are not
  name.length(3);
  name[0].id = "Lumenar";
  name[1].id = "local";
  name[2].id = "FOREIGN";
  CosNaming::NamingContext_var(root->bind_new_context(name));
  name.length(4);
  name[3].id = "1";
  name[3].kind = "foreign";
  root->bind(name, object);
  const auto engines = connection.Engines();
  ASSERT_EQ(engines.size(), 1u);
  EXPECT_EQ(engines[0].name, "SIM/1");
  EXPECT_EQ(std::get<CORBA::Long>(GetValue(connection.FindReading("COUNT"))), 100);
}

TEST_F(ConnectionTest, SaysThatATimeLimitIsNone) {
  for (const auto limit : {std::chrono::milliseconds(0), std::chrono::milliseconds(-1),
                           std::chrono::milliseconds(1'000'000'001), std::chrono::milliseconds::max()}) {
    try {
      Connection connection(first_.Address(), limit);
      ADD_FAILURE() << limit.count();
    } catch (const Error& error) {
      EXPECT_EQ(error.Kind(), ErrorKind::BadArgument);
      EXPECT_THAT(error.what(), testing::HasSubstr("the time limit must be"));
    }
  }
}

TEST_F(ConnectionTest, SaysThatNobodyIsThere) {
  const std::string address = first_.Address();
  (*first_).KillNamingService();
  Connection connection(address);
  try {
    connection.Engines();
    FAIL() << "somebody was there";
  } catch (const Error& error) {
    EXPECT_EQ(error.Kind(), ErrorKind::Unreachable);
    EXPECT_THAT(error.what(), testing::HasSubstr(address));
  }
}

}  // namespace
}  // namespace Lumenar::Client
