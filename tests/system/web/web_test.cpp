// SPDX-License-Identifier: Apache-2.0
// The gateway as pages and monitoring see it, over a platform of real processes.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <fstream>

#include "tests/support/NotifySocket.h"
#include "tests/support/WebFixture.h"

namespace Lumenar::Test {
namespace {

using nlohmann::json;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;

class WebGateway : public WebFixture {
 protected:
  static bool IsFrameOf(const WebMessage& message, std::uint32_t stream) {
    return message.IsFrame() && message.stream == stream;
  }

  static std::optional<WebMessage> FrameOf(WebClient& client, std::uint32_t stream) {
    return client.WaitFor([&](const WebMessage& message) { return IsFrameOf(message, stream); });
  }
};

TEST_F(WebGateway, WelcomesAndTellsTheState) {
  StartWeb();
  WebClient client(Port());
  const auto welcome = client.Next();
  ASSERT_TRUE(welcome && welcome->IsText("welcome"));
  EXPECT_EQ(welcome->text["control"], false);
  EXPECT_EQ(welcome->text["math_types"].size(), 5u);
  EXPECT_THAT(welcome->text["unit_names"].dump(), HasSubstr("\"Hz\""));
  const json state = StateWhere(
      client, [](const json& one) { return one["readings"].size() == 5 && one["readings"][0]["points"] == 10001; });
  ASSERT_FALSE(state.is_null());
  EXPECT_EQ(state["well"], true) << state["problems"];
  EXPECT_EQ(state["manager"]["alive"], true);
  const json& level = state["readings"][0];
  EXPECT_EQ(level["name"], "SIM/1/LEVEL");
  EXPECT_EQ(level["kind"], "trace");
  EXPECT_EQ(level["unit"], "dBm");
  EXPECT_EQ(level["x_unit"], "") << "the simulator has none";
  EXPECT_EQ(level["scale_to"], "linear");
}

TEST_F(WebGateway, ATraceComesInColumnsAndZoomIsAnsweredAtOnce) {
  StartWeb();
  WebClient client(Port());
  ASSERT_TRUE(client.Subscribe(1, "SIM/1/LEVEL", 1400));
  const auto whole = FrameOf(client, 1);
  ASSERT_TRUE(whole);
  EXPECT_EQ(whole->kind, 2u);
  EXPECT_EQ(whole->count, 1400u);
  EXPECT_EQ(whole->points, 10001u);
  EXPECT_EQ(whole->y_unit, "dBm");
  for (std::size_t i = 0; i + 1 < whole->numbers.size(); i += 2) ASSERT_LE(whole->numbers[i], whole->numbers[i + 1]);
  ASSERT_TRUE(client.Subscribe(1, "SIM/1/LEVEL", 1400, {{"from", 1e6}, {"to", 1.1e6}}));
  const auto zoomed = client.WaitFor([](const WebMessage& one) { return IsFrameOf(one, 1) && one.kind == 1; });
  ASSERT_TRUE(zoomed);
  EXPECT_EQ(zoomed->count, 101u) << "points 1000 to 1100";
  EXPECT_EQ(zoomed->x, 1e6);
  EXPECT_EQ(zoomed->x_step, 1000);
}

TEST_F(WebGateway, TheServerTurnsDecibelsToLinear) {
  StartWeb();
  WebClient client(Port());
  ASSERT_TRUE(client.Subscribe(1, "SIM/1/LEVEL", 100, {{"scale", "linear"}}));
  const auto frame = FrameOf(client, 1);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->y_unit, "mW");
  for (const float number : frame->numbers) ASSERT_TRUE(number > 0 && number < 0.01F) << number;
}

TEST_F(WebGateway, OneFrameIsUnderWayAndWhatIsPassedOverIsCounted) {
  StartWeb();
  WebClient client(Port());
  ASSERT_TRUE(client.Subscribe(1, "SIM/1/LEVEL", 100));
  ASSERT_TRUE(FrameOf(client, 1));
  EXPECT_FALSE(client.WaitFor([](const WebMessage& one) { return IsFrameOf(one, 1); }, seconds(1)))
      << "the first is not drawn yet";
  client.Ready(1);
  const auto next = FrameOf(client, 1);
  ASSERT_TRUE(next);
  EXPECT_GE(next->skipped, 10u) << "of about twenty in a second";
}

TEST_F(WebGateway, FramesKeepTheRateOfTheSource) {
  StartWeb();
  WebClient client(Port());
  ASSERT_TRUE(client.Subscribe(1, "SIM/1/LEVEL", 1400));
  ASSERT_TRUE(FrameOf(client, 1));
  const auto began = std::chrono::steady_clock::now();
  for (int i = 0; i < 40; ++i) {
    client.Ready(1);
    ASSERT_TRUE(FrameOf(client, 1));
  }
  EXPECT_LT(std::chrono::steady_clock::now() - began, seconds(6)) << "40 frames at 20 a second";
}

TEST_F(WebGateway, NumbersComeWithTheirBand) {
  StartWeb();
  WebClient client(Port());
  ASSERT_TRUE(client.Subscribe(2, "sim/1/voltage", 0)) << "in any case of letters";
  ASSERT_TRUE(client.Subscribe(3, "SIM/1/STOP", 0));
  const auto voltage = client.WaitFor([](const WebMessage& one) { return one.IsText("scalar"); });
  ASSERT_TRUE(voltage);
  EXPECT_EQ(voltage->text["stream"], 2);
  EXPECT_EQ(voltage->text["unit"], "V");
  EXPECT_NEAR(voltage->text["value"], 5, 0.6);
  EXPECT_LT(voltage->text["minus"], voltage->text["plus"]);
  client.Subscribe(3, "SIM/1/STOP", 0);
  const auto stop = client.WaitFor([](const WebMessage& one) { return one.IsText("long"); });
  ASSERT_TRUE(stop);
  EXPECT_EQ(stop->text["value"], 1000);
}

TEST_F(WebGateway, ObjectsAreCreatedSetResetAndDeleted) {
  StartWeb({"--allow-control"});
  WebClient client(Port());
  EXPECT_EQ(client.WaitFor([](const WebMessage& one) { return one.IsText("welcome"); })->text["control"], true);
  const json created =
      client.Ask({{"type", "create"}, {"math", "Average"}, {"inputs", json::array({"SIM/1/LEVEL"})}, {"size", 20}});
  ASSERT_EQ(created["ok"], true) << created;
  const std::string name = created["name"];
  ASSERT_TRUE(client.Subscribe(1, name, 500));
  EXPECT_TRUE(FrameOf(client, 1));
  const json live = StateWhere(client, [&](const json& state) { return ObjectOf(state, name)["state"] == "live"; });
  EXPECT_EQ(ObjectOf(live, name)["size"], 20);
  EXPECT_EQ(client.Ask({{"type", "set"}, {"name", name + "/SIZE"}, {"value", "30"}})["ok"], true);
  EXPECT_EQ(client.Ask({{"type", "get"}, {"name", name + "/SIZE"}})["value"], 30);
  EXPECT_EQ(client.Ask({{"type", "set"}, {"name", name + "/SIZE"}, {"value", "1000"}})["ok"], false);
  EXPECT_EQ(client.Ask({{"type", "reset"}, {"name", name}})["ok"], true);
  EXPECT_EQ(client.Ask({{"type", "delete"}, {"name", name}})["ok"], true);
  const auto ended = client.WaitFor([](const WebMessage& one) { return one.IsText("ended"); });
  ASSERT_TRUE(ended);
  EXPECT_EQ(ended->text["reason"], name + " is no more");
}

TEST_F(WebGateway, OnlyInputsThatFitAreOffered) {
  StartWeb({"--allow-control"});
  WebClient client(Port());
  StateWhere(client, [](const json& state) { return state["readings"].size() == 5; });
  const auto fits = [&](const char* math, json inputs) {
    return client.Ask({{"type", "fits"}, {"math", math}, {"inputs", std::move(inputs)}})["names"];
  };
  EXPECT_EQ(fits("Subtract", json::array({nullptr})), json::array({"SIM/1/LEVEL", "SIM/1/POWER", "SIM/1/VOLTAGE"}));
  EXPECT_EQ(fits("Subtract", json::array({"SIM/1/POWER", nullptr})), json::array({"SIM/1/LEVEL", "SIM/1/POWER"}));
  EXPECT_EQ(fits("Subtract", json::array({"SIM/1/VOLTAGE", nullptr})), json::array({"SIM/1/VOLTAGE"}));
  EXPECT_EQ(fits("CumulativeAdd", json::array({"SIM/1/POWER", nullptr})), json::array({"SIM/1/START", "SIM/1/STOP"}));
}

TEST_F(WebGateway, WithoutTheRightNothingIsChanged) {
  StartWeb();
  WebClient client(Port());
  for (const json& change :
       {json{{"type", "create"}, {"math", "Peak"}, {"inputs", json::array({"SIM/1/LEVEL"})}},
        json{{"type", "set"}, {"name", "SIM/1/STOP"}, {"value", "5"}}, json{{"type", "reset"}, {"name", "math:0"}},
        json{{"type", "delete"}, {"name", "math:0"}}}) {
    const json answer = client.Ask(change);
    EXPECT_EQ(answer["ok"], false);
    EXPECT_THAT(answer["error"].get<std::string>(), HasSubstr("--allow-control"));
  }
  EXPECT_EQ(client.Ask({{"type", "get"}, {"name", "SIM/1/STOP"}})["value"], 1000);
}

TEST_F(WebGateway, SetAndTraceAreSaved) {
  StartWeb();
  Mathctl({"create", "Peak", "SIM/1/LEVEL"});
  WebClient client(Port());
  const json saved = client.Ask({{"type", "save"}});
  EXPECT_EQ(saved["set"], json::parse(Mathctl({"save"})));
  const json csv = client.Ask({{"type", "csv"}, {"name", "SIM/1/POWER"}});
  ASSERT_EQ(csv["ok"], true) << csv;
  const std::string text = csv["csv"];
  EXPECT_THAT(text, testing::StartsWith("x,SIM/1/POWER [W]\n0,"));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 10002);
  EXPECT_EQ(csv["file"], "SIM_1_POWER.csv");
}

