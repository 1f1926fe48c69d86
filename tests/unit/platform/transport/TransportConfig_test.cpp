// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/TransportConfig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/platform/transport/ConfigFile.h"

namespace Corvanta {
namespace {

using Test::ConfigFile;
using testing::Contains;
using testing::ElementsAre;
using testing::Pair;

TransportConfig ConfigOf(const std::string& text) {
  return TransportConfig(SettingsFile::Read(ConfigFile(text).Path()));
}

TEST(TransportConfig, AnEmptyFileMeansTheDefaults) {
  const TransportConfig config = ConfigOf("# nothing\n\n   \n");
  EXPECT_THAT(config.endpoints, ElementsAre("giop:tcp:127.0.0.1:"));
  EXPECT_THAT(config.allowed_peers, ElementsAre("localhost"));
  EXPECT_EQ(config.call_timeout, std::chrono::seconds(5));
}

TEST(TransportConfig, EveryKeyIsRead) {
  const TransportConfig config = ConfigOf(
      "orb.endpoint = giop:tcp:10.0.0.1:3000\n"
      "orb.endpoint = giop:unix:/run/x\n"
      "orb.allowed_peer=10.0.0.0/255.0.0.0\n"
      "orb.allowed_peer = localhost\n"
      "orb.client_transport = tcp\n"
      "orb.client_transport = unix\n"
      "orb.call_timeout_ms = 250\n"
      "orb.max_message_bytes = 8192\n"
      "orb.max_assembly_bytes = 65537\n"
      "orb.send_timeout_ms = 300\n"
      "orb.max_unsent_bytes = 10000\n"
      "orb.max_connections_to_peer = 3\n"
      "orb.max_server_threads = 20\n"
      "orb.naming_wait_s = 9\n"
      "orb.out_scan_period_s = 7\n"
      "orb.in_scan_period_s = 8\n");
  EXPECT_THAT(config.endpoints, ElementsAre("giop:tcp:10.0.0.1:3000", "giop:unix:/run/x"));
  EXPECT_THAT(config.allowed_peers, ElementsAre("10.0.0.0/255.0.0.0", "localhost"));
  EXPECT_THAT(config.client_transports, ElementsAre("tcp", "unix"));
  EXPECT_EQ(config.call_timeout, std::chrono::milliseconds(250));
  EXPECT_EQ(config.max_message_bytes, 8192u);
  EXPECT_EQ(config.max_assembly_bytes, 65537u);
  EXPECT_EQ(config.send_timeout, std::chrono::milliseconds(300));
  EXPECT_EQ(config.max_unsent_bytes, 10000u);
  EXPECT_EQ(config.max_connections_to_peer, 3u);
  EXPECT_EQ(config.max_server_threads, 20u);
  EXPECT_EQ(config.naming_wait.count(), 9);
  EXPECT_EQ(config.out_scan_period_s, 7u);
  EXPECT_EQ(config.in_scan_period_s, 8u);
}

TEST(TransportConfig, TheClientGivesUpAnIdleConnectionFirst) {
  const std::string bad[] = {"orb.in_scan_period_s = 60\norb.out_scan_period_s = 60\n# end",
                             "\norb.in_scan_period_s = 120", "\norb.out_scan_period_s = 180"};
  for (const std::string& text : bad) {
    const ConfigFile file(text);
    try {
      TransportConfig config(SettingsFile::Read(file.Path()));
      ADD_FAILURE() << "accepted " << text;
    } catch (const TransportConfigError& error) {
      EXPECT_EQ(error.what(), file.Path() + ":2: orb.out_scan_period_s must be below orb.in_scan_period_s");
    }
  }
}

TEST(TransportConfig, BecomesOptionsOfTheOrb) {
  TransportConfig config;
  config.allowed_peers = {"localhost", "10.0.0.5"};
  config.max_server_threads = 8;
  const auto options = config.OrbOptions();
  EXPECT_THAT(options, Contains(Pair("endPoint", "giop:tcp:127.0.0.1:")));
  EXPECT_THAT(options, Contains(Pair("serverTransportRule", "localhost unix,tcp,ssl")));
  EXPECT_THAT(options, Contains(Pair("serverTransportRule", "10.0.0.5 unix,tcp,ssl")));
  EXPECT_THAT(options, Contains(Pair("clientTransportRule", "* unix,tcp,ssl")));
  EXPECT_THAT(options, Contains(Pair("unixTransportPermission", "0700")));
  EXPECT_THAT(options, Contains(Pair("clientCallTimeOutPeriod", "5000")));
  EXPECT_THAT(options, Contains(Pair("giopMaxMsgSize", "83886080")));
  EXPECT_THAT(options, Contains(Pair("threadPerConnectionUpperLimit", "132")));
  EXPECT_THAT(options, Contains(Pair("threadPerConnectionLowerLimit", "131")));
  EXPECT_THAT(options, Contains(Pair("maxServerThreadPoolSize", "8")));
  EXPECT_THAT(options, Contains(Pair("connectionWatchPeriod", "1000000")));
  EXPECT_THAT(options, Contains(Pair("maxServerThreadPerConnection", "4")));
}

}  // namespace
}  // namespace Corvanta
