// SPDX-License-Identifier: Apache-2.0
// Two topic managers, each with a naming service of its own, that relay a topic.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <sstream>

#include "tests/support/TopicRig.h"

namespace Lumenar::Test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string RelayLines(const std::string& more = "") {
  const int domain = 20 + static_cast<int>(::getpid() % 200);
  return fmt::format("dds.enabled = true\ndds.domain = {}\ndds.topic = SHARED\n{}", domain, more);
}

class Relay : public TopicRig {
 protected:
  Relay() : TopicRig(RelayLines()), other_(PlatformOptions(RelayLines())) {}

  std::unique_ptr<Process> SubscribeAtOther(const std::string& topic) {
    auto process = other_.Start("topic_subscriber", {topic, "1"});
    if (!process->WaitForLine("ready")) throw std::runtime_error("topic_subscriber: " + process->Error());
    return process;
  }

  IsolatedPlatform other_;
};

std::vector<int> SamplesOf(const Process& process) {
  std::istringstream lines(process.Out());
  std::vector<int> values;
  int value = 0;
  for (std::string line; std::getline(lines, line);) {
    if (std::sscanf(line.c_str(), "sample %d", &value) == 1) values.push_back(value);
  }
  return values;
}

TEST_F(Relay, CarriesTheChosenTopicInOrderAndOnce) {
  const auto far = SubscribeAtOther("SHARED");
  const auto far_local = SubscribeAtOther("LOCAL");
  TestSubscriberVar near(new TestSubscriber);
  Subscribe("SHARED", near.in());
  std::vector<int> published;
  const auto publish = [&](int value) {
    Publish("LOCAL", value);
    Publish("SHARED", value);
    published.push_back(value);
  };
  int value = 0;
  ASSERT_TRUE(WaitUntil([&] {
    publish(value++);
    return !SamplesOf(*far).empty();
  })) << "the managers find each other";
  for (int i = 0; i < 200; ++i) publish(value++);
  ASSERT_TRUE(far->WaitForLine(fmt::format("sample {}", value - 1)));

  const std::vector<int> arrived = SamplesOf(*far);
  std::vector<int> expected;
  for (int i = arrived.front(); i < value; ++i) expected.push_back(i);
  EXPECT_EQ(arrived, expected);
  EXPECT_TRUE(near->WaitForCount(published.size()));
  EXPECT_EQ(near->Values(), published) << "nothing comes back";
  EXPECT_THAT(SamplesOf(*far_local), testing::IsEmpty());
  EXPECT_THAT(other_.TopicManager().Error(), Not(HasSubstr("did not arrive")));
}

TEST_F(Relay, AKilledManagerOfAnotherMachineDelaysNobodyHere) {
  TestSubscriberVar near(new TestSubscriber);
  Subscribe("SHARED", near.in());
  const auto far = SubscribeAtOther("SHARED");
  int value = 0;
  ASSERT_TRUE(WaitUntil([&] {
    Publish("SHARED", value++);
    return !SamplesOf(*far).empty();
  }));
  other_.KillTopicManager();
  const auto time = TimeOf([&] {
    for (int i = 0; i < 500; ++i) Publish("SHARED", value++);
    EXPECT_TRUE(near->WaitForCount(static_cast<std::size_t>(value)));
  });
  EXPECT_LT(time, std::chrono::seconds(3));
}

/// The sender carries a topic that the receiver does not.
class RelayOfMore : public TopicRig {
 protected:
  RelayOfMore() : TopicRig(RelayLines("dds.topic = MORE\n")), other_(PlatformOptions(RelayLines())) {}
  IsolatedPlatform other_;
};

TEST_F(RelayOfMore, WhatAManagerDoesNotCarryItDoesNotTakeEither) {
  const auto shared = other_.Start("topic_subscriber", {"SHARED", "1"});
  const auto more = other_.Start("topic_subscriber", {"MORE", "1"});
  ASSERT_TRUE(shared->WaitForLine("ready") && more->WaitForLine("ready")) << shared->Error() << more->Error();
  int value = 0;
  ASSERT_TRUE(WaitUntil([&] {
    Publish("MORE", value);
    Publish("SHARED", value++);
    return !SamplesOf(*shared).empty();
  })) << "the managers find each other";
  Publish("MORE", value);
  Publish("SHARED", value);
  ASSERT_TRUE(shared->WaitForLine(fmt::format("sample {}", value)));
  EXPECT_THAT(SamplesOf(*more), testing::IsEmpty());
}

}  // namespace
}  // namespace Lumenar::Test
