// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/TransportConfig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace Corvanta {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Pair;

/// A configuration file for the length of a test.
class ConfigFile {
 public:
  explicit ConfigFile(const std::string& text)
      : path_(std::filesystem::temp_directory_path() / ("transport-" + std::to_string(getpid()) + ".conf")) {
    std::ofstream(path_) << text;
  }
  ~ConfigFile() { std::filesystem::remove(path_); }
  std::string Path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

TransportConfig Read(const std::string& text) { return TransportConfig::Read(ConfigFile(text).Path()); }

TEST(TransportConfig, AnEmptyFileMeansTheDefaults) {
  const TransportConfig config = Read("# nothing\n\n   \n");
  EXPECT_THAT(config.endpoints, ElementsAre("giop:tcp:127.0.0.1:"));
  EXPECT_THAT(config.allowed_peers, ElementsAre("localhost"));
  EXPECT_EQ(config.call_timeout, std::chrono::seconds(5));
  EXPECT_FALSE(config.dds_enabled);
}

TEST(TransportConfig, EveryKeyIsRead) {
  const TransportConfig config = Read(
      "orb.endpoint = giop:tcp:10.0.0.1:3000  # first\n"
      "orb.endpoint = giop:unix:/run/x\n"
      "orb.allowed_peer=10.0.0.0/255.0.0.0\n"
      "orb.allowed_peer = localhost\r\n"
      "orb.client_transport = tcp\n"
      "orb.client_transport = unix\n"
      "orb.call_timeout_ms = 250\n"
      "\torb.max_message_bytes = 8192\n"
      "orb.send_timeout_ms = 300\n"
      "orb.max_unsent_bytes = 10000\n"
      "orb.max_connections_to_peer = 3\n"
      "orb.max_server_threads = 20\n"
      "orb.out_scan_period_s = 7\n"
      "orb.in_scan_period_s = 8\n"
      "dds.enabled = true\n"
      "dds.domain = 232\n"
      "dds.interface = 127.0.0.1\n"
      "dds.topic = PROBE/1/WAKEUP\n"
      "dds.topic = B");
  EXPECT_THAT(config.endpoints, ElementsAre("giop:tcp:10.0.0.1:3000", "giop:unix:/run/x"));
  EXPECT_THAT(config.allowed_peers, ElementsAre("10.0.0.0/255.0.0.0", "localhost"));
  EXPECT_THAT(config.client_transports, ElementsAre("tcp", "unix"));
  EXPECT_EQ(config.call_timeout, std::chrono::milliseconds(250));
  EXPECT_EQ(config.max_message_bytes, 8192u);
  EXPECT_EQ(config.send_timeout, std::chrono::milliseconds(300));
  EXPECT_EQ(config.max_unsent_bytes, 10000u);
  EXPECT_EQ(config.max_connections_to_peer, 3u);
  EXPECT_EQ(config.max_server_threads, 20u);
  EXPECT_EQ(config.out_scan_period_s, 7u);
  EXPECT_EQ(config.in_scan_period_s, 8u);
  EXPECT_TRUE(config.dds_enabled);
  EXPECT_EQ(config.dds_domain, 232u);
  EXPECT_EQ(config.dds_interface, "127.0.0.1");
  EXPECT_EQ(Read("dds.interface = 10.0.0.5\n").dds_interface, "10.0.0.5") << "not looked for while nothing is relayed";
  EXPECT_THAT(config.dds_topics, ElementsAre("PROBE/1/WAKEUP", "B"));
}

struct Bad {
  const char* name;
  const char* text;
  const char* message;  // behind the file's name
};

class TransportConfig_bad : public testing::TestWithParam<Bad> {};

TEST_P(TransportConfig_bad, IsRefusedWithFileLineAndReason) {
  const ConfigFile file(GetParam().text);
  try {
    TransportConfig::Read(file.Path());
    FAIL() << "accepted";
  } catch (const TransportConfigError& error) {
    EXPECT_EQ(error.what(), file.Path() + GetParam().message);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Lines, TransportConfig_bad,
    testing::Values(
        Bad{"no_equals", "# c\norb.endpoint", ":2: 'orb.endpoint' is not 'key = value'"},
        Bad{"no_value", "orb.endpoint =  # none", ":1: orb.endpoint: no value"},
        Bad{"unknown_key", "\norb.endpoints = giop:tcp::", ":2: unknown key 'orb.endpoints'"},
        Bad{"no_prefix", "domain = 1", ":1: unknown key 'domain'"},
        Bad{"endpoint", "orb.endpoint = tcp:1",
            ":1: orb.endpoint: 'tcp:1' is no endpoint: it must begin with giop:tcp: or giop:unix:"},
        Bad{"peer", "orb.allowed_peer = a b",
            ":1: orb.allowed_peer: 'a b' is not one address (as 10.0.0.5, 10.0.0.0/24, fd00::/8, a host's name or *)"},
        Bad{"control", "orb.call_timeout_ms = 5\x1b[2J", ":1: byte 24 is a control character"},
        Bad{"transport", "orb.client_transport = udp",
            ":1: orb.client_transport: 'udp' is neither unix nor tcp nor ssl"},
        Bad{"text", "dds.domain = one", ":1: dds.domain: 'one' is not a whole number from 0 to 232"},
        Bad{"rest", "dds.domain = 1x", ":1: dds.domain: '1x' is not a whole number from 0 to 232"},
        Bad{"negative", "dds.domain = -1", ":1: dds.domain: '-1' is not a whole number from 0 to 232"},
        Bad{"above", "dds.domain = 233", ":1: dds.domain: '233' is not a whole number from 0 to 232"},
        Bad{"huge", "orb.call_timeout_ms = 99999999999999999999",
            ":1: orb.call_timeout_ms: '99999999999999999999' is not a whole number from 1 to 3600000"},
        Bad{"below", "orb.max_message_bytes = 8191",
            ":1: orb.max_message_bytes: '8191' is not a whole number from 8192 to 2147483647"},
        Bad{"interface", "\ndds.interface = eth0", ":2: dds.interface: 'eth0' is no IPv4 address (as 10.0.0.5)"},
        Bad{"no_such_interface", "dds.interface = 203.0.113.1\ndds.enabled = true",
            ":1: dds.interface: no interface of this machine has the address 203.0.113.1"},
        Bad{"truth", "dds.enabled = yes", ":1: dds.enabled: 'yes' is neither true nor false"},
        Bad{"scan", "orb.in_scan_period_s = 60\norb.out_scan_period_s = 60\n# end",
            ":2: orb.out_scan_period_s must be below orb.in_scan_period_s"}),
    [](const auto& test) { return test.param.name; });

/// Every key that is not a list of free texts: values at the edges of its range, and beyond them.
struct Range {
  const char* key;
  std::vector<std::string> good;
  std::vector<std::string> bad;
};

void PrintTo(const Range& range, std::ostream* stream) { *stream << range.key; }

class TransportConfig_range : public testing::TestWithParam<Range> {};

TEST_P(TransportConfig_range, TakesItsEdgesAndRefusesWhatLiesBeyond) {
  const std::string key = GetParam().key;
  for (const std::string& value : GetParam().good) EXPECT_NO_THROW(Read(key + " = " + value + "\n")) << value;
  std::vector<std::string> bad = GetParam().bad;
  for (const char* nonsense : {"", "#", "nonsense!", "1 2", "\x01"}) bad.emplace_back(nonsense);
  for (const std::string& value : bad) {
    const ConfigFile file("# first line\n" + key + " = " + value + "\n");
    try {
      TransportConfig::Read(file.Path());
      ADD_FAILURE() << key << " took \"" << value << '"';
    } catch (const TransportConfigError& error) {
      EXPECT_EQ(std::string(error.what()).rfind(file.Path() + ":2: ", 0), 0u) << error.what();
    }
  }
}

const std::vector<std::string> kNoNumbers = {
    "-1", "+1", "1.5", "1e3", "0x10", "1k", "18446744073709551616", "99999999999999999999999"};

std::vector<std::string> And(std::vector<std::string> more) {
  more.insert(more.end(), kNoNumbers.begin(), kNoNumbers.end());
  return more;
}

INSTANTIATE_TEST_SUITE_P(
    Keys, TransportConfig_range,
    testing::Values(
        Range{"orb.endpoint",
              {"giop:tcp::", "giop:tcp:127.0.0.1:1", "giop:tcp:127.0.0.1:65535", "giop:tcp:[::1]:", "giop:unix:/x"},
              {"giop:tcp:127.0.0.1:0", "giop:tcp:127.0.0.1:65536", "giop:tcp:127.0.0.1:99999", "giop:tcp:127.0.0.1:abc",
               "giop:tcp:1.2.3.4.5:", "giop:ssl:127.0.0.1:", "giop:unix:x", "127.0.0.1:1"}},
        Range{"orb.allowed_peer",
              {"*", "localhost", "10.0.0.5", "10.0.0.0/0", "10.0.0.0/32", "::1", "::/0", "::1/128", "box"},
              {"10.0.0.5/33", "::1/129", "10.0.0.256", "10.0.0.0/-1"}},
        Range{"orb.client_transport", {"unix", "tcp", "ssl"}, {"udp", "TCP", "tcp,unix"}},
        Range{"orb.call_timeout_ms", {"1", "3600000"}, And({"0", "3600001"})},
        Range{"orb.max_message_bytes", {"8192", "2147483647"}, And({"0", "8191", "2147483648"})},
        Range{"orb.max_assembly_bytes", {"65536", "1099511627776"}, And({"0", "65535", "1099511627777"})},
        Range{"orb.max_connections_to_peer", {"1", "10000"}, And({"0", "10001"})},
        Range{"orb.max_server_threads", {"2", "10000"}, And({"0", "1", "10001"})},
        Range{"orb.out_scan_period_s", {"1", "179"}, And({"0", "180", "86401"})},
        Range{"orb.in_scan_period_s", {"121", "86400"}, And({"0", "120", "86401"})},
        Range{"math.max_objects", {"1", "10000000"}, And({"0", "10000001"})},
        Range{"math.max_history_bytes", {"4096", "281474976710656"}, And({"4095", "281474976710657"})},
        Range{"dds.enabled", {"true", "false"}, {"yes", "1", "TRUE"}},
        Range{"dds.interface", {"127.0.0.1", "10.0.0.5"}, {"lo", "300.1.1.1", "127.1", "::1", "10.0.0.0/8", "a:1"}},
        Range{"dds.domain", {"0", "232"}, And({"233"})}),
    [](const auto& test) {
      std::string name = test.param.key;
      std::replace(name.begin(), name.end(), '.', '_');
      return name;
    });

TEST(TransportConfig, WhatIsNoRegularFileIsRefusedAtOnce) {
  const auto pipe = std::filesystem::temp_directory_path() / ("transport-pipe-" + std::to_string(getpid()));
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  for (const auto& path : {pipe, std::filesystem::temp_directory_path(), std::filesystem::path("/dev/zero")}) {
    try {
      TransportConfig::Read(path);
      ADD_FAILURE() << "accepted " << path;
    } catch (const TransportConfigError& error) {
      EXPECT_EQ(error.what(), path.string() + ": is not a regular file");
    }
  }
  std::filesystem::remove(pipe);
}

TEST(TransportConfig, ALineWithoutEndIsRefused) {
  const ConfigFile file("# " + std::string(10000000, 'x'));
  EXPECT_THROW(TransportConfig::Read(file.Path()), TransportConfigError);
}

TEST(TransportConfig, AFileThatCannotBeReadIsNamed) {
  try {
    TransportConfig::Read("/nonexistent/tcp.conf");
    FAIL() << "accepted";
  } catch (const TransportConfigError& error) {
    EXPECT_STREQ(error.what(), "/nonexistent/tcp.conf: cannot be read: No such file or directory");
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