TEST_F(WebGateway, AnEngineThatGoesAndComesBackIsShownWithoutAReload) {
  StartWeb({}, "");
  Process& sim = platform_.StartEngine("sim", {{"SIM_READINGS", kSimReadings}});
  WebClient client(Port());
  const auto sim_state = [](const json& state) {
    for (const json& engine : state["engines"])
      if (engine["name"] == "SIM/1") return engine["state"].get<std::string>();
    return std::string();
  };
  ASSERT_FALSE(StateWhere(client, [&](const json& state) { return sim_state(state) == "live"; }).is_null());
  ASSERT_TRUE(client.Subscribe(1, "SIM/1/LEVEL", 100));
  ASSERT_TRUE(FrameOf(client, 1));
  auto began = std::chrono::steady_clock::now();
  sim.Signal(SIGKILL);
  EXPECT_FALSE(StateWhere(client, [&](const json& state) { return sim_state(state) != "live"; }).is_null());
  EXPECT_LT(std::chrono::steady_clock::now() - began, seconds(5));
  platform_.StartEngine("sim", {{"SIM_READINGS", kSimReadings}});
  began = std::chrono::steady_clock::now();
  client.Ready(1);
  EXPECT_TRUE(FrameOf(client, 1)) << "the same stream goes on";
  EXPECT_FALSE(StateWhere(client, [&](const json& state) { return sim_state(state) == "live"; }).is_null());
  EXPECT_LT(std::chrono::steady_clock::now() - began, seconds(5));
}

