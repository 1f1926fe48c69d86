// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/ProgramOptions.h"

#include <gmock/gmock.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace Lumenar::Web {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

/// A file with a token that goes with the test.
class TokenFile {
 public:
  explicit TokenFile(const std::string& contents) {
    path_ = (std::filesystem::temp_directory_path() / "lumenar-token-XXXXXX").string();
    close(mkstemp(path_.data()));  // readable to its owner alone
    std::ofstream(path_) << contents;
  }
  ~TokenFile() { std::filesystem::remove(path_); }
  TokenFile(const TokenFile&) = delete;
  TokenFile& operator=(const TokenFile&) = delete;

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

TEST(WebOptions, LoopbackAndReadOnlyAreTheDefault) {
  const ProgramOptions options;
  const ServerSettings server = ServerSettingsFrom(options);
  EXPECT_EQ(server.address, "127.0.0.1");
  EXPECT_EQ(server.port, 8080);
  const GatewaySettings gateway = GatewaySettingsFrom(options, 8080);
  EXPECT_FALSE(gateway.allow_control);
  EXPECT_THAT(gateway.access.hosts, Contains("localhost:8080"));
  EXPECT_EQ(gateway.access.token, "");
}

TEST(WebOptions, BeyondLoopbackATokenIsNeeded) {
  ProgramOptions options;
  for (const char* listen : {"0.0.0.0:80", "[::]:80", "192.0.2.1:80", "bench.example:80"}) {
    options.listen = listen;
    EXPECT_THROW(ServerSettingsFrom(options), std::runtime_error) << listen;
  }
  for (const char* listen : {"127.1.2.3:80", "[::1]:80", "localhost:80"}) {
    options.listen = listen;
    EXPECT_NO_THROW(ServerSettingsFrom(options)) << listen;
  }
  const TokenFile token("0123456789abcdef\nsecond line\n");
  options.token_file = token.Path();
  options.listen = "[::]:80";
  EXPECT_EQ(ServerSettingsFrom(options).address, "::");
  EXPECT_EQ(GatewaySettingsFrom(options, 80).access.token, "0123456789abcdef");
}

TEST(WebOptions, HostsAreThoseOfTheAddressAndThoseThatAreTold) {
  const TokenFile token("0123456789abcdef\n");
  ProgramOptions options;
  options.token_file = token.Path();
  options.listen = "0.0.0.0:8080";
  EXPECT_THAT(GatewaySettingsFrom(options, 8080).access.hosts, IsEmpty()) << "any";
  options.hosts = {"bench.example"};
  EXPECT_THAT(GatewaySettingsFrom(options, 8080).access.hosts,
              testing::ElementsAre("bench.example", "bench.example:8080"));
  options.listen = "192.0.2.1:8080";
  const auto hosts = GatewaySettingsFrom(options, 8080).access.hosts;
  EXPECT_THAT(hosts, Contains("192.0.2.1:8080"));
  EXPECT_THAT(hosts, Contains("bench.example"));
  EXPECT_THAT(hosts, Not(Contains("localhost:8080")));
}

TEST(WebOptions, ATokenIsLongPlainAndPrivate) {
  ProgramOptions options;
  for (const char* bad : {"", "short\n", "with a blank in it\n", "with,a,comma,in,it\n"}) {
    const TokenFile token(bad);
    options.token_file = token.Path();
    EXPECT_THROW(GatewaySettingsFrom(options, 1), std::runtime_error) << bad;
  }
  const TokenFile token("0123456789abcdef\n");
  std::filesystem::permissions(token.Path(), std::filesystem::perms::others_read, std::filesystem::perm_options::add);
  options.token_file = token.Path();
  EXPECT_THROW(GatewaySettingsFrom(options, 1), std::runtime_error) << "others may read it";
}

}  // namespace
}  // namespace Lumenar::Web
