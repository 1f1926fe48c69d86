// SPDX-License-Identifier: Apache-2.0
// What the any guard makes of messages that no client of ours sends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/IsolatedPlatform.h"
#include "tests/support/ProcessFigures.h"
#include "tests/support/RawClient.h"

namespace Corvanta {
namespace {

using namespace Test;
using Lumenar::Test::BuiltProgram;
using Lumenar::Test::Process;

/// As sent by hand, so that what the server understood can be checked against the same numbers.
constexpr const char* kTraceText =
    "trace 41 42 16909056 16909057 16909058 16909059 16909060 16909061 16909062 16909063 16909064 16909065 16909066 "
    "16909067"
    " [1 -3 1^11 2^12 3^13 4^14 5^15] 0.125 3 sum 11";

class Server {
 public:
  Server() : process_({BuiltProgram("any_guard_server").string()}) {
    if (!process_.WaitForLine("ready")) throw std::runtime_error(process_.Error());
    std::istringstream lines(process_.Out());
    std::string subscriber_text, manager_text;
    lines >> subscriber_text >> manager_text;
    subscriber = AddressOf(subscriber_text);
    manager = AddressOf(manager_text);
  }

  bool IsRunning() { return process_.IsRunning(); }
  bool Wrote(const std::string& line) { return process_.WaitForLine(line, std::chrono::seconds(5)); }
  std::string Out() const { return process_.Out(); }

  /// The most memory that the process ever held.
  long PeakMemory_kB() const { return Lumenar::Test::PeakMemory_kB(process_.Pid()); }

  ObjectAddress subscriber;
  ObjectAddress manager;

