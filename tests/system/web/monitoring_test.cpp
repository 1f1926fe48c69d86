// SPDX-License-Identifier: Apache-2.0
// The gateway as a monitoring server sees it, where Debian's one is installed: scripts/install-deps web.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>

#include "tests/support/WebFixture.h"

namespace Lumenar::Test {
namespace {

using testing::HasSubstr;

bool IsInstalled(const std::string& program) { return std::filesystem::exists("/usr/bin/" + program); }

/// A port that nobody has now.
unsigned short FreePortOfLoopback() {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  bind(probe, reinterpret_cast<sockaddr*>(&address), length);
  getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length);
  close(probe);
  return ntohs(address.sin_port);
}

class Monitoring : public WebFixture {
 protected:
  std::string Write(const std::string& name, const std::string& text) {
    const auto path = platform_.Directory() / name;
    std::ofstream(path) << text;
    return path.string();
  }
};

TEST_F(Monitoring, MetricsKeepTheRulesOfTheirForm) {
  if (!IsInstalled("promtool")) GTEST_SKIP() << "promtool is not installed: scripts/install-deps web";
  StartWeb();
  Mathctl({"create", "Average", "SIM/1/LEVEL"});
  HttpGet(Port(), "/metrics");
  const std::string metrics = Write("metrics", HttpGet(Port(), "/metrics").body);
  Process check({"/bin/sh", "-c", "promtool check metrics < \"$0\"", metrics});
  EXPECT_EQ(check.WaitForExit(), 0) << check.Error() << check.Out();
  Process rules({"promtool", "check", "rules", std::string(LUMENAR_EXAMPLES) + "/alerts.yml"});
  EXPECT_EQ(rules.WaitForExit(), 0) << rules.Error() << rules.Out();
}

TEST_F(Monitoring, AMonitoringServerScrapesIt) {
  if (!IsInstalled("prometheus")) GTEST_SKIP() << "prometheus is not installed: scripts/install-deps web";
  StartWeb();
  const std::string config = Write("prometheus.yml",
                                   "global: {scrape_interval: 1s, scrape_timeout: 1s}\nscrape_configs: [{job_name: "
                                   "lumenar, static_configs: [{targets: ['127.0.0.1:" +
                                       std::to_string(Port()) + "']}]}]\n");
  const unsigned short port = FreePortOfLoopback();
  Process server({"prometheus", "--config.file=" + config, "--web.listen-address=127.0.0.1:" + std::to_string(port),
                  "--storage.tsdb.path=" + (platform_.Directory() / "tsdb").string()});
  const auto answer_to = [&](const std::string& query) {
    try {
      return HttpGet(port, "/api/v1/query?query=" + query).body;
    } catch (const std::exception&) {  // it does not listen yet
      return std::string();
    }
  };
  EXPECT_TRUE(WaitUntil([&] { return answer_to("lumenar_well").find(",\"1\"]") != std::string::npos; },
                        std::chrono::seconds(40)))
      << answer_to("up") << server.Error();
  EXPECT_THAT(answer_to("lumenar_value"), HasSubstr("\"unit\":\"V\""));
}

}  // namespace
}  // namespace Lumenar::Test
