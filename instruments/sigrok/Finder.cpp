// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/Finder.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>

#include "platform/base/TimedProgram.h"

namespace Lumenar::Sigrok {
namespace {

/// What went wrong in a search that wrote `error`: its last line, without the program's name.
std::string ReasonOf(const std::string& error, int status) {
  constexpr std::string_view kProgram = "sigrok_scan: ";
  std::string line = LastLine(error);
  if (line.rfind(kProgram, 0) == 0) line.erase(0, kProgram.size());
  return line.empty() ? fmt::format("the search ended with status {}", status) : line;
}

}  // namespace

Found FindDevice(const DeviceName& name, std::chrono::milliseconds limit, const std::function<bool()>& give_up) {
  try {
    ProgramLimits limits;
    limits.time = limit;
    const ProgramEnd end = RunTimedProgram({ProgramBeside("sigrok_scan"), name.Text()}, limits, give_up);
    if (!end.status) {
      return {false,
              fmt::format("a search for it did not end within {:g} s", std::chrono::duration<double>(limit).count())};
    }
    if (*end.status != 0) return {false, ReasonOf(end.error, *end.status)};
    const auto devices = std::count(end.out.begin(), end.out.end(), '\n');
    if (devices == 1) return {true, {}};
    if (devices == 0) return {false, "no device answers"};
    return {false, fmt::format("{} devices answer: mathctl discover {} shows how to name one", devices, name.Text())};
  } catch (const std::exception& failure) {  // no process, no program: looked for again later
    return {false, failure.what()};
  }
}

}  // namespace Lumenar::Sigrok
