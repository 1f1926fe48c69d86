// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "platform/base/Version.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class Engine_host : public testing::Test {
 protected:
  Process& Start(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), BuiltProgram("engine_host").string());
    process_ = std::make_unique<Process>(arguments);
    return *process_;
  }

  std::unique_ptr<Process> process_;
};

TEST_F(Engine_host, DrivesAnEngineThroughItsLife) {
  Process& host = Start({BuiltEngineLibrary("fake_engine").string()});
  EXPECT_EQ(host.WaitForExit(), 0);
  EXPECT_EQ(host.Out(), "create\njoin\ndestroy\n");
  EXPECT_EQ(host.Error(), "");
}

TEST_F(Engine_host, FindsAnEngineByNameBesideItself) {
  for (const char* name : {"fake_engine", "libfake_engine.so.1"}) EXPECT_EQ(Start({name}).WaitForExit(), 0) << name;
}

TEST_F(Engine_host, AnEngineThatDoesNotStartIsNeitherJoinedNorDestroyed) {
  Process& host = Start({"fake_engine", "--set", "FAKE_ENGINE=fails"});
  EXPECT_EQ(host.WaitForExit(), 1);
  EXPECT_EQ(host.Out(), "create\n");
}

TEST_F(Engine_host, TheLastOfSeveralSettingsOfOneVariableCounts) {
  Process& host = Start({"--set", "FAKE_ENGINE=fails", "--set", "FAKE_ENGINE=", "--set", "OTHER=a=b", "fake_engine"});
  EXPECT_EQ(host.WaitForExit(), 0);
}

struct Ending {
  int signal_number;
  const char* word;
};

TEST_F(Engine_host, ASignalEndsTheEngineInOrder) {
  for (const auto& [signal_number, word] : {Ending{SIGTERM, "Term"}, Ending{SIGINT, "Term"}, Ending{SIGQUIT, "Quit"}}) {
    Process& host = Start({"--set", "FAKE_ENGINE=waits", "fake_engine"});
    ASSERT_TRUE(host.WaitForLine("join"));
    host.Signal(signal_number);
    EXPECT_EQ(host.WaitForExit(), 0);
    EXPECT_EQ(host.Out(), std::string("create\njoin\n") + word + "\ndestroy\n");
  }
}

TEST_F(Engine_host, ASignalDuringTheStartEndsItWithoutRunning) {
  Process& host = Start({"--set", "FAKE_ENGINE=waits_early", "fake_engine"});
  ASSERT_TRUE(host.WaitForLine("create"));
  host.Signal(SIGTERM);
  EXPECT_EQ(host.WaitForExit(), 1);
  EXPECT_EQ(host.Out(), "create\nTerm\ndestroy\n");
}

TEST_F(Engine_host, WhatCannotBeUsedIsSaidInOneLine) {
  const std::string no_engine = BuiltEngineLibrary("no_engine").string();
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"/nonexistent/libx.so"}, "engine_host: cannot load /nonexistent/libx.so: /nonexistent/libx.so: cannot open"},
      {{"nosuch"}, "engine_host: cannot load nosuch: libnosuch.so.1: cannot open"},
      {{no_engine}, "engine_host: " + no_engine + " is no engine: it has no joinEngine\n"},
      {{}, "engine_host: LIBRARY is required\n"},
      {{"--set", "X", "fake_engine"}, "engine_host: --set X: expected NAME=VALUE\n"},
      {{"--set", "=1", "fake_engine"}, "engine_host: --set =1: expected NAME=VALUE\n"},
      {{"--wrong", "fake_engine"}, "engine_host: The following argument was not expected: --wrong\n"},
  };
  for (const auto& [arguments, message] : cases) {
    Process& host = Start(arguments);
    EXPECT_EQ(host.WaitForExit(), 2) << message;
    EXPECT_THAT(host.Error(), StartsWith(message));
    EXPECT_EQ(host.Error().find('\n'), host.Error().size() - 1) << "more than one line";
    EXPECT_EQ(host.Out(), "");
  }
}

TEST_F(Engine_host, HelpSaysTheExitStatuses) {
  Process& host = Start({"--help"});
  EXPECT_EQ(host.WaitForExit(), 0);
  for (const char* part : {"LIBRARY", "--set NAME=VALUE", "Exit status:", "  1  the engine did not start"})
    EXPECT_THAT(host.Out(), HasSubstr(part));
}

TEST_F(Engine_host, TellsItsVersionWithoutALibrary) {
  Process& host = Start({"--version"});
  EXPECT_EQ(host.WaitForExit(), 0);
  EXPECT_EQ(host.Out(), std::string("engine_host ") + Version() + "\n");
}

}  // namespace
}  // namespace Lumenar::Test
