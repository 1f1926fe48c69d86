// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/support/MathctlFixture.h"
#include "tests/support/PseudoTerminal.h"

namespace Lumenar::Test {

/// The command line in a pipe and on a terminal, against a platform of real processes; readings are the test's own.
class FrameFixture : public MathctlFixture {
 protected:
  using MathctlFixture::MathctlFixture;

  /// A command in bash, whose $1 is mathctl.
  Outcome InShell(const std::string& line, Words words = {}) {
    words.insert(words.begin(), {"bash", "-c", line, "bash", BuiltProgram("mathctl").string()});
    Process process(words, platform_.Environment());
    const int exit_code = process.WaitForExit(kPatience);
    return {exit_code, process.Out(), process.Error()};
  }

  PseudoTerminal OnTerminal(const Words& words, std::map<std::string, std::string> environment = {}) {
    environment.insert(platform_.Environment().begin(), platform_.Environment().end());
    return PseudoTerminal(BuiltProgram("mathctl"), words, environment);
  }
};

}  // namespace Lumenar::Test
