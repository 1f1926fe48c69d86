// SPDX-License-Identifier: Apache-2.0
// Traces at the limit of messages and beyond it, in both directions, and processes whose limits differ.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <fstream>

#include "platform/dds/DDS_BaseObj.h"
#include "tests/faults/FaultCase.h"
#include "tests/support/EngineFixture.h"

namespace Lumenar::Test {
namespace {

using testing::HasSubstr;

constexpr std::size_t kLimit = 400000;
constexpr std::size_t kAllElse = 4096;  // of a message, beside the samples and the topic's name

IsolatedPlatform::Options SmallMessages() {
  IsolatedPlatform::Options options;
  options.transport = fmt::format("orb.max_message_bytes = {}\n", kLimit);
  return options;
}

class SizeLimits : public EngineFixture {
 protected:
  SizeLimits() : EngineFixture(SmallMessages()) {}

  static BT_DATA TraceOf(std::size_t points) { return Trace(std::vector<float>(points, 1.0f), kMilliwatt); }

  /// The longest trace that may be published on a topic.
  static std::size_t Longest(const std::string& topic) { return (kLimit - kAllElse - topic.size()) / sizeof(float); }
};

TEST_F(SizeLimits, SizeLimits) {
  DescribeFault(
      "size limits",
      "traces at the limit of messages and one point above it, both directions, a client with a smaller limit",
      "refused by the sender with an exception of ours, said and counted; the connections go on");
  TraceInput input(bench_, "INPUT", TraceOf(10));
  const std::string topic = input.GetDDS_Topic();
  Watcher<BT_DATA> samples(topic);
  const auto lost_before = Corvanta::DdsBaseAccess::Instance().LostSamples();
  testing::internal::CaptureStderr();
  input = TraceOf(Longest(topic));
  input = TraceOf(Longest(topic) + 1);
  input = TraceOf(11);
  const std::string lines = testing::internal::GetCapturedStderr();
  const auto received = samples.WaitFor(2);
  ASSERT_EQ(received.size(), 2u);
  EXPECT_EQ(received[0].samples.length(), Longest(topic));
  EXPECT_EQ(received[1].samples.length(), 11u) << "the connection goes on";
  EXPECT_THAT(lines, HasSubstr("sample of topic " + topic + " not taken: a limit is reached"));
  EXPECT_EQ(Corvanta::DdsBaseAccess::Instance().LostSamples(), lost_before + 1);

  // The other direction: a value that is asked for and is too large to answer with.
  input = TraceOf(2 * Longest(topic));
  EXPECT_THROW(Create(Peak, Inputs(input)), CORBA::SystemException);
  input = TraceOf(Longest(topic) - 100);
  Corvanta::MathFactory::Math_var math = Create(Peak, Inputs(input));
  EXPECT_EQ(TraceResult(math).samples.length(), Longest(topic) - 100);

  // A client that takes less than the engine sends.
  const std::string file = (platform_.Directory() / "small.conf").string();
  std::ofstream(file) << "orb.max_message_bytes = 50000\n";
  auto client = platform_.Start("mathctl", {"get", std::to_string(math->GetId())}, {{"LUMENAR_TRANSPORT_CONF", file}});
  EXPECT_NE(client->WaitForExit(), 0);
  EXPECT_THAT(client->Error(), HasSubstr("the message could not be read"));
  auto other = platform_.Start("mathctl", {"get", std::to_string(math->GetId())});
  EXPECT_EQ(other->WaitForExit(), 0) << other->Error();
  EXPECT_TRUE(engine_.IsRunning());
}

}  // namespace
}  // namespace Lumenar::Test