 private:
  Process process_;
};

/// An any of these parts.
Wire Any(const std::function<void(Wire&)>& type, const std::function<void(Wire&)>& value, bool little_endian = true) {
  Wire wire(little_endian);
  type(wire);
  value(wire);
  return wire;
}

/// The one sample of a group.
Wire Group(const std::function<void(Wire&)>& type, const std::function<void(Wire&)>& value_and_handles) {
  Wire wire;
  wire.Ulong(1);
  type(wire);
  value_and_handles(wire);
  return wire;
}

void Nothing(Wire&) {}

TEST(any_guard_by_hand, RecordsInBothByteOrdersAreUnderstood) {
  Server server;
  for (bool little_endian : {true, false}) {
    RawClient client(server.subscriber);
    EXPECT_EQ(client.Call("DDS_Callback", Any(
                                              TraceType(), [](Wire& w) { WriteTrace(w, 3, 3); }, little_endian)),
              "ok");
    EXPECT_EQ(client.Call("DDS_Callback", Any(ValueType(), WriteValue, little_endian)), "ok");
    EXPECT_EQ(client.Call("DDS_Callback", Any(
                                              Simple(kTkLong), [](Wire& w) { w.Ulong(70000); }, little_endian)),
              "ok");
    EXPECT_EQ(client.Call("DDS_Callback", Any(
                                              Simple(kTkBoolean), [](Wire& w) { w.Octet(1); }, little_endian)),
              "ok");
    EXPECT_EQ(client.Call("GetId", Wire(little_endian)), "ok");
    RawClient publisher(server.manager);
    const auto value_and_topic = [](Wire& w) {
      WriteTrace(w, 3, 3);
      w.Text("T");
    };
    EXPECT_EQ(publisher.Call("Publish", Any(TraceType(), value_and_topic, little_endian)), "ok");
  }
  const std::string trace = kTraceText;
  const std::string expected = "callback " + trace +
                               "\ncallback value [1 -3 1^11 2^12 3^13 4^14 5^15] -0.5 0.25 1e+300\n" +
                               "callback long 70000\ncallback boolean true\npublish T " + trace + "\n";
  EXPECT_TRUE(server.Wrote("publish T " + trace)) << server.Out();
  EXPECT_EQ(server.Out().substr(server.Out().find("ready\n") + 6), expected + expected);
}

TEST(any_guard_by_hand, FragmentsArePutTogether) {
  Server server;
  const Wire arguments = Any(TraceType(), [](Wire& w) { WriteTrace(w, 100000, 100000); });
  for (std::size_t fragment_bytes : {64, 8192, 80000}) {
    RawClient client(server.subscriber);
    EXPECT_EQ(client.CallInFragments("DDS_Callback", arguments, fragment_bytes), "ok") << fragment_bytes;
  }
}

struct Hostile {
  const char* name;
  const char* operation;
  Wire arguments;
  const char* answer;
};

void PrintTo(const Hostile& hostile, std::ostream* stream) { *stream << hostile.name; }

/// An any in an any in an any, and so on: the value of each is the next one.
void AnysWithin(Wire& wire) {
  for (int depth = 0; depth < 26; ++depth) wire.Ulong(kTkAny);
  wire.Ulong(0);
}

/// 480 kB of sequences of sequences: kind, length of the rest, byte order, padding, and so on.
void SequencesWithin(Wire& wire) {
  constexpr std::uint32_t kBytes = 480000;
  for (std::uint32_t rest = kBytes; rest > 24; rest -= 16)
    wire.Ulong(kTkSequence).Ulong(rest).Octet(1).Align(4).Ulong(0);
}

void ClaimsMembers(Wire& wire) {
  const Wire body = Wire::Encapsulation(true).Text("IDL:X:1.0").Text("X").Ulong(100000000);
  wire.Ulong(kTkStruct).Nested(body);
}

std::function<void(Wire&)> Samples(std::uint32_t claimed, std::uint32_t there) {
  return [=](Wire& wire) { WriteTrace(wire, claimed, there); };
}

std::function<void(Wire&)> ThenTopic(const std::string& topic) {
  return [=](Wire& wire) { wire.Ulong(1).Text(topic); };
}

std::vector<Hostile> HostileMessages() {
  const TypeWriter a_long = Simple(kTkLong);
  return {
      {"nothing", "DDS_Callback", Wire(), "MARSHAL"},
      {"struct_claims_members", "DDS_Callback", Any(ClaimsMembers, Nothing), "MARSHAL"},
      {"anys_26_deep", "DDS_Callback", Any(AnysWithin, Nothing), "ok"},
      {"sequences_480_kB_deep", "DDS_Callback", Any(SequencesWithin, Nothing), "ok"},
      {"no_such_kind", "DDS_Callback", Any(Simple(0x7fffffff), Nothing), "MARSHAL"},
      {"length_of_type_lies", "DDS_Callback", Wire().Ulong(kTkStruct).Ulong(0x7ffffff0).Ulong(1), "MARSHAL"},
      {"value_is_missing", "DDS_Callback", Any(TraceType(), Nothing), "MARSHAL"},
      {"a_thousand_million_samples", "DDS_Callback", Any(TraceType(), Samples(0x3fffffff, 4)), "MARSHAL"},
      {"samples_overflow", "DDS_Callback", Any(TraceType(), Samples(0xffffffff, 4)), "MARSHAL"},
      {"one_sample_too_few", "DDS_Callback", Any(TraceType(), Samples(5, 4)), "MARSHAL"},
      {"long_is_missing", "DDS_Callback", Any(a_long, Nothing), "MARSHAL"},
      {"publish_struct_claims_members", "Publish", Any(ClaimsMembers, Nothing), "MARSHAL"},
      {"publish_anys_26_deep", "Publish", Any(AnysWithin, ThenTopic("T")), "BAD_PARAM"},
      {"publish_sequences_480_kB_deep", "Publish", Any(SequencesWithin, Nothing), "BAD_PARAM"},
      {"publish_without_topic", "Publish", Any(a_long, [](Wire& w) { w.Ulong(1); }), "MARSHAL"},
      {"topic_length_lies", "Publish", Any(a_long, [](Wire& w) { w.Ulong(1).Ulong(0x7fffffff).Ulong(0); }), "MARSHAL"},
      {"topic_length_zero", "Publish", Any(a_long, [](Wire& w) { w.Ulong(1).Ulong(0); }), "MARSHAL"},
      {"topic_without_end", "Publish", Any(a_long, [](Wire& w) { w.Ulong(1).Ulong(2).Raw("ab"); }), "MARSHAL"},
      {"topic_with_a_zero_inside", "Publish", Any(a_long, ThenTopic(std::string("a\0b", 3))), "MARSHAL"},
      {"topic_too_long", "Publish", Any(a_long, ThenTopic(std::string(5000, 't'))), "BAD_PARAM"},
      {"group_of_nothing_at_all", "DDS_Group", Wire(), "MARSHAL"},
      {"group_claims_samples", "DDS_Group", Wire().Ulong(1024), "MARSHAL"},
      {"group_claims_too_many_samples", "DDS_Group", Wire().Ulong(0xffffffff), "BAD_PARAM"},
      {"group_struct_claims_members", "DDS_Group", Group(ClaimsMembers, Nothing), "MARSHAL"},
      {"group_sequences_480_kB_deep", "DDS_Group", Group(SequencesWithin, Nothing), "BAD_PARAM"},
      {"group_samples_overflow", "DDS_Group", Group(TraceType(), Samples(0xffffffff, 4)), "MARSHAL"},
      {"group_without_handles", "DDS_Group", Group(a_long, [](Wire& w) { w.Ulong(1); }), "MARSHAL"},
      {"group_claims_handles", "DDS_Group", Group(a_long, [](Wire& w) { w.Ulong(1).Ulong(1024).Ulong(3); }), "MARSHAL"},
      {"group_claims_too_many_handles", "DDS_Group", Group(a_long, [](Wire& w) { w.Ulong(1).Ulong(0x3fffffff); }),
       "BAD_PARAM"},
  };
}

class any_guard_hostile : public testing::TestWithParam<Hostile> {};

TEST_P(any_guard_hostile, IsAnsweredAtOnceAndTheNextCallWorks) {
  Server server;
  const Hostile& hostile = GetParam();
  const ObjectAddress& target = std::string(hostile.operation) == "Publish" ? server.manager : server.subscriber;
  RawClient client(target);
  const long before_kB = server.PeakMemory_kB();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(client.Call(hostile.operation, hostile.arguments), hostile.answer);
  // A tenth of a second is far more than it needs; ten times that still shows a stock decoder, which takes seconds.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  EXPECT_LT(server.PeakMemory_kB() - before_kB, 8 * 1024);
  ASSERT_TRUE(server.IsRunning());
  const std::string operation = hostile.operation;
  const auto value = [&](Wire& w) {
    w.Ulong(5);
    if (operation == "Publish") w.Text("T");
    if (operation == "DDS_Group") w.Ulong(1).Ulong(7);
  };
  const Wire sample = operation == "DDS_Group" ? Group(Simple(kTkLong), value) : Any(Simple(kTkLong), value);
  EXPECT_EQ(client.Call(hostile.operation, sample), "ok") << "on the same connection";
  RawClient next(target);
  EXPECT_EQ(next.Call(hostile.operation, sample), "ok") << "on a new one";
}

INSTANTIATE_TEST_SUITE_P(Messages, any_guard_hostile, testing::ValuesIn(HostileMessages()),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(any_guard_by_hand, AFragmentedLieCostsLittleMemory) {
  Server server;
  RawClient client(server.subscriber);
  const long before_kB = server.PeakMemory_kB();
  EXPECT_EQ(client.CallInFragments("DDS_Callback", Any(TraceType(), Samples(20000000, 100)), 64), "MARSHAL");
  EXPECT_LT(server.PeakMemory_kB() - before_kB, 4 * 1024);
  RawClient next(server.subscriber);
  EXPECT_EQ(next.Call("GetId", Wire()), "ok");
}

TEST(any_guard_by_hand, AMessageThatNeverEndsHoldsUpNobodyElse) {
  Server server;
  RawClient client(server.subscriber);
  const std::string whole = client.Request("DDS_Callback", Any(TraceType(), Samples(10000, 10000)));
  client.Send(whole.substr(0, whole.size() / 2));
  RawClient next(server.subscriber);
  EXPECT_EQ(next.Call("GetId", Wire()), "ok");
}

TEST(any_guard_by_hand, CallsInterleavedOnAConnectionDoNotWaitForEachOther) {
  Server server;
  RawClient client(server.subscriber);
  const auto number = [](std::int32_t value) {
    return Any(Simple(kTkLong), [value](Wire& wire) { wire.Ulong(static_cast<std::uint32_t>(value)); });
  };
  client.Send(client.Request("DDS_Callback", number(-2)));
  ASSERT_TRUE(server.Wrote("held")) << server.Out();
  client.Send(client.Request("DDS_Callback", number(-3)));  // answers the first one, too
  EXPECT_EQ(client.Answer(), "ok");
  EXPECT_EQ(client.Answer(), "ok");
}

}  // namespace
}  // namespace Corvanta
