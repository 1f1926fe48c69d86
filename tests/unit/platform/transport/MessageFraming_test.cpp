// SPDX-License-Identifier: Apache-2.0
// Which sequences of messages reach the ORB, wherever a stream is cut.
#include "platform/transport/MessageFraming.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/unit/platform/transport/FramedStream.h"

namespace Corvanta::Test {
namespace {

struct Row {
  const char* name;
  std::function<std::string(const GiopStream&)> stream;
  std::function<std::string(const GiopStream&)> given;  ///< to the ORB
  const char* failure = "";                             ///< part of it
  Side side = Side::Served;
  std::vector<unsigned> minors{0, 1, 2};
};

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

}  // namespace
}  // namespace Corvanta::Test
