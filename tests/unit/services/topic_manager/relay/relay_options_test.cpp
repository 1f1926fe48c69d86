// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/relay/relay_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace Corvanta {
namespace {

std::optional<CycloneRelay::Options> Read(const std::string& text) {
  const auto path = std::filesystem::temp_directory_path() / ("relay-" + std::to_string(::getpid()) + ".conf");
  std::ofstream(path) << text;
  const SettingsFile settings = SettingsFile::Read(path);
  std::filesystem::remove(path);
  return RelayOptions(settings);
}

TEST(RelayOptions, ThereIsNoRelayUnlessItIsEnabled) {
  EXPECT_FALSE(RelayOptions({}));
  EXPECT_FALSE(Read("dds.domain = 3\ndds.topic = A\n"));
  EXPECT_FALSE(Read("dds.enabled = false\n"));
}

TEST(RelayOptions, EveryKeyIsRead) {
  const auto options = Read(
      "dds.enabled = true\ndds.domain = 232\ndds.interface = 127.0.0.1\ndds.topic = PROBE/1/WAKEUP\ndds.topic = B");
  ASSERT_TRUE(options);
  EXPECT_EQ(options->domain, 232u);
  EXPECT_EQ(options->interface_address, "127.0.0.1");
  EXPECT_THAT(options->topics, testing::UnorderedElementsAre("PROBE/1/WAKEUP", "B"));
}

TEST(RelayOptions, TheInterfaceMustBeThereWhenTopicsAreRelayed) {
  EXPECT_FALSE(Read("dds.interface = 203.0.113.1\n")) << "not looked for while nothing is relayed";
  try {
    Read("dds.interface = 203.0.113.1\ndds.enabled = true\n");
    FAIL();
  } catch (const TransportConfigError& error) {
    EXPECT_THAT(error.what(),
                testing::EndsWith(":1: dds.interface: no interface of this machine has the address 203.0.113.1"));
  }
}

TEST(RelayOptions, StayOnThisMachineWhenNothingElseIsSaid) {
  const auto options = Read("dds.enabled = true\n");
  ASSERT_TRUE(options);
  EXPECT_EQ(options->domain, 0u);
  EXPECT_EQ(options->interface_address, "127.0.0.1");
}

}  // namespace
}  // namespace Corvanta
