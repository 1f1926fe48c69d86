// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/MessageFraming.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>
#include <span>
#include <thread>

#include "tests/support/GiopStream.h"

namespace Corvanta::Test {
namespace {

using Side = MessageFraming::Side;

/// Requests with the ids 1 to 9 are not answered yet.
class Expected final : public ExpectedAnswers {
 public:
  explicit Expected(MessageLimit limit) {
    for (std::uint32_t id = 1; id < 10; ++id) limits_[id] = limit;
  }
  MessageLimit LimitOf(std::uint32_t id) override {
    if (limits_.count(id) == 0) throw UnlawfulMessage("an answer to nobody");
    return limits_.at(id);
  }
  bool Done(std::uint32_t id) noexcept override { return limits_.erase(id) == 1; }

 private:
  std::map<std::uint32_t, MessageLimit> limits_;
};

/// What the ORB got of a stream.
struct Outcome {
  std::string bytes;
  std::string failure;  ///< why the connection ends, when it does
  std::vector<std::string> refused;
  std::size_t parts = 0;
  bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << outcome.bytes.size() << " bytes, failure '" << outcome.failure << "', " << outcome.refused.size()
             << " refused, " << outcome.parts << " parts";
}

struct Setting {
  Side side = Side::Served;
  FramingLimits limits{};
  std::uint64_t budget = 160u << 20;
  MessageLimit answers = MessageLimit::Plain;
};

/// Reads a stream through a framing as the ORB does. `cut`: the first read ends there at the latest; `step`: no read is
/// longer.
Outcome Read(const std::string& stream, const Setting& setting, std::size_t cut = 0, std::size_t step = 1u << 20,
             std::size_t buffer_size = 8192) {
  Outcome outcome;
  AssemblyBudget budget(setting.budget);
  {
    Expected expected(setting.answers);
    MessageFraming framing(setting.side, setting.limits, budget, &expected,
                           [&](const std::string& line) { outcome.refused.push_back(line); });
    std::vector<char> buffer(buffer_size);
    std::size_t at = 0;
    try {
      for (;;) {
        const bool had_output = framing.HasOutput();
        std::size_t count = framing.Give(buffer);
        EXPECT_EQ(had_output, count > 0);
        if (count == 0) {
          if (at == stream.size()) break;
          const std::span<char> room = framing.Room(buffer);
          const std::size_t most = at < cut ? std::min(step, cut - at) : step;
          const std::size_t read = std::min({room.size(), most, stream.size() - at});
          std::memcpy(room.data(), stream.data() + at, read);
          at += read;
          count = framing.Arrived(buffer, read);
        }
        outcome.bytes.append(buffer.data(), count);
      }
    } catch (const UnlawfulMessage& failure) {
      outcome.failure = failure.what();
    }
    outcome.parts = framing.Parts();
  }
  EXPECT_EQ(budget.Taken(), 0u);
  return outcome;
}

const std::string kText = std::string(40, 'x');

struct Row {
  const char* name;
  std::function<std::string(const GiopStream&)> stream;
  std::function<std::string(const GiopStream&)> given;  ///< to the ORB
  const char* failure = "";                             ///< part of it
  Side side = Side::Served;
  std::vector<unsigned> minors{0, 1, 2};
};

/// Bytes that let a message of version 1.1 or 1.2 be cut where the next part may begin.
std::string Aligned(const GiopStream& giop, unsigned minor, std::uint32_t id, std::size_t extra = 0) {
  const std::size_t size = giop.Request(id, "op", "", true).size();
  const std::size_t place = minor == 1 ? 4 : 0;
  return std::string((place + 8 - size % 8) % 8 + extra, 'a');
}

std::string First(const GiopStream& giop, unsigned minor, std::uint32_t id) {
  return giop.Request(id, "op", Aligned(giop, minor, id, 16), true);
}

std::string Whole(const GiopStream& giop, unsigned minor, std::uint32_t id, const std::string& rest) {
  return giop.Request(id, "op", Aligned(giop, minor, id, 16) + rest);
}

/// As a header: no magic, and a size of its own.
std::string Zeros() { return std::string(8, '\0') + '\x30' + std::string(60, '\0'); }

template <unsigned minor>
std::vector<Row> FragmentRows() {
  const auto first = [](const GiopStream& giop, std::uint32_t id) { return First(giop, minor, id); };
  const auto whole = [](const GiopStream& giop, std::uint32_t id, const std::string& rest) {
    return Whole(giop, minor, id, rest);
  };
  return {
      {"two fragments",
       [=](const GiopStream& g) { return first(g, 1) + g.Fragment(1, "rest", false); },
       [=](const GiopStream& g) { return whole(g, 1, "rest"); },
       "",
       Side::Served,
       {minor}},
      {"three, one of them empty",
       [=](const GiopStream& g) { return first(g, 1) + g.Fragment(1, kText, true) + g.Fragment(1, "", false); },
       [=](const GiopStream& g) { return whole(g, 1, kText); },
       "",
       Side::Served,
       {minor}},
      {"then a whole message",
       [=](const GiopStream& g) { return first(g, 1) + g.Fragment(1, "rest", false) + g.Request(2, "op"); },
       [=](const GiopStream& g) { return whole(g, 1, "rest") + g.Request(2, "op"); },
       "",
       Side::Served,
       {minor}},
      {"last fragment twice",
       [=](const GiopStream& g) { return first(g, 1) + g.Fragment(1, "rest", false) + g.Fragment(1, "rest", false); },
       [=](const GiopStream& g) { return whole(g, 1, "rest"); },
       "Fragment of no message",
       Side::Served,
       {minor}},
      {"fragment of nobody",
       [=](const GiopStream& g) { return g.Fragment(7, "rest", false); },
       [=](const GiopStream&) { return std::string(); },
       "Fragment of no message",
       Side::Served,
       {minor}},
      {"cancelled in the middle",
       [=](const GiopStream& g) { return first(g, 1) + g.Cancel(1) + g.Request(2, "op"); },
       [=](const GiopStream& g) { return g.Request(2, "op"); },
       "",
       Side::Served,
       {minor}},
      {"another is cancelled",
       [=](const GiopStream& g) { return first(g, 1) + g.Cancel(2) + g.Fragment(1, "rest", false); },
       [=](const GiopStream& g) { return whole(g, 1, "rest"); },
       "",
       Side::Served,
       {minor}},
      {"cancelled, and goes on",
       [=](const GiopStream& g) { return first(g, 1) + g.Cancel(1) + g.Fragment(1, "rest", false); },
       [=](const GiopStream&) { return std::string(); },
       "Fragment of no message",
       Side::Served,
       {minor}},
      {"not aligned",
       [=](const GiopStream& g) {
         return g.Request(1, "op", Aligned(g, minor, 1, 15), true) + g.Fragment(1, "r", false);
       },
       [=](const GiopStream&) { return std::string(); },
       "not aligned",
       Side::Served,
       {minor}},
      {"in another byte order",
       [=](const GiopStream& g) {
         return first(g, 1) + GiopStream(minor, g.Close()[6] == 0).Fragment(1, "rest", false);
       },
       [=](const GiopStream&) { return std::string(); },
       "byte order",
       Side::Served,
       {minor}},
  };
}

std::vector<Row> Rows() {
  std::vector<Row> rows{
      {"one request", [](const GiopStream& g) { return g.Request(1, "op", kText); }, {}},
      {"several requests",
       [](const GiopStream& g) { return g.Request(1, "op") + g.Request(2, "op", kText) + g.Request(1, "op"); },
       {}},
      {"locate request", [](const GiopStream& g) { return g.LocateRequest(3) + g.Request(4, "op"); }, {}},
      {"close", [](const GiopStream& g) { return g.Request(1, "op") + g.Close(); }, {}},
      {"what follows a close is dropped", [](const GiopStream& g) { return g.Close() + "anything"; },
       [](const GiopStream& g) { return g.Close(); }},
      {"message error", [](const GiopStream& g) { return g.Error(); }, {}},
      {"cancel of anything",
       [](const GiopStream& g) { return g.Cancel(0xffffffff) + g.Request(1, "op") + g.Cancel(1) + g.Cancel(0); },
       [](const GiopStream& g) { return g.Request(1, "op"); }},
      {"cancel of another size", [](const GiopStream& g) { return g.Message(MessageKind::CancelRequest, "12345678"); },
       [](const GiopStream&) { return std::string(); }, "size"},
      {"close with a body", [](const GiopStream& g) { return g.Message(MessageKind::CloseConnection, "1234"); },
       [](const GiopStream&) { return std::string(); }, "size"},
      {"reply to a server", [](const GiopStream& g) { return g.Request(1, "op") + g.Reply(1); },
       [](const GiopStream& g) { return g.Request(1, "op"); }, "a Reply from a client"},
      {"no message", [](const GiopStream& g) { return g.Request(1, "op") + "GIUP12345678"; },
       [](const GiopStream& g) { return g.Request(1, "op"); }, "no message"},
      {"zeros, which no message begins with", [](const GiopStream&) { return Zeros(); },
       [](const GiopStream&) { return std::string(); }, "no message"},
      {"zeros behind a close", [](const GiopStream& g) { return g.Close() + Zeros(); },
       [](const GiopStream& g) { return g.Close(); }},
      {"unknown kind", [](const GiopStream& g) { return g.Message(static_cast<MessageKind>(8), ""); },
       [](const GiopStream&) { return std::string(); }, "no known kind"},
      {"cancel in fragments",
       [](const GiopStream& g) { return g.Message(MessageKind::CancelRequest, "1234", true); },
       [](const GiopStream&) { return std::string(); },
       "CancelRequest in fragments",
       Side::Served,
       {1, 2}},
      {"reply", [](const GiopStream& g) { return g.Reply(1, kText) + g.Reply(2, ""); }, {}, "", Side::Own},
      {"reply to nobody", [](const GiopStream& g) { return g.Reply(11, kText); },
       [](const GiopStream&) { return std::string(); }, "nobody", Side::Own},
      {"reply twice", [](const GiopStream& g) { return g.Reply(1, kText) + g.Reply(1, kText); },
       [](const GiopStream& g) { return g.Reply(1, kText); }, "nobody", Side::Own},
      {"request to a client", [](const GiopStream& g) { return g.Request(1, "op"); },
       [](const GiopStream&) { return std::string(); }, "a Request from a server", Side::Own},
      {"cancel to a client", [](const GiopStream& g) { return g.Cancel(1); },
       [](const GiopStream&) { return std::string(); }, "a CancelRequest from a server", Side::Own},
      {"interleaved fragments",
       [](const GiopStream& g) {
         return First(g, 2, 1) + First(g, 2, 2) + g.Request(3, "op") + g.Fragment(2, "two", false) +
                g.Fragment(1, "one", false);
       },
       [](const GiopStream& g) { return g.Request(3, "op") + Whole(g, 2, 2, "two") + Whole(g, 2, 1, "one"); },
       "",
       Side::Served,
       {2}},
      {"same id while in part",
       [](const GiopStream& g) { return First(g, 2, 1) + g.Request(1, "op"); },
       [](const GiopStream&) { return std::string(); },
       "has come in part",
       Side::Served,
       {2}},
      {"a message between fragments of 1.1",
       [](const GiopStream& g) { return First(g, 1, 1) + g.Request(2, "op"); },
       [](const GiopStream&) { return std::string(); },
       "between the fragments",
       Side::Served,
       {1}},
      {"too many in part",
       [](const GiopStream& g) {
         std::string stream;
         for (std::uint32_t id = 0; id < 17; ++id) stream += First(g, 2, id);
         return stream;
       },
       [](const GiopStream&) { return std::string(); },
       "too many",
       Side::Served,
       {2}},
      {"version 1.2, then older ones for good",
       [](const GiopStream& g) {
         return GiopStream(2).Request(1, "op") + g.Request(2, "op") + GiopStream(2).Request(3, "op");
       },
       [](const GiopStream& g) { return GiopStream(2).Request(1, "op") + g.Request(2, "op"); },
       "different versions",
       Side::Served,
       {0, 1}},
  };
  for (const auto& more : {FragmentRows<1>(), FragmentRows<2>()}) rows.insert(rows.end(), more.begin(), more.end());
  return rows;
}

TEST(MessageFraming, AdmitsLawfulSequencesOnly) {
  for (const Row& row : Rows())
    for (const unsigned minor : row.minors)
      for (const bool little_endian : {true, false}) {
        SCOPED_TRACE(testing::Message() << row.name << ", version 1." << minor << ", little-endian " << little_endian);
        const GiopStream giop(minor, little_endian);
        const Outcome outcome = Read(row.stream(giop), {.side = row.side});
        EXPECT_TRUE(outcome.bytes == (row.given ? row.given : row.stream)(giop)) << outcome;
        EXPECT_EQ(outcome.failure.empty(), *row.failure == '\0') << outcome.failure;
        EXPECT_NE(outcome.failure.find(row.failure), std::string::npos) << outcome.failure;
      }
}

TEST(MessageFraming, GivesTheSameWhereverAStreamIsCut) {
  for (const Row& row : Rows())
    for (const unsigned minor : row.minors)
      for (const bool little_endian : {true, false}) {
        SCOPED_TRACE(testing::Message() << row.name << ", version 1." << minor << ", little-endian " << little_endian);
        const std::string stream = row.stream(GiopStream(minor, little_endian));
        const Setting setting{.side = row.side};
        const Outcome expected = Read(stream, setting);
        for (std::size_t cut = 1; cut < stream.size(); ++cut)
          ASSERT_EQ(Read(stream, setting, cut), expected) << "cut at " << cut;
        for (const std::size_t step : {1, 2, 3, 7, 12, 13})
          ASSERT_EQ(Read(stream, setting, 0, step), expected) << "reads of " << step;
        ASSERT_EQ(Read(stream, setting, 0, 1000, 16), expected) << "small buffer";
      }
}

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
