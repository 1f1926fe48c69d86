// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/SettingsFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "tests/unit/platform/transport/ConfigFile.h"

namespace Corvanta {
namespace {

using Test::ConfigFile;
using testing::ElementsAre;
using testing::IsEmpty;

SettingsFile Read(const std::string& text) { return SettingsFile::Read(ConfigFile(text).Path()); }

TEST(SettingsFile, AFileThatSaysNothingLeavesAllToWhoAsks) {
  for (const SettingsFile& settings : {SettingsFile(), Read("# nothing\n\n   \n")}) {
    EXPECT_EQ(settings.Number("orb.call_timeout_ms", 7), 7u);
    EXPECT_TRUE(settings.Truth("dds.enabled", true));
    EXPECT_EQ(settings.Text("dds.interface", "10.0.0.7"), "10.0.0.7");
    EXPECT_THAT(settings.List("orb.endpoint", {"a"}), ElementsAre("a"));
    EXPECT_THAT(settings.Values("dds.topic"), IsEmpty());
  }
}

TEST(SettingsFile, LinesOfOneKeyMakeAListOfWhichTheLastIsTheValue) {
  const SettingsFile settings = Read(
      "dds.topic = PROBE/1/WAKEUP  # first\n"
      "\tmath.max_objects = 1\n"
      "math.max_objects=20\r\n"
      "dds.enabled = false\n"
      "dds.enabled = true\n"
      "dds.interface = 10.0.0.5\n"
      "dds.topic = B");
  EXPECT_THAT(settings.Values("dds.topic"), ElementsAre("PROBE/1/WAKEUP", "B"));
  EXPECT_THAT(settings.List("dds.topic", {"none"}), ElementsAre("PROBE/1/WAKEUP", "B"));
  EXPECT_EQ(settings.Number("math.max_objects", 7), 20u);
  EXPECT_TRUE(settings.Truth("dds.enabled", false));
  EXPECT_EQ(settings.Text("dds.interface", ""), "10.0.0.5");
}

TEST(SettingsFile, WhatContradictsAnotherIsRefusedAtTheLastOfTheirLines) {
  const ConfigFile file("math.max_objects = 1\ndds.domain = 1\nmath.max_objects = 2\n# end");
  try {
    SettingsFile::Read(file.Path()).Refuse({"math.max_objects", "dds.domain", "dds.topic"}, "no");
  } catch (const TransportConfigError& error) {
    EXPECT_EQ(error.what(), file.Path() + ":3: no");
  }
}

TEST(SettingsFile, AKeyThatNobodyCanWriteIsAFaultOfWhoAsks) {
  EXPECT_THROW(SettingsFile().Number("math.objects", 1), std::logic_error);
}

struct Bad {
  const char* name;
  const char* text;
  const char* message;  // behind the file's name
};

class SettingsFile_bad : public testing::TestWithParam<Bad> {};

TEST_P(SettingsFile_bad, IsRefusedWithFileLineAndReason) {
  const ConfigFile file(GetParam().text);
  try {
    SettingsFile::Read(file.Path());
    FAIL() << "accepted";
  } catch (const TransportConfigError& error) {
    EXPECT_EQ(error.what(), file.Path() + GetParam().message);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Lines, SettingsFile_bad,
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
        Bad{"truth", "dds.enabled = yes", ":1: dds.enabled: 'yes' is neither true nor false"}),
    [](const auto& test) { return test.param.name; });

/// Every key that is not a list of free texts: values at the edges of its range, and beyond them.
struct Range {
  const char* key;
  std::vector<std::string> good;
  std::vector<std::string> bad;
};

void PrintTo(const Range& range, std::ostream* stream) { *stream << range.key; }

class SettingsFile_range : public testing::TestWithParam<Range> {};

TEST_P(SettingsFile_range, TakesItsEdgesAndRefusesWhatLiesBeyond) {
  const std::string key = GetParam().key;
  for (const std::string& value : GetParam().good) EXPECT_NO_THROW(Read(key + " = " + value + "\n")) << value;
  std::vector<std::string> bad = GetParam().bad;
  for (const char* nonsense : {"", "#", "nonsense!", "1 2", "\x01"}) bad.emplace_back(nonsense);
  for (const std::string& value : bad) {
    const ConfigFile file("# first line\n" + key + " = " + value + "\n");
    try {
      SettingsFile::Read(file.Path());
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
    Keys, SettingsFile_range,
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
        Range{"orb.send_timeout_ms", {"1", "3600000"}, And({"0", "3600001"})},
        Range{"orb.max_unsent_bytes", {"8192", "9223372036854775807"}, And({"8191", "9223372036854775808"})},
        Range{"orb.max_connections_to_peer", {"1", "10000"}, And({"0", "10001"})},
        Range{"orb.max_server_threads", {"2", "10000"}, And({"0", "1", "10001"})},
        Range{"orb.naming_wait_s", {"0", "86400"}, And({"-1", "86401"})},
        Range{"orb.out_scan_period_s", {"1", "86400"}, And({"0", "86401"})},
        Range{"orb.in_scan_period_s", {"1", "86400"}, And({"0", "86401"})},
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

TEST(SettingsFile, WhatIsNoRegularFileIsRefusedAtOnce) {
  const auto pipe = std::filesystem::temp_directory_path() / ("transport-pipe-" + std::to_string(getpid()));
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  for (const auto& path : {pipe, std::filesystem::temp_directory_path(), std::filesystem::path("/dev/zero")}) {
    try {
      SettingsFile::Read(path);
      ADD_FAILURE() << "accepted " << path;
    } catch (const TransportConfigError& error) {
      EXPECT_EQ(error.what(), path.string() + ": is not a regular file");
    }
  }
  std::filesystem::remove(pipe);
}

TEST(SettingsFile, ALineWithoutEndIsRefused) {
  const ConfigFile file("# " + std::string(10000000, 'x'));
  EXPECT_THROW(SettingsFile::Read(file.Path()), TransportConfigError);
}

TEST(SettingsFile, AFileThatCannotBeReadIsNamed) {
  try {
    SettingsFile::Read("/nonexistent/tcp.conf");
    FAIL() << "accepted";
  } catch (const TransportConfigError& error) {
    EXPECT_STREQ(error.what(), "/nonexistent/tcp.conf: cannot be read: No such file or directory");
  }
}

}  // namespace
}  // namespace Corvanta