TEST_F(WebGateway, AnEngineThatHangsIsShownAndItsReturnToo) {
  StartWeb();
  WebClient client(Port());
  const auto math_state = [](const json& state) { return state["engines"][0]["state"].get<std::string>(); };
  ASSERT_FALSE(StateWhere(client, [&](const json& state) { return math_state(state) == "live"; }).is_null());
  for (int round = 0; round < 2; ++round) {
    auto began = std::chrono::steady_clock::now();
    Math().Signal(SIGSTOP);
    EXPECT_FALSE(StateWhere(client, [&](const json& state) { return math_state(state) == "away"; }).is_null());
    EXPECT_LT(std::chrono::steady_clock::now() - began, seconds(5));
    began = std::chrono::steady_clock::now();
    Math().Signal(SIGCONT);
    EXPECT_FALSE(StateWhere(client, [&](const json& state) { return math_state(state) == "live"; }).is_null());
    EXPECT_LT(std::chrono::steady_clock::now() - began, seconds(5));
  }
}

TEST_F(WebGateway, ServesThePageWithItsPolicy) {
  StartWeb();
  const HttpAnswer page = HttpGet(Port(), "/");
  EXPECT_EQ(page.status, 200u);
  EXPECT_THAT(page.head, HasSubstr("Content-Security-Policy: default-src 'self'"));
  EXPECT_THAT(page.head, HasSubstr("ETag: "));
  EXPECT_THAT(page.body, HasSubstr("<html"));
  EXPECT_EQ(HttpGet(Port(), "/nothing").status, 404u);
  EXPECT_EQ(HttpGet(Port(), "/live").status, 426u);
}

