// SPDX-License-Identifier: Apache-2.0
// The web gateway under clients that are slow, mute, malicious or many: a clear refusal, bounded memory, and an engine
// that does not notice.
#include <gmock/gmock.h>

#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <vector>

#include "tests/faults/FaultCase.h"
#include "tests/faults/ProcessWatch.h"
#include "tests/support/ProcessFigures.h"
#include "tests/support/WebFixture.h"

namespace Lumenar::Test {
namespace {

using nlohmann::json;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;

class WebFaults : public WebFixture {
 protected:
  static constexpr long kGrowth_kB = 64 * 1024;

  bool GoodClientIsServed() {
    WebClient client(Port());
    if (!client.Subscribe(1, "SIM/1/LEVEL", 500)) return false;
    for (int i = 0; i < 3; ++i) {
      if (!client.WaitFor([](const WebMessage& one) { return one.IsFrame(); })) return false;
      client.Ready(1);
    }
    return true;
  }

  void ExpectBoundedAndServed(const ProcessWatch& watch) {
    EXPECT_LT(watch.Growth_kB(), kGrowth_kB);
    EXPECT_TRUE(Web().IsRunning()) << Web().Error();
    EXPECT_TRUE(GoodClientIsServed());
    ReportFigure(fmt::format("memory +{:.1f} MB", static_cast<double>(watch.Growth_kB()) / 1024));
  }

  /// A connection that has become a WebSocket, byte by byte.
  RawSocket Upgraded() {
    RawSocket socket(Port());
    socket.Send(UpgradeRequest(Port()));
    EXPECT_THAT(socket.ReadUntil("\r\n\r\n"), HasSubstr("101 Switching Protocols"));
    return socket;
  }

