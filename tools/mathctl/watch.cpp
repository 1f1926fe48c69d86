// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "tools/mathctl/ReadingWatch.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {
namespace {

constexpr const char* kWatchFooter =
    "The present value comes first, marked \"now\" (in JSON \"present\": true), and is not counted by -n. A line is: "
    "the\n"
    "time of arrival; the reading, or the math object with its type and inputs; # and the trace's sequence number (of\n"
    "other kinds: how many values came so far); the value. In JSON, \"count\" is how many values of this reading "
    "came.\n"
    "\n"
    "A reading that is gone, or whose engine does not answer, is watched no more; when it was the last, that ends the\n"
    "watch (exit code 1 or 3). When nothing comes for 10 s, standard error says why.\n"
    "\n"
    "Examples:\n"
    "  mathctl watch math:0\n"
    "  mathctl watch 'PROBE/1/*' -n 100 --format csv >values.csv\n"
    "  mathctl watch math:0 --idle 5 --json | jq .value";

}  // namespace

void DefineWatch(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("watch", "The present value of some readings and each new one, until Ctrl-C");
  verb->footer(kWatchFooter);
  const auto arguments = std::make_shared<WatchArguments>();
  verb->add_option("READING", arguments->readings, "Readings, patterns with * and ?, or math objects as math:3")
      ->required();
  verb->add_option("-n", arguments->results, "End after so many new values in all")->check(CheckCount)->type_name("N");
  verb->add_option("--for", arguments->seconds, "End after so many seconds")->check(CheckSeconds)->type_name("SEC");
  verb->add_option("--idle", arguments->idle_s, "Exit with code 3 when nothing comes for so many seconds")
      ->check(CheckSeconds)
      ->type_name("SEC");
  verb->add_option("-#,--elements", arguments->elements, "Also the first so many samples of each trace; 0: all")
      ->check(CheckCountOrZero)
      ->type_name("N");
  verb->add_flag_callback(
      "--samples", [arguments] { arguments->elements = 0; }, "The same as --elements 0");
  verb->add_flag("--new", arguments->only_new, "Without the present value");
  verb->callback([&command, arguments] {
    command.ends_on_signal = true;
    command.run = [arguments](const Session& session) { ReadingWatch(session, *arguments).Run(); };
  });
}

}  // namespace Lumenar::Mathctl