TEST_F(WebGateway, TellsMonitoringEverything) {
  StartWeb();
  Mathctl({"create", "Average", "SIM/1/VOLTAGE"});
  HttpAnswer metrics;
  EXPECT_TRUE(WaitUntil([&] {
    metrics = HttpGet(Port(), "/metrics");
    return metrics.body.find("lumenar_value{reading=\"math:0\",unit=\"V\"}") != std::string::npos;
  })) << metrics.body;
  for (const char* line : {"lumenar_well 1\n", "lumenar_engine_up{engine=\"SIM/1\"} 1\n",
                           "lumenar_value{reading=\"SIM/1/STOP\",unit=\"\"} 1000\n",
                           "lumenar_object_live{object=\"math:0\",type=\"Average\"}",
                           "lumenar_reading_samples_total{reading=\"SIM/1/VOLTAGE\"}", "lumenar_web_clients 0\n"})
    EXPECT_THAT(metrics.body, HasSubstr(line));
  EXPECT_EQ(HttpGet(Port(), "/healthz").body, "well\n");
}

TEST_F(WebGateway, SaysThatItIsNotWellWhenTheManagerIsAway) {
  StartWeb();
  platform_.KillTopicManager();
  EXPECT_TRUE(WaitUntil([&] { return HttpGet(Port(), "/healthz").status == 503; }));
  EXPECT_THAT(HttpGet(Port(), "/healthz").body, HasSubstr("topic manager"));
  platform_.StartTopicManager();
  EXPECT_TRUE(WaitUntil([&] { return HttpGet(Port(), "/healthz").status == 200; }));
}

