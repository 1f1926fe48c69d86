// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/Recorder.h"

#include <fmt/format.h>

#include <algorithm>
#include <variant>

#include "client/Error.h"
#include "client/Text.h"
#include "client/values.h"
#include "platform/base/Diagnostic.h"
#include "platform/signals/Signals.h"

namespace Lumenar::Mathctl {
namespace {

using Recording::Event;
using Recording::EventKind;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kPatience{250};

std::int64_t ToNs(std::chrono::system_clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

bool HasReset(const PlannedReading& planned) {
  return planned.math && (planned.info.object->type == "Average" || planned.info.object->type == "Peak");
}

}  // namespace

Recorder::Recorder(const Session& session, const std::vector<PlannedReading>& planned, const RecorderOptions& options)
    : session_(session),
      planned_(planned),
      options_(options),
      subscription_(session.connection),
      silent_(planned.size(), false),
      progress_(session.options.quiet),
      begin_(steady_clock::now()),
      sample_came_(begin_) {}

void Recorder::Run() {
  Subscribe();
  loss_watch_.emplace(session_, subscription_);
  AddReadings();
  WritePresentValues();
  if (options_.reset) ResetObjects();
  writer_->Flush();
  begin_ = steady_clock::now();
  while (!Finished()) {
    if (const auto delivery = subscription_.Next(Patience())) Write(*delivery);
    LookAround();
  }
  if (!subscription_.Ended()) Note(loss_watch_->LastLook());
  progress_.Clear();
  writer_->Finish(NowNs(), writer_->LostInFile());
}

void Recorder::Subscribe() {
  for (std::uint32_t i = 0; i < planned_.size(); ++i) {
    Signals::ThrowIfPending();
    subscription_.Add(planned_[i].reading);
    sources_.push_back({i, false});
    if (!planned_[i].size) continue;
    subscription_.Add(*planned_[i].size);
    sources_.push_back({i, true});
  }
}

// The file is begun when everything stands, so that nothing is left of a recording that cannot begin. SIZE is asked for when its changes come already, so that none is missed.
void Recorder::AddReadings() {
  writer_.emplace(options_.file, options_.writer, NowNs());
  for (const PlannedReading& planned : planned_) {
    Recording::ReadingInfo info = planned.info;
    if (planned.size) info.object->size = session_.ObjectsOf(*planned.math).Size(planned.math->id);
    writer_->Add(std::move(info));
  }
}

void Recorder::WritePresentValues() {
  for (std::uint32_t i = 0; i < planned_.size(); ++i) {
    Signals::ThrowIfPending();
    try {
      writer_->Write(Recording::Sample{i, NowNs(), Client::GetValue(planned_[i].reading), true});
    } catch (const Client::Error& error) {  // its samples may come all the same
      NoteGap(i, error.what());
    }
  }
}

void Recorder::ResetObjects() {
  for (std::uint32_t i = 0; i < planned_.size(); ++i) {
    if (HasReset(planned_[i])) Reset(i);
  }
}

// What came before stands before the event in the file.
void Recorder::Reset(std::uint32_t reading) {
  while (const auto delivery = subscription_.Next(milliseconds(0))) Write(*delivery);
  const std::int64_t begin_ns = NowNs();
  const Client::MathName& math = *planned_[reading].math;
  session_.ObjectsOf(math).Reset(math.id);
  writer_->Write(Event{EventKind::Reset, begin_ns, reading, NowNs() - begin_ns, ""});
}

bool Recorder::Finished() const {
  const bool enough = options_.samples > 0 && written_ >= options_.samples;
  const bool late = options_.seconds > 0 && Elapsed().count() >= options_.seconds;
  return enough || late || subscription_.Ended();
}

milliseconds Recorder::Patience() const {
  if (options_.seconds <= 0) return kPatience;
  const auto left = std::chrono::ceil<milliseconds>(std::chrono::duration<double>(options_.seconds) - Elapsed());
  return std::clamp(left, milliseconds(0), kPatience);
}

void Recorder::Write(const Client::Delivery& delivery) {
  const Source& source = sources_.at(delivery.source);
  sample_came_ = steady_clock::now();
  silent_[source.reading] = false;
  for (const Client::LostSamples& lost : delivery.lost) {
    NoteLost({lost.source, lost.samples, "", ToNs(delivery.time)}, ToNs(delivery.time));
    AskForSizes(lost.source);
  }
  if (source.is_size) {
    const auto* size = std::get_if<CORBA::Long>(&delivery.record);
    if (size != nullptr) WriteSize(source.reading, *size, ToNs(delivery.time));
    return;
  }
  if (std::holds_alternative<std::monostate>(delivery.record)) {
    return NoteGap(source.reading, "a sample of a kind that is not known");
  }
  writer_->Write(Recording::Sample{source.reading, ToNs(delivery.time), delivery.record});
  ++written_;
}

// Once a second: what was written can be read by others, and nothing was lost unnoticed.
void Recorder::LookAround() {
  ShowProgress();
  if (!loss_watch_->IsDue() || subscription_.Ended()) return;
  writer_->Flush();
  Note(loss_watch_->Look());
  if (steady_clock::now() - sample_came_ >= session_.connection.Timeout()) NoteSilent();
}

void Recorder::Note(const std::vector<Loss>& losses) {
  for (const Loss& loss : losses) {
    if (loss.samples > 0) {
      NoteLost(loss, NowNs());
    } else {
      NoteGap(loss.source ? std::optional(sources_[*loss.source].reading) : std::nullopt, loss.why, loss.since_ns);
    }
    AskForSizes(loss.source);
  }
}

void Recorder::NoteLost(const Loss& loss, std::int64_t time_ns) {
  Event event{EventKind::Lost, time_ns, sources_[*loss.source].reading, static_cast<std::int64_t>(loss.samples), ""};
  if (loss.since_ns != time_ns) event.since_ns = loss.since_ns;
  writer_->Write(event);
  lost_ += loss.samples;
}

// A change of SIZE may be among what is missing.
void Recorder::AskForSizes(std::optional<std::size_t> source) {
  for (std::size_t i = 0; i < sources_.size(); ++i) {
    if (!sources_[i].is_size || (source && *source != i) || subscription_.Ended()) continue;
    const Client::MathName& math = *planned_[sources_[i].reading].math;
    try {
      WriteSize(sources_[i].reading, session_.ObjectsOf(math).Size(math.id), NowNs());
    } catch (const Client::Error& error) {
      NoteGap(sources_[i].reading, error.what());
    }
  }
}

void Recorder::WriteSize(std::uint32_t reading, std::int32_t size, std::int64_t time_ns) {
  writer_->Write(Event{EventKind::Size, time_ns, reading, size, ""});
}

// Asked when nothing comes: an engine that is started again goes on where it was, so the recording does too.
void Recorder::NoteSilent() {
  sample_came_ = steady_clock::now();
  for (std::uint32_t i = 0; i < planned_.size() && !subscription_.Ended(); ++i) {
    if (silent_[i]) continue;
    try {
      const Client::Reading& reading = planned_[i].reading;
      const CORBA::String_var name = Client::Remote(planned_[i].info.name, [&] { return reading.reference->Name(); });
    } catch (const Client::Error& error) {
      if (subscription_.Ended()) return;
      silent_[i] = true;
      NoteGap(i, error.what());
    }
  }
}

void Recorder::NoteGap(std::optional<std::uint32_t> reading, const std::string& why,
                       std::optional<std::int64_t> since_ns) {
  writer_->Write(Event{EventKind::Gap, NowNs(), reading, 0, Client::Printable(why), since_ns});
  progress_.Clear();
  WriteError(fmt::format("mathctl: {}: samples may be missing {}: {}",
                         reading ? planned_[*reading].info.name : "all readings",
                         since_ns ? "before this moment" : "from here on", why));
}

void Recorder::ShowProgress() {
  if (!progress_.IsDue()) return;
  const double seconds = Elapsed().count();
  const std::string limit = options_.seconds > 0   ? fmt::format(" of {:.0f}", options_.seconds)
                            : options_.samples > 0 ? fmt::format(", {} samples to come", options_.samples - written_)
                                                   : std::string();
  progress_.Show(fmt::format("{:.0f} s{}: {} samples, {:.1f} MB{}", seconds, limit, written_,
                             static_cast<double>(writer_->Bytes()) / 1e6,
                             lost_ > 0 ? fmt::format(", {} LOST", lost_) : std::string()));
}

}  // namespace Lumenar::Mathctl
