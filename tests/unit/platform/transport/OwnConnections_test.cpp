// SPDX-License-Identifier: Apache-2.0
// Calls of this process to servers that answer with sense or nonsense.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/orb/ORB_wrapper.h"
#include "platform/transport/PendingCalls.h"
#include "tests/support/GiopStream.h"
#include "tests/support/ScriptedServer.h"

namespace Corvanta::Test {
namespace {

using Answer = ScriptedServer::Answer;

/// The answer "yes" to a call of _is_a.
std::string Yes(std::uint32_t id) { return GiopStream().Reply(id, "\1"); }

using Transport = ScriptedServer::Transport;

class own_connections : public testing::TestWithParam<Transport> {
 protected:
  CORBA::Object_ptr ObjectOf(const ScriptedServer& server) {
    return orb_.Orb()->string_to_object(server.Reference().c_str());
  }

  /// "yes", "no", or the exception.
  static std::string Ask(CORBA::Object_ptr object) {
    try {
      return object->_is_a("IDL:Any/Thing:1.0") ? "yes" : "no";
    } catch (const CORBA::SystemException& exception) {
      return exception._name();
    }
  }

  /// Lets a connection be at rest for as long as it takes to be looked at again.
  static void Rest() { std::this_thread::sleep_for(std::chrono::milliseconds(30)); }

