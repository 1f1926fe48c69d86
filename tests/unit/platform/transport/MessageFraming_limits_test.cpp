// SPDX-License-Identifier: Apache-2.0
// What is held of messages that have come in part, and what becomes of those that are too large or too slow.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "platform/transport/MessageFraming.h"
#include "tests/unit/platform/transport/FramedStream.h"

namespace Corvanta::Test {
namespace {

/// A request of a sample with so many bytes of arguments.
std::string Sample(std::size_t bytes) { return GiopStream().Request(1, "Publish", std::string(bytes, 's')); }

TEST(MessageFraming, ALargeMessageOfASamplePasses) {
  for (const std::size_t step : {100u, 8192u, 1u << 20}) {
    const std::string stream = Sample(100'000) + GiopStream().Request(2, "op");
    EXPECT_EQ(Read(stream, {}, 0, step).bytes, stream);
  }
}

/// No read more than the ORB makes, and no copy.
TEST(MessageFraming, WhatComesWholeIsReadToWhereTheOrbWantsIt) {
  AssemblyBudget budget(0);
  MessageFraming framing(Side::Served, {}, budget, nullptr, [](const std::string&) {});
  std::vector<char> buffer(8192);
  for (const std::string& message :
       {GiopStream().Request(1, "op", kText), Sample(100'000), GiopStream().Request(2, "op")})
    for (std::size_t at = 0; at < message.size();) {
      ASSERT_EQ(framing.Give(buffer), 0u);
      const std::span<char> room = framing.Room(buffer);
      ASSERT_EQ(room.data(), buffer.data());
      const std::size_t count = std::min(room.size(), message.size() - at);
      std::memcpy(room.data(), message.data() + at, count);
      ASSERT_EQ(framing.Arrived(buffer, count), count);
      at += count;
    }
}

/// The head of a request, as it comes to the ORB when the rest is too much.
std::string Refused(const GiopStream& giop, const std::string& operation) { return giop.Request(1, operation); }

TEST(MessageFraming, OfAMessageAboveItsOperationsLimitTheHeadPasses) {
  for (const unsigned minor : {0u, 1u, 2u})
    for (const std::size_t step : {1u, 100u, 8192u}) {
      const GiopStream giop(minor);
      const std::string next = giop.Request(2, "op");
      const Outcome outcome = Read(giop.Request(1, "CreateMath", std::string(100'000, 'x')) + next, {}, 0, step);
      EXPECT_TRUE(outcome.bytes == Refused(giop, "CreateMath") + next) << outcome;
      ASSERT_EQ(outcome.refused.size(), 1u);
      EXPECT_NE(outcome.refused[0].find("CreateMath"), std::string::npos) << outcome.refused[0];
      EXPECT_EQ(outcome.failure, "");
    }
}

TEST(MessageFraming, AlsoWhenItComesInFragments) {
  for (const std::size_t step : {1u, 100u, 8192u}) {
    const GiopStream giop;
    std::string stream = giop.Request(1, "CreateMath", "", true);
    for (int i = 0; i < 20; ++i) stream += giop.Fragment(1, std::string(1024, 'x'), true);
    stream += giop.Fragment(1, "end", false) + giop.Request(2, "op");
    const Outcome outcome = Read(stream, {}, 0, step);
    EXPECT_TRUE(outcome.bytes == Refused(giop, "CreateMath") + giop.Request(2, "op")) << outcome;
    EXPECT_EQ(outcome.refused.size(), 1u);
  }
}

TEST(MessageFraming, ASampleAboveTheLimitOfMessagesIsRefused) {
  const Setting setting{.limits = {.max_message_bytes = 65536}};
  const Outcome outcome = Read(Sample(70'000) + GiopStream().Request(2, "op"), setting);
  EXPECT_TRUE(outcome.bytes == Refused(GiopStream(), "Publish") + GiopStream().Request(2, "op")) << outcome;
  const std::string exact = Sample(70'000);
  EXPECT_EQ(Read(exact, {.limits = {.max_message_bytes = exact.size()}}).bytes, exact) << "just the limit passes";
  const Outcome by_far = Read(Sample(300'000), setting);
  EXPECT_TRUE(by_far.bytes == Refused(GiopStream(), "Publish")) << by_far;
  EXPECT_NE(by_far.failure, "") << "what is larger by far is not read to its end";
}

TEST(MessageFraming, FragmentsWithoutEndEndTheConnection) {
  const GiopStream giop;
  std::string stream = giop.Request(1, "Publish", "", true);
  for (int i = 0; i < 100; ++i) stream += giop.Fragment(1, std::string(8192, 'x'), true);
  const Outcome outcome = Read(stream, {.limits = {.max_message_bytes = 65536}});
  EXPECT_TRUE(outcome.bytes == Refused(giop, "Publish")) << outcome;
  EXPECT_NE(outcome.failure, "");
}

TEST(MessageFraming, AnAnswerAboveItsLimitBecomesMarshal) {
  for (const unsigned minor : {0u, 1u, 2u}) {
    const GiopStream giop(minor);
    const Wire exception = Wire().Text("IDL:omg.org/CORBA/MARSHAL:1.0").Align(4);
    const Outcome outcome = Read(giop.Reply(1, std::string(20'000, 'x')) + giop.Reply(2), {.side = Side::Own});
    const std::string text = "IDL:omg.org/CORBA/MARSHAL:1.0";
    EXPECT_NE(outcome.bytes.find(text), std::string::npos);
    EXPECT_TRUE(outcome.bytes.ends_with(giop.Reply(2))) << outcome;
    EXPECT_LT(outcome.bytes.size(), 200u);
  }
  const std::string sample = GiopStream().Reply(1, std::string(20'000, 'x'));
  EXPECT_EQ(Read(sample, {.side = Side::Own, .answers = MessageLimit::Sample}).bytes, sample);
  const std::string forward = GiopStream().Reply(1, std::string(20'000, 'x'), false, 3);
  EXPECT_NE(Read(forward, {.side = Side::Own, .answers = MessageLimit::Sample}).bytes, forward)
      << "only results may be large";
}

TEST(MessageFraming, AClaimedSizeCostsNothing) {
  AssemblyBudget budget(1u << 20);
  MessageFraming framing(Side::Served, {}, budget, nullptr, [](const std::string&) {});
  const GiopStream giop;
  std::string head = giop.Request(1, "Publish", "", true);
  head.replace(8, 4, Wire().Ulong(80'000'000).Bytes());
  std::vector<char> buffer(8192);
  ASSERT_EQ(framing.Give(buffer), 0u);
  std::memcpy(framing.Room(buffer).data(), head.data(), head.size());
  EXPECT_EQ(framing.Arrived(buffer, head.size()), 0u);
  framing.Room(buffer);
  EXPECT_LE(budget.Taken(), 100'000u);
}

TEST(MessageFraming, AFragmentIsBoundedWhileItComes) {
  constexpr std::uint32_t kClaimed = 10'000'000;
  AssemblyBudget budget(160u << 20);
  std::vector<std::string> refused;
  MessageFraming framing(Side::Served, {}, budget, nullptr, [&](const std::string& line) { refused.push_back(line); });
  std::string stream = GiopStream().Request(1, "CreateMath", "", true);
  stream.replace(8, 4, Wire().Ulong(kClaimed).Bytes());
  stream.resize(1'000'000, 'x');
  std::vector<char> buffer(8192);
  std::uint64_t most = 0;
  for (std::size_t at = 0; at < stream.size();) {
    ASSERT_EQ(framing.Give(buffer), 0u);
    const std::span<char> room = framing.Room(buffer);
    const std::size_t count = std::min({room.size(), buffer.size(), stream.size() - at});
    std::memcpy(room.data(), stream.data() + at, count);
    at += count;
    ASSERT_EQ(framing.Arrived(buffer, count), 0u);
    most = std::max(most, budget.Taken());
  }
  EXPECT_EQ(refused.size(), 1u) << "as soon as its operation was known";
  EXPECT_LE(most, 100'000u);
}

TEST(MessageFraming, WhatHasNoRoomIsRefusedAndTheConnectionGoesOn) {
  const GiopStream giop;
  const std::string first = giop.Request(1, "Publish", "", true);
  const std::string stream = first + giop.Fragment(1, std::string(200'000, 'x'), false) + giop.Request(2, "op");
  const Outcome outcome = Read(stream, {.budget = 100'000});
  EXPECT_TRUE(outcome.bytes == Refused(giop, "Publish") + giop.Request(2, "op")) << outcome;
}

TEST(MessageFraming, ATargetThatIsNoKeyIsUnlawful) {
  std::string request = GiopStream().Request(1, "op");
  request[20] = 2;
  EXPECT_NE(Read(request, {}).failure, "");
}

TEST(MessageFraming, AHeadWithoutEndIsUnlawful) {
  const GiopStream giop;
  const std::string operation(9000, 'o');
  EXPECT_NE(Read(giop.Request(1, operation, std::string(20'000, 'x')), {}).failure, "");
  std::string contexts = giop.Request(1, "Publish", std::string(20'000, '\0'));
  contexts.replace(contexts.find("Publish") + 8, 4, Wire().Ulong(79'000'000).Bytes());
  EXPECT_NE(Read(contexts, {}).failure, "") << "a claim of 79 million contexts";
}

TEST(MessageFraming, FragmentsMustComeToTheirEndInTime) {
  const Setting setting{.limits = {.assembly_time = std::chrono::nanoseconds(1)}};
  const GiopStream giop;
  EXPECT_NE(Read(First(giop, 2, 1) + giop.Request(2, "op"), setting, First(giop, 2, 1).size()).failure, "");
}

TEST(MessageFraming, TheOldestOfSeveralThatHaveComeInPartCounts) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kTime{250};
  const GiopStream giop;
  AssemblyBudget budget(1u << 20);
  MessageFraming framing(Side::Served, {.assembly_time = kTime}, budget, nullptr, [](const std::string&) {});
  std::vector<char> buffer(8192);
  const auto read = [&](const std::string& bytes) {
    const std::span<char> room = framing.Room(buffer);
    std::copy(bytes.begin(), bytes.end(), room.begin());
    framing.Arrived(buffer, bytes.size());
  };
  read(First(giop, 2, 1));
  const auto began = Clock::now();  // or a little before
  ASSERT_EQ(framing.Parts(), 1u);
  while (Clock::now() - began < kTime / 2) std::this_thread::yield();
  try {
    read(First(giop, 2, 2));
  } catch (const UnlawfulMessage&) {  // a busy machine: the first one's time is over already
    return;
  }
  while (Clock::now() - began <= kTime) std::this_thread::yield();
  EXPECT_THROW(framing.Room(buffer), UnlawfulMessage);
}

}  // namespace
}  // namespace Corvanta::Test
