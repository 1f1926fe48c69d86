// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <sstream>
#include <string>

#include "platform/base/Diagnostic.h"
#include "platform/base/Version.h"
#include "platform/base/output_error.h"

namespace Lumenar {

/// Exit code of every program for a wrong command line.
constexpr int kWrongArguments = 2;

/// Reads a command line into `app`, whose name is the program's. False when the program has to end with `exit_code`:
/// help or the version (-V, --version, which every program has) was asked for and written, or an argument is wrong and
/// one line on standard error says which; `hint` gives what goes behind it.
/// Errors   those of callbacks that `app` has, beside those of the command line.
inline bool ParseArguments(CLI::App& app, int argc, const char* const* argv, int& exit_code,
                           const std::function<std::string()>& hint = {}) {
  app.set_version_flag("-V,--version", Version(), "Print the version and exit");
  try {
    app.parse(argc, argv);
    return true;
  } catch (const CLI::CallForHelp&) {
    std::string help = app.help();
    while (!help.empty() && help.back() == '\n') help.pop_back();
    WriteOut(help);
    exit_code = CheckOutput(app.get_name().c_str(), 0);
  } catch (const CLI::CallForVersion&) {
    WriteOut(app.get_name() + " " + Version());
    exit_code = CheckOutput(app.get_name().c_str(), 0);
  } catch (const CLI::ParseError& error) {
    std::string reason = error.what();
    for (char& character : reason)
      if (static_cast<unsigned char>(character) < ' ') character = ' ';  // one line
    WriteError(app.get_name() + ": " + reason + (hint ? hint() : std::string()));
    exit_code = kWrongArguments;
  }
  return false;
}

}  // namespace Lumenar