TEST_F(WebGateway, ATokenIsAskedFor) {
  const std::string file = (platform_.Directory() / "token").string();
  std::ofstream(file) << "0123456789abcdef\n";
  std::filesystem::permissions(file, std::filesystem::perms::owner_read);
  StartWeb({"--token-file", file});
  EXPECT_EQ(HttpGet(Port(), "/").status, 200u) << "the page, which asks for the token";
  EXPECT_EQ(HttpGet(Port(), "/metrics").status, 401u);
  EXPECT_EQ(HttpGet(Port(), "/metrics", "Authorization: Bearer 0123456789abcdef\r\n").status, 200u);
  EXPECT_THROW(WebClient client(Port()), std::runtime_error);
  WebClient::Options options;
  options.token = "0123456789abcdef";
  WebClient client(Port(), options);
  EXPECT_TRUE(client.WaitFor([](const WebMessage& one) { return one.IsText("welcome"); }));
}

TEST_F(WebGateway, ServesAProxyAtAUnixSocket) {
  const std::string path = (platform_.Directory() / "web.sock").string();
  const auto web = platform_.Start("math_web", {"--unix", path});
  ASSERT_TRUE(web->WaitForLine("math_web ready at unix:" + path)) << web->Error();
  const HttpAnswer health =
      HttpAsk(RawSocket(path), "GET /healthz HTTP/1.1\r\nHost: bench.example\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(health.status, 200u) << health.body;
  web->Signal(SIGTERM);
  EXPECT_EQ(web->WaitForExit(), 0) << web->Error();
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(WebGateway, ASignalEndsItAndClientsAreTold) {
  StartWeb();
  WebClient client(Port());
  ASSERT_TRUE(client.Subscribe(1, "SIM/1/LEVEL", 100));
  Web().Signal(SIGTERM);
  client.WaitFor([](const WebMessage&) { return false; }, seconds(5));
  EXPECT_EQ(client.CloseCode(), 1001u);
  EXPECT_EQ(Web().WaitForExit(), 0);
  EXPECT_EQ(Web().Error(), "");
}

TEST_F(WebGateway, TellsAServiceManagerThatItIsReadyAndWorks) {
  NotifySocket manager;
  const auto web = platform_.Start("math_web", {"--listen", "127.0.0.1:0"},
                                   {{"NOTIFY_SOCKET", manager.Path()}, {"WATCHDOG_USEC", "1000000"}});
  EXPECT_TRUE(manager.WaitFor("READY=1")) << web->Error();
  EXPECT_TRUE(manager.WaitFor("WATCHDOG=1", 2));
  web->Signal(SIGTERM);
  EXPECT_EQ(web->WaitForExit(), 0);
  EXPECT_EQ(manager.Count("STOPPING=1"), 1);
}

TEST_F(WebGateway, WhatItCannotUseIsOneLine) {
  const std::string open = (platform_.Directory() / "open").string();
  std::ofstream(open) << "0123456789abcdef\n";
  std::filesystem::permissions(open, std::filesystem::perms::owner_read | std::filesystem::perms::others_read);
  StartWeb();
  const std::pair<std::vector<std::string>, std::string> rows[] = {
      {{"--listen", "0.0.0.0:0"}, "--token-file is needed"},
      {{"--listen", "nonsense"}, "--listen: 'nonsense' is no address"},
      {{"--listen", "127.0.0.1:" + std::to_string(Port())}, "Address already in use"},
      {{"--listen", "127.0.0.1:0", "--token-file", open}, "others may read it"},
      {{"--listen", "127.0.0.1:0", "--token-file", "/nonexistent"}, "/nonexistent"},
      {{"--unix", "/nonexistent/web.sock"}, "cannot listen at /nonexistent/web.sock"},
      {{"--clients", "0"}, "--clients"},
      {{"--page", "/nonexistent"}, "--page"},
      {{"word"}, "word"},
  };
  for (const auto& [arguments, reason] : rows) {
    const auto web = platform_.Start("math_web", arguments);
    EXPECT_NE(web->WaitForExit(), 0);
    EXPECT_THAT(web->Error(), testing::MatchesRegex("[^\n]+\n")) << "one line";
    EXPECT_THAT(web->Error(), HasSubstr(reason));
  }
}

}  // namespace
}  // namespace Lumenar::Test