  ORB_wrapper_base orb_{localargc, localargv};
};

TEST_P(own_connections, CallsShareAConnection) {
  ScriptedServer server([](const MessageHeader&, std::uint32_t id, unsigned) { return Answer{Yes(id)}; }, GetParam());
  const CORBA::Object_var object = ObjectOf(server);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Ask(object), "yes");
  EXPECT_EQ(server.Connections(), 1u);
}

/// Each call reaches the server once, over a connection that stands.
TEST_P(own_connections, OneThatItsPeerClosedWhileItWasAtRestLosesNoCall) {
  ScriptedServer server(
      [](const MessageHeader&, std::uint32_t id, unsigned number) {
        return Answer{Yes(id), number % 2 == 0};
      },
      GetParam());
  const CORBA::Object_var object = ObjectOf(server);
  EXPECT_EQ(Ask(object), "yes");
  const unsigned first = server.Messages();
  Rest();
  EXPECT_EQ(Ask(object), "yes");
  EXPECT_EQ(server.Messages(), first + 1);
  EXPECT_EQ(server.Connections(), 2u);
}

TEST_P(own_connections, NorOneThatSaidFarewell) {
  ScriptedServer server([](const MessageHeader&, std::uint32_t id,
                           unsigned number) { return Answer{number == 0 ? Yes(id) + GiopStream().Close() : Yes(id)}; },
                        GetParam());
  const CORBA::Object_var object = ObjectOf(server);
  EXPECT_EQ(Ask(object), "yes");
  Rest();
  EXPECT_EQ(Ask(object), "yes");
}

TEST_P(own_connections, AnAnswerInFragmentsIsPutTogether) {
  ScriptedServer server(
      [](const MessageHeader&, std::uint32_t id, unsigned) {
        const GiopStream giop;
        return Answer{giop.Reply(id, "", true) + giop.Fragment(id, "", true) + giop.Fragment(id, "\1", false)};
      },
      GetParam());
  const CORBA::Object_var object = ObjectOf(server);
  EXPECT_EQ(Ask(object), "yes");
  EXPECT_EQ(Ask(object), "yes");
  EXPECT_EQ(server.Connections(), 1u);
}

TEST_P(own_connections, OnlyTheCallThatGotNonsenseFails) {
  const GiopStream giop;
  using Nonsense = std::function<std::string(std::uint32_t)>;
  const std::pair<const char*, Nonsense> kinds[] = {
      {"to nobody", [&](std::uint32_t id) { return giop.Reply(id + 100, "\1"); }},
      {"no message", [&](std::uint32_t) { return std::string(100, 'x'); }},
      {"a request", [&](std::uint32_t id) { return giop.Request(id, "op"); }},
      {"a fragment", [&](std::uint32_t id) { return giop.Fragment(id, "\1", false); }},
      {"of another version", [&](std::uint32_t id) { return GiopStream(3).Reply(id, "\1"); }},
  };
  for (const auto& [name, nonsense] : kinds) {
    SCOPED_TRACE(name);
    ScriptedServer server([&](const MessageHeader&, std::uint32_t id,
                              unsigned number) { return Answer{number == 0 ? nonsense(id) : Yes(id)}; },
                          GetParam());
    const CORBA::Object_var object = ObjectOf(server);
    EXPECT_EQ(Ask(object), "COMM_FAILURE");
    EXPECT_EQ(Ask(object), "yes");
  }
}

TEST_P(own_connections, AnAnswerThatIsTooLargeIsMarshalAndTheConnectionGoesOn) {
  ScriptedServer server(
      [](const MessageHeader&, std::uint32_t id, unsigned number) {
        return Answer{number == 0 ? GiopStream().Reply(id, std::string(100'000, '\1')) : Yes(id)};
      },
      GetParam());
  const CORBA::Object_var object = ObjectOf(server);
  EXPECT_EQ(Ask(object), "MARSHAL");
  Rest();  // what is still to be read of it is not the end of the connection
  EXPECT_EQ(Ask(object), "yes");
  EXPECT_EQ(server.Connections(), 1u);
}

INSTANTIATE_TEST_SUITE_P(over, own_connections, testing::Values(Transport::Tcp, Transport::Unix),
                         [](const auto& test) { return std::string(test.param == Transport::Tcp ? "Tcp" : "Unix"); });

constexpr std::uint32_t kForward = 3, kForwardForGood = 4, kOtherWayToName = 5;

/// Calls that their servers send round and round.
class circles : public own_connections {
 protected:
  struct Cost {
    std::string answer;
    unsigned messages;
  };
  static Cost AskAndCount(CORBA::Object_ptr object, std::initializer_list<const ScriptedServer*> servers) {
    const auto count = [&] {
      unsigned all = 0;
      for (const ScriptedServer* server : servers) all += server->Messages();
      return all;
    };
    const unsigned before = count();
    std::string answer = Ask(object);
    return {std::move(answer), count() - before};
  }

  static constexpr unsigned kMost =
      PendingCalls::kMostDetours + 3;  // with the one refused, and one again over a new connection
};

TEST_P(circles, AServerThatForwardsToItselfCostsAFewMessages) {
  for (const std::uint32_t status : {kForward, kForwardForGood, kOtherWayToName}) {
    SCOPED_TRACE(status);
    ScriptedServer* self = nullptr;
    std::atomic<bool> is_honest{false};
    ScriptedServer server([&](const MessageHeader&, std::uint32_t id, unsigned) {
      const std::string where = status == kOtherWayToName ? std::string(2, '\0') : self->ReferenceOnTheWire();
      return Answer{is_honest ? Yes(id) : GiopStream().Reply(id, where, false, status)};
    });
    self = &server;
    const CORBA::Object_var object = ObjectOf(server);
    for (int i = 0; i < 3; ++i) {
      const Cost cost = AskAndCount(object, {&server});
      EXPECT_EQ(cost.answer, "COMM_FAILURE");
      EXPECT_LE(cost.messages, kMost);
    }
    is_honest = true;
    EXPECT_EQ(Ask(object), "yes");
  }
}

TEST_P(circles, TwoServersThatForwardToOneAnotherToo) {
  ScriptedServer* other[2] = {};
  const auto script = [&](int which) {
    return [&other, which](const MessageHeader&, std::uint32_t id, unsigned) {
      return Answer{GiopStream().Reply(id, other[which]->ReferenceOnTheWire(), false, kForward)};
    };
  };
  ScriptedServer first(script(0)), second(script(1));
  other[0] = &second;
  other[1] = &first;
  const CORBA::Object_var object = ObjectOf(first);
  const Cost cost = AskAndCount(object, {&first, &second});
  EXPECT_EQ(cost.answer, "COMM_FAILURE");
  EXPECT_LE(cost.messages, kMost);
}

TEST_P(circles, AndOneThatSaysFarewellToEveryCall) {
  ScriptedServer server([&](const MessageHeader&, std::uint32_t, unsigned) {
    return Answer{GiopStream().Close(), true};
  });
  const CORBA::Object_var object = ObjectOf(server);
  const Cost cost = AskAndCount(object, {&server});
  EXPECT_EQ(cost.answer, "COMM_FAILURE");
  EXPECT_LE(cost.messages, kMost);
}

/// Each call may be forwarded, however many a thread makes.
TEST_P(circles, ButAForwardToWhereItIsAnsweredIsFollowed) {
  ScriptedServer target([](const MessageHeader&, std::uint32_t id, unsigned) { return Answer{Yes(id)}; });
  ScriptedServer server([&](const MessageHeader&, std::uint32_t id, unsigned) {
    return Answer{GiopStream().Reply(id, target.ReferenceOnTheWire(), false, kForward)};
  });
  for (unsigned i = 0; i < 3 * PendingCalls::kMostDetours; ++i)
    EXPECT_EQ(Ask(CORBA::Object_var(ObjectOf(server))), "yes");
}

INSTANTIATE_TEST_SUITE_P(over, circles, testing::Values(Transport::Tcp),
                         [](const auto&) { return std::string("Tcp"); });

TEST(PendingCalls, KnowWhatWasAskedAndWhatItsAnswerMayBring) {
  PendingCalls calls;
  EXPECT_TRUE(calls.IsAtRest());
  const GiopStream giop;
  const std::string get = giop.Request(7, "Get");
  calls.Sending(get);
  calls.Sent(5);
  EXPECT_FALSE(calls.IsAtRest());
  calls.Sending(std::string_view(get).substr(5));
  calls.Sent(get.size() - 5);
  EXPECT_EQ(calls.LimitOf(7), MessageLimit::Sample);
  const std::string oneway = giop.Request(8, "Get", "", false, false);
  calls.Sending(oneway);
  calls.Sent(oneway.size());
  EXPECT_THROW(calls.LimitOf(8), UnlawfulMessage);
  const std::string locate = giop.LocateRequest(9);
  calls.Sending(locate);
  calls.Sent(locate.size());
  EXPECT_EQ(calls.LimitOf(9), MessageLimit::Plain);
  calls.Done(7);
  EXPECT_THROW(calls.LimitOf(7), UnlawfulMessage);
  EXPECT_FALSE(calls.IsAtRest());
  calls.Done(9);
  EXPECT_TRUE(calls.IsAtRest());
}

TEST(PendingCalls, SeveralMayWaitAtATime) {
  PendingCalls calls;
  const GiopStream giop;
  const auto send = [&](const std::string& request) {
    calls.Sending(request);
    calls.Sent(request.size());
  };
  send(giop.Request(1, "_is_a", "arguments"));
  send(giop.Request(2, "ListMathStatus"));
  send(giop.Request(3, "AnOperationWithALongName"));
  EXPECT_EQ(calls.LimitOf(1), MessageLimit::Plain);
  EXPECT_EQ(calls.LimitOf(2), MessageLimit::List);
  EXPECT_TRUE(calls.Done(1));
  send(giop.Request(4, "ListMathStatus"));
  send(GiopStream(2, false).Request(5, "Get"));
  send(GiopStream(0).Request(6, "Get"));
  EXPECT_EQ(calls.LimitOf(4), MessageLimit::List);
  EXPECT_EQ(calls.LimitOf(5), MessageLimit::Sample);
  EXPECT_EQ(calls.LimitOf(6), MessageLimit::Sample);
  for (const std::uint32_t id : {3u, 4u, 6u, 5u, 2u}) {
    EXPECT_FALSE(calls.IsAtRest());
    EXPECT_TRUE(calls.Done(id)) << id;
    EXPECT_FALSE(calls.Done(id)) << id;
  }
  EXPECT_TRUE(calls.IsAtRest());
  send(giop.Request(7, "AnOperationWithALongName"));
  EXPECT_EQ(calls.LimitOf(7), MessageLimit::Plain);
}

}  // namespace
}  // namespace Corvanta::Test
