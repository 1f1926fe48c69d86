// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/ReadingWatch.h"

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <utility>
#include <variant>

#include "client/Error.h"
#include "client/values.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/output_error.h"
#include "platform/signals/Signals.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using std::chrono::milliseconds;
using std::chrono::system_clock;

constexpr milliseconds kLongestWait{1000};  // between looks at what else may have happened
constexpr std::chrono::seconds kSilence{10};

milliseconds Milliseconds(double seconds) { return milliseconds(static_cast<long long>(seconds * 1000)); }

// Of a pipe: a watch of which nothing comes would find out with its next line alone.
bool ReaderIsGone() {
  pollfd output{STDOUT_FILENO, 0, 0};
  return ::poll(&output, 1, 0) > 0 && (output.revents & POLLERR) != 0;
}

std::vector<std::string> WatchColumns(bool with_samples) {
  std::vector<std::string> columns{"time", "reading", "object", "type", "count", "present"};
  for (std::string& column : ValueColumns(with_samples)) columns.push_back(std::move(column));
  return columns;
}

}  // namespace

ReadingWatch::ReadingWatch(const Session& session, const WatchArguments& arguments)
    : session_(session), arguments_(arguments), subscription_(session.connection), rows_(session.options, {}) {
  rows_.UseColumns(WatchColumns(arguments.elements.has_value()));
}

void ReadingWatch::Run() {
  Subscribe();
  if (arguments_.seconds > 0) end_ = Clock::now() + Milliseconds(arguments_.seconds);
  if (!arguments_.only_new) WritePresent();
  heard_ = Clock::now();
  while (!Finished()) {
    if (const auto delivery = subscription_.Next(Patience())) {
      WriteDelivery(*delivery);
    } else if (!Finished()) {
      Look();
    }
    TellRenewed();
  }
  if (subscription_.Lost() > 0) WriteError(fmt::format("mathctl: {} results were lost here", subscription_.Lost()));
}

void ReadingWatch::Subscribe() {
  const auto readings = session_.FindAll(arguments_.readings);
  for (KnownReading& known : Known(session_, readings)) {
    Signals::ThrowIfPending();
    if (!Client::HasValue(known.reading)) {
      throw Client::Error(Client::ErrorKind::BadArgument, known.name + " is an action: it has no value to watch");
    }
    subscription_.Add(known.reading);
    watched_.push_back({std::move(known), 0, Clock::now(), Clock::now()});
  }
}

// Behind the subscription: what comes between the two is written twice rather than not at all.
void ReadingWatch::WritePresent() {
  for (Watched& watched : watched_) {
    Signals::ThrowIfPending();
    try {
      if (watched.known.has_value) {
        Write(watched, Client::GetValue(watched.known.reading), system_clock::now(), true);
      } else {
        Tell(fmt::format("{}: {}", watched.known.name, SilenceReason(session_, watched.known)));
      }
    } catch (const Client::Error& error) {
      Gone(watched, error);
    }
  }
}

bool ReadingWatch::Finished() const {
  const bool enough = arguments_.results > 0 && written_ >= arguments_.results;
  const bool late = end_ && Clock::now() >= *end_;
  return enough || late || subscription_.Ended() || OutputError() != 0;
}

milliseconds ReadingWatch::Patience() const {
  const milliseconds limit = std::min(session_.connection.Timeout(), kLongestWait);
  auto until = Clock::now() + limit;
  if (end_) until = std::min(until, *end_);
  if (arguments_.idle_s > 0) until = std::min(until, heard_ + Milliseconds(arguments_.idle_s));
  return std::clamp(std::chrono::ceil<milliseconds>(until - Clock::now()), milliseconds(0), limit);
}

void ReadingWatch::WriteDelivery(const Client::Delivery& delivery) {
  Watched& watched = watched_.at(delivery.source);
  ++watched.results;
  ++written_;
  watched.heard = heard_ = Clock::now();
  watched.silence_told = false;
  Write(watched, delivery.record, delivery.time, false);
}

void ReadingWatch::Write(const Watched& watched, const Corvanta::SampleRecord& record, system_clock::time_point time,
                         bool present) {
  const KnownReading& known = watched.known;
  if (session_.options.format == Format::Table) {
    const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&record);
    const unsigned long number = trace != nullptr ? trace->sequence_number : watched.results;
    return WriteOut(fmt::format("{}  {}  {}  {}", ClockText(time), known.name,
                                present ? "now" : fmt::format("#{}", number), TextOf(record, arguments_.elements)));
  }
  nlohmann::ordered_json json{{"time", UtcText(time)}, {"reading", Client::FullName(known.reading.name)}};
  if (known.math) {
    json["object"] = session_.TextOf(*known.math);
    json["type"] = known.type;
  }
  json["count"] = watched.results;
  json["present"] = present;
  json.update(JsonOf(record, arguments_.elements));
  rows_.Add(json, {});
}

// Nothing came for a moment.
void ReadingWatch::Look() {
  if (ReaderIsGone()) {
    WriteOut("");  // fails, which ends the watch as it ends the shell's tools
    return;
  }
  RequireNotIdle();
  const auto now = Clock::now();
  for (Watched& watched : watched_) {
    const auto limit = std::max<Clock::duration>(session_.connection.Timeout(), kLongestWait);
    if (watched.gone || now - std::max(watched.heard, watched.looked) < std::min<Clock::duration>(limit, kSilence)) {
      continue;
    }
    if (subscription_.Ended()) return;
    LookAt(watched);
  }
}

void ReadingWatch::LookAt(Watched& watched) {
  watched.looked = Clock::now();
  try {
    const std::string reason = SilenceReason(session_, watched.known);
    const auto silence = std::chrono::floor<std::chrono::seconds>(Clock::now() - watched.heard);
    if (silence < kSilence || watched.silence_told) return;
    watched.silence_told = true;
    Tell(fmt::format("nothing has come of {} for {} s: {}", watched.known.name, silence.count(), reason));
  } catch (const Client::Error& error) {
    Gone(watched, error);
  }
}

// It would never say anything again; the others may.
void ReadingWatch::Gone(Watched& watched, const Client::Error& error) {
  if (subscription_.Ended()) return;  // what ends the watch has ended the call, too
  watched.gone = true;
  if (std::all_of(watched_.begin(), watched_.end(), [](const Watched& each) { return each.gone; })) throw error;
  WriteError(fmt::format("mathctl: {}; it is watched no more", error.what()));
}

void ReadingWatch::RequireNotIdle() {
  if (arguments_.idle_s <= 0 || Clock::now() - heard_ < Milliseconds(arguments_.idle_s)) return;
  std::string reasons;
  for (const Watched& watched : watched_) {
    if (watched.gone) continue;
    reasons += fmt::format("{}{}: {}", reasons.empty() ? "" : "; ", watched.known.name,
                           SilenceReason(session_, watched.known));
  }
  throw Client::Error(Client::ErrorKind::Unreachable,
                      fmt::format("nothing has come for {:g} s ({})", arguments_.idle_s, reasons));
}

void ReadingWatch::TellRenewed() {
  for (const std::size_t source : subscription_.TakeRenewed()) {
    Tell(
        fmt::format("the topic manager had lost the subscription to {}; it has been made again, what was published "
                    "meanwhile did not come",
                    watched_.at(source).known.name));
  }
}

void ReadingWatch::Tell(const std::string& text) const {
  if (!session_.options.quiet) WriteError("mathctl: " + text);
}

}  // namespace Lumenar::Mathctl