  static std::string TextFrame(const std::string& text) { return WebFrameHead(1, text.size()) + text; }
};

TEST_F(WebFaults, AReaderThatStops) {
  DescribeFault("web: reader that stops", "a client that takes nothing more, with 16 streams of a trace",
                "it is let go after the idle time, memory +64 MB at most, others are served");
  StartWeb({"--idle-timeout", "2"});
  const ProcessWatch watch("math_web", Web().Pid());
  RawSocket mute = Upgraded();
  for (int i = 0; i < 16; ++i) {
    const json subscribe{
        {"type", "subscribe"}, {"request", i}, {"stream", i}, {"name", "SIM/1/LEVEL"}, {"columns", 8192}};
    mute.Send(TextFrame(subscribe.dump()));
  }
  std::string ready;
  for (int i = 0; i < 16; ++i) ready += TextFrame(json{{"type", "ready"}, {"stream", i}}.dump());
  const auto sends = [&] { return mute.Send(ready); };  // "ready" for what it never reads, as fast as it goes
  EXPECT_TRUE(WaitUntil([&] { return !sends(); }, seconds(30))) << "it is let go";
  ExpectBoundedAndServed(watch);
}

TEST_F(WebFaults, ASlowReaderSkips) {
  DescribeFault("web: slow reader", "a client that draws two pictures a second of a source of twenty",
                "it gets the newest each time, what it skipped is counted; a good client keeps its rate");
  StartWeb();
  WebClient slow(Port());
  ASSERT_TRUE(slow.Subscribe(1, "SIM/1/LEVEL", 8192));
  std::optional<WebMessage> last;
  for (int i = 0; i < ByLength(4, 40); ++i) {
    last = slow.WaitFor([](const WebMessage& one) { return one.IsFrame(); });
    ASSERT_TRUE(last);
    const double age_s =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count() - last->time_s;
    EXPECT_LT(age_s, 1) << "the newest, not one that waited";
    WaitUntil([] { return false; }, milliseconds(500));  // it draws
    slow.Ready(1);
  }
  EXPECT_GT(last->skipped, 10u);
  EXPECT_TRUE(GoodClientIsServed());
}

TEST_F(WebFaults, HalfHandshakes) {
  DescribeFault("web: half handshakes", "100 connections that send a part of a request, or nothing",
                "each is closed after the time for a handshake; others are served meanwhile");
  StartWeb({"--handshake-timeout", "2"});
  EXPECT_TRUE(GoodClientIsServed()) << "from here on it has its connections to the platform";
  const ProcessWatch watch("math_web", Web().Pid());
  std::vector<RawSocket> sockets;
  const std::string whole = UpgradeRequest(Port());
  for (std::size_t i = 0; i < 100; ++i) {
    sockets.emplace_back(Port());
    sockets.back().Send(whole.substr(0, i * whole.size() / 120));
  }
  EXPECT_TRUE(GoodClientIsServed());
  for (RawSocket& socket : sockets) EXPECT_TRUE(socket.IsClosedWithin(seconds(10)));
  EXPECT_EQ(watch.Stays(), "");
  ExpectBoundedAndServed(watch);
}

TEST_F(WebFaults, TwoThousandConnections) {
  DescribeFault("web: 2,000 connections", "opened and left idle",
                "those above the limit are told so, memory +64 MB at most, descriptors come back");
  StartWeb({"--clients", "8", "--handshake-timeout", "3"});
  EXPECT_TRUE(GoodClientIsServed());
  const ProcessWatch watch("math_web", Web().Pid());
  const int most = CountDescriptors(Web().Pid()) + 2 * 8 + 128 + 40;
  {
    std::vector<RawSocket> sockets;
    for (int i = 0; i < 900; ++i) sockets.emplace_back(Port());
    EXPECT_LE(CountDescriptors(Web().Pid()), most);
    const auto told = std::count_if(sockets.begin(), sockets.end(), [](RawSocket& socket) {
      return socket.ReadToEnd(milliseconds(10)).find("503 Service Unavailable") != std::string::npos;
    });
    EXPECT_GT(told, 100) << "some places may have become free meanwhile";
  }
  for (int round = 0; round < 2; ++round) {
    std::vector<RawSocket> sockets;
    for (int i = 0; i < 550; ++i) sockets.emplace_back(Port());
  }
  EXPECT_EQ(watch.Stays(), "");
  ExpectBoundedAndServed(watch);
}

TEST_F(WebFaults, MoreClientsThanTheLimit) {
  DescribeFault("web: too many clients", "one WebSocket more than the limit",
                "503 with a sentence; one that leaves makes room");
  StartWeb({"--clients", "3"});
  std::vector<std::unique_ptr<WebClient>> clients;
  for (int i = 0; i < 3; ++i) clients.push_back(std::make_unique<WebClient>(Port()));
  try {
    WebClient more(Port());
    FAIL() << "a fourth client";
  } catch (const std::runtime_error& refusal) {
    EXPECT_THAT(refusal.what(), HasSubstr("503 3 clients are connected, the limit."));
  }
  clients.pop_back();
  EXPECT_TRUE(WaitUntil([&] {
    try {
      WebClient again(Port());
      return true;
    } catch (const std::runtime_error&) {
      return false;
    }
  }));
}

TEST_F(WebFaults, FramesThatClaimAGigabyte) {
  DescribeFault("web: frames of 1 GB claimed", "a frame, a request's body and a head that claim or are too much",
                "closed with 1009, 413, 431; nothing is allocated for them");
  StartWeb();
  const ProcessWatch watch("math_web", Web().Pid());
  RawSocket socket = Upgraded();
  socket.Send(WebFrameHead(1, 1ULL << 30) + std::string(1000, 'x'));
  EXPECT_THAT(socket.ReadToEnd(), HasSubstr("\x03\xf1")) << "1009 in a close frame";
  const std::string host = fmt::format("Host: 127.0.0.1:{}\r\n", Port());
  EXPECT_EQ(HttpAsk(RawSocket(Port()), "POST / HTTP/1.1\r\n" + host + "Content-Length: 1073741824\r\n\r\nxxx").status,
            413u);
  EXPECT_EQ(
      HttpAsk(RawSocket(Port()), "GET / HTTP/1.1\r\n" + host + "X: " + std::string(20000, 'x') + "\r\n\r\n").status,
      431u);
  EXPECT_EQ(HttpAsk(RawSocket(Port()), "nonsense\r\n\r\n").status, 400u);
  EXPECT_EQ(HttpAsk(RawSocket(Port()), "DELETE / HTTP/1.1\r\n" + host + "Connection: close\r\n\r\n").status, 405u);
  ExpectBoundedAndServed(watch);
}

TEST_F(WebFaults, MessagesThatAreNone) {
  DescribeFault("web: malformed messages", "texts that are not UTF-8 or no JSON, binary messages, unmasked frames",
                "1007, a sentence each and 1008 in the end, 1003, 1002");
  StartWeb();
  RawSocket bad_utf8 = Upgraded();
  bad_utf8.Send(TextFrame("{\"type\":\"\xff\xfe\"}"));
  EXPECT_THAT(bad_utf8.ReadToEnd(), HasSubstr("\x03\xef")) << "1007";
  WebClient binary(Port());
  binary.SendBinary("LUM1");
  binary.WaitFor([](const WebMessage&) { return false; }, seconds(5));
  EXPECT_EQ(binary.CloseCode(), 1003u);
  WebClient chatty(Port());
  for (int i = 0; i < 100; ++i) chatty.SendText("nonsense");
  const auto answer = chatty.WaitFor([](const WebMessage& one) { return one.IsText("answer"); });
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->text["error"], "the message is no JSON object");
  chatty.WaitFor([](const WebMessage&) { return false; }, seconds(5));
  EXPECT_EQ(chatty.CloseCode(), 1008u);
  RawSocket unmasked = Upgraded();
  unmasked.Send(std::string("\x81\x02{}"));
  EXPECT_TRUE(unmasked.IsClosedWithin(seconds(10)));
  EXPECT_TRUE(GoodClientIsServed());
}

TEST_F(WebFaults, WrongOriginAndHost) {
  DescribeFault("web: wrong origin, wrong host", "pages of somewhere else, names that are not this gateway's",
                "403 with a sentence, for the page, for data and for the WebSocket");
  StartWeb();
  const auto refusal_of = [&](const char* host, const char* origin) {
    WebClient::Options options;
    options.host = host;
    options.origin = origin;
    try {
      WebClient client(Port(), options);
      return std::string("served");
    } catch (const std::runtime_error& refusal) {
      return std::string(refusal.what());
    }
  };
  EXPECT_THAT(refusal_of("", "http://evil.example"), HasSubstr("403 A page of \"http://evil.example\""));
  EXPECT_THAT(refusal_of("evil.example", "http://evil.example"), HasSubstr("403 The host \"evil.example\""));
  EXPECT_EQ(refusal_of("", fmt::format("http://127.0.0.1:{}", Port()).c_str()), "served");
  for (const char* target : {"/", "/metrics", "/healthz"})
    EXPECT_EQ(HttpAsk(RawSocket(Port()),
                      fmt::format("GET {} HTTP/1.1\r\nHost: evil.example\r\nConnection: close\r\n\r\n", target))
                  .status,
              403u);
}

TEST_F(WebFaults, ControlWithoutTheRight) {
  DescribeFault("web: control without right", "create, set, reset, delete at a gateway without --allow-control",
                "refused with a sentence; the engine has no object");
  StartWeb();
  WebClient client(Port());
  const json answer = client.Ask({{"type", "create"}, {"math", "Peak"}, {"inputs", json::array({"SIM/1/LEVEL"})}});
  EXPECT_THAT(answer.value("error", ""), HasSubstr("--allow-control"));
  EXPECT_EQ(Mathctl({"list", "--json"}), "");
}

TEST_F(WebFaults, TenThousandRequestsToCreate) {
  DescribeFault("web: 10,000 requests to create", "sent without waiting for an answer",
                "each is answered; at most 20 a second and 40 at once become objects; the engine keeps its rate");
  StartWeb({"--allow-control"});
  const ProcessWatch watch("math_web", Web().Pid());
  WebClient flood(Port()), good(Port());
  ASSERT_TRUE(good.Subscribe(1, "SIM/1/LEVEL", 100));
  const auto began = std::chrono::steady_clock::now();
  const int count = static_cast<int>(Tries(10'000, 10'000));
  int created = 0, refused = 0;
  for (int i = 0; i < count; ++i) {
    flood.Send({{"type", "create"}, {"request", i}, {"math", "Peak"}, {"inputs", json::array({"SIM/1/VOLTAGE"})}});
    if (i % 50 != 49 && i != count - 1) continue;
    for (int expected = i % 50 + 1; expected > 0; --expected) {
      const auto answer = flood.WaitFor([](const WebMessage& one) { return one.IsText("answer"); });
      ASSERT_TRUE(answer);
      ++(answer->text["ok"] == true ? created : refused);
    }
  }
  const double took_s = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
  EXPECT_EQ(created + refused, count);
  EXPECT_GT(created, 0);
  EXPECT_LE(created, 40 + 20 * took_s + 1);
  const std::string list = Mathctl({"list", "--json"});
  EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), created);
  EXPECT_TRUE(good.WaitFor([](const WebMessage& one) { return one.IsFrame(); }));
  ReportFigure(fmt::format("{} objects, {} refused in {:.1f} s", created, refused, took_s));
  ExpectBoundedAndServed(watch);
}

TEST_F(WebFaults, AnEngineThatHangs) {
  DescribeFault("web: engine that hangs", "SIGSTOP the math engine while clients ask it for things",
                "requests about it end within the limit of calls, streams of others go on");
  StartWeb({"--allow-control", "-w", "1"});
  WebClient client(Port());
  ASSERT_TRUE(client.Subscribe(1, "SIM/1/LEVEL", 100));
  Math().Signal(SIGSTOP);
  WebClient other(Port());
  other.Send({{"type", "create"}, {"request", 1}, {"math", "Peak"}, {"inputs", json::array({"SIM/1/VOLTAGE"})}});
  for (int i = 0; i < 10; ++i) {
    EXPECT_TRUE(client.WaitFor([](const WebMessage& one) { return one.IsFrame(); }, seconds(2))) << i;
    client.Ready(1);
  }
  const auto answer = other.WaitFor([](const WebMessage& one) { return one.IsText("answer"); });
  Math().Signal(SIGCONT);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->text["ok"], false);
}

}  // namespace
}  // namespace Lumenar::Test
