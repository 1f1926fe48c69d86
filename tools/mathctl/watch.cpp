// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <variant>

#include "client/Subscription.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/output_error.h"
#include "platform/signals/Signals.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

struct WatchArguments {
  std::vector<std::string> readings;
  unsigned long results = 0;  // 0: no limit
  double seconds = 0;         // 0: no limit
  bool samples = false;
};

class Watch {
 public:
  Watch(const Session& session, const WatchArguments& arguments)
      : session_(session), arguments_(arguments), subscription_(session.connection) {}

  void Run() {
    for (const std::string& text : arguments_.readings) Add(text);
    if (arguments_.seconds > 0)
      end_ = steady_clock::now() + milliseconds(static_cast<long long>(arguments_.seconds * 1000));
    while (!Finished()) {
      if (const auto delivery = subscription_.Next(Patience())) {
        Write(*delivery);
      } else if (!Finished()) {
        RequireReadings();
      }
    }
    if (subscription_.Lost() > 0) WriteError(fmt::format("mathctl: {} results were lost here", subscription_.Lost()));
  }

 private:
  void Add(const std::string& text) {
    Signals::ThrowIfPending();
    watched_.push_back({session_.Find(text), 0});
    subscription_.Add(watched_.back().reading);
  }

  bool Finished() const {
    const bool enough = arguments_.results > 0 && written_ >= arguments_.results;
    const bool late = end_ && steady_clock::now() >= *end_;
    return enough || late || subscription_.Ended() || OutputError() != 0;
  }

  // How long to wait for a result before looking whether its source is still there.
  milliseconds Patience() const {
    const auto limit = session_.connection.Timeout();
    if (!end_) return limit;
    const auto left = std::chrono::ceil<milliseconds>(*end_ - steady_clock::now());
    return std::clamp(left, milliseconds(0), limit);
  }

  // A reading that is gone, or whose engine does not answer, ends the watch: it would never say anything again.
  void RequireReadings() {
    for (const Watched& watched : watched_) {
      try {
        const CORBA::String_var name =
            Client::Remote(Client::FullName(watched.reading.name), [&] { return watched.reading.reference->Name(); });
      } catch (const Client::Error&) {
        if (!subscription_.Ended()) throw;
      }
    }
  }

  void Write(const Client::Delivery& delivery) {
    Watched& watched = watched_.at(delivery.source);
    ++watched.results;
    ++written_;
    WriteOut(session_.options.Json() ? JsonLine(delivery, watched) : TextLine(delivery, watched));
  }

  struct Watched {
    Client::Reading reading;
    unsigned long results;
  };

  static std::string TextLine(const Client::Delivery& delivery, const Watched& watched) {
    const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&delivery.record);
    const unsigned long number = trace != nullptr ? trace->sequence_number : watched.results;
    return fmt::format("{}  {}  #{}  {}", ClockText(delivery.time), Client::FullName(watched.reading.name), number,
                       TextOf(delivery.record));
  }

  std::string JsonLine(const Client::Delivery& delivery, const Watched& watched) const {
    nlohmann::ordered_json json{{"time", UtcText(delivery.time)},
                                {"reading", Client::FullName(watched.reading.name)},
                                {"count", watched.results}};
    json.update(JsonOf(delivery.record, arguments_.samples));
    return OneLine(json);
  }

  const Session& session_;
  const WatchArguments& arguments_;
  Client::Subscription subscription_;
  std::vector<Watched> watched_;
  unsigned long written_ = 0;
  std::optional<steady_clock::time_point> end_;
};

// Of an option that is a number of things to wait for: empty when the text is one, else what is wrong.
std::string CheckCount(const std::string& text) {
  unsigned long count = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  const bool is_number = error == std::errc() && end == text.data() + text.size();
  return is_number && count >= 1 && count <= 4294967295 ? "" : "a whole number from 1 to 4294967295 is needed";
}

}  // namespace

void DefineWatch(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("watch", "Each new value of some readings, one line each, until Ctrl-C");
  verb->footer(
      "A line is: the time of arrival; the reading; # and the trace's sequence number (of other kinds: how many "
      "values\n"
      "came so far); the value. In JSON, \"count\" is how many values of this reading came so far.");
  const auto arguments = std::make_shared<WatchArguments>();
  verb->add_option("READING", arguments->readings, "Readings, or math objects as math:3")->required();
  verb->add_option("-n", arguments->results, "End after so many values in all")->check(CheckCount);
  verb->add_option("--for", arguments->seconds, "End after so many seconds")->check(CheckSeconds);
  verb->add_flag("--samples", arguments->samples, "With --json: all samples of each trace");
  verb->callback([&command, arguments] {
    command.ends_on_signal = true;
    command.run = [arguments](const Session& session) { Watch(session, *arguments).Run(); };
  });
}

}  // namespace Lumenar::Mathctl
