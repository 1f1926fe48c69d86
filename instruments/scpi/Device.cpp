// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/Device.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "instruments/common/steady_rate.h"
#include "instruments/scpi/numbers.h"
#include "instruments/scpi/words.h"
#include "platform/base/Diagnostic.h"
#include "platform/orb/CorbaText.h"

namespace Lumenar::Scpi {
namespace {

using namespace std::chrono_literals;

constexpr Milliseconds kShortestPause = 250ms;
constexpr Milliseconds kLongestPause = 5s;
constexpr Milliseconds kLongestPauseBesideOthers = 60s;  // of a reading that fails while others answer
constexpr int kMostErrors = 20;                          // of a device's queue that are read at a time
constexpr auto kSetLimit = 4s;                           // less than the usual limit of a call
constexpr auto kIdleLook = 1s;                           // at a connection over which nothing goes

}  // namespace

Device::Device(DeviceConfig config, const std::string& prefix, const Instruments::Place& place)
    : config_(std::move(config)),
      title_("scpi: " + config_.address->Text()),
      identify_{config_.identify},
      errors_{config_.errors},
      pause_(kShortestPause),
      task_([this] { return Step(); }) {
  for (std::size_t i = 0; i < config_.settings.size(); ++i) {
    const SettingConfig& setting = config_.settings[i];
    const auto set = [this, i](double number) { WaitForSet(i, number); };
    const auto refuse = [this](const std::string& why) { reports_.SayAsItIs(title_ + ": " + why); };
    turns_.push_back({MakeSetting(setting, place, prefix + setting.name, set, refuse), kNoPeriod});
  }
  for (const ReadingConfig& reading : config_.readings)
    turns_.push_back(
        {MakeReading(reading, place, prefix + reading.name, config_.timeout), Instruments::PeriodOf(reading.rate_Hz)});
}

void Device::Start() { task_.Start(); }

void Device::Stop() noexcept {
  stop_.Raise();
  task_.Stop();
  wishes_.Close();
}

/// A client's call; the device's thread does it meanwhile.
void Device::WaitForSet(std::size_t setting, double number) {
  using Outcome = SetQueue::Outcome;
  const auto outcome = wishes_.Do({setting, number}, kSetLimit, [this] { task_.Wake(); });
  if (outcome == Outcome::Refused) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
  if (outcome == Outcome::NotConnected) throw CORBA::TRANSIENT(0, CORBA::COMPLETED_MAYBE);
  if (outcome == Outcome::TooLate) throw CORBA::TIMEOUT(0, CORBA::COMPLETED_MAYBE);
}

/// Nothing when the device is stopped.
std::optional<Clock::time_point> Device::Step() {
  try {
    return StepOnce();
  } catch (const Stopped&) {
    return std::nullopt;
  } catch (const std::exception& failure) {
    return Lost(failure.what());
  } catch (const CORBA::Exception& failure) {
    return Lost(CorbaText(failure));
  }
}

/// When the next step is due.
Clock::time_point Device::StepOnce() {
  if (stop_.IsRaised()) throw Stopped();
  if (!session_) return Connect();
  if (const auto wish = wishes_.Begin()) {
    Set(*wish);
    return Clock::now();
  }
  if (Turn* turn = NextTurn(); turn->due <= Clock::now()) {
    Measure(*turn);
  } else {
    session_->RequireSilence();
  }
  return std::min(NextTurn()->due, Clock::now() + kIdleLook);
}

Clock::time_point Device::Connect() {
  session_ = std::make_unique<Session>(config_, *config_.address, stop_);
  Greet();
  BeginAnew();
  wishes_.Open();
  was_connected_ = true;
  return Clock::now();
}

void Device::Greet() {
  if (was_connected_ || was_reported_lost_) session_->DropGreeting();
  if (was_connected_) ReportErrors();  // why it fell silent; what follows may clear them
  Identify();
  session_->Send(config_.start, config_.timeout);
  ReportErrors();
}

/// What goes wrong until Answered counts as a failure of this question.
std::string Device::Ask(OptionalQuestion& question) {
  optional_question_ = &question;
  return session_->Ask(question.text).bytes;
}

void Device::Answered() noexcept {
  optional_question_->failures = 0;
  optional_question_->is_known = true;
  optional_question_ = nullptr;
}

/// A device that measures answers again what it answered before it fell silent.
void Device::AskAgain() noexcept {
  for (OptionalQuestion* question : {&identify_, &errors_})
    if (question->is_known) question->failures = 0;
}

void Device::Identify() {
  if (!identify_.IsAsked()) return;
  const std::string identity = Ask(identify_);
  Answered();
  if (!was_connected_) WriteOut(fmt::format("{}: connected to {}", title_, Quoted(identity)));
}

/// Reads the device's error queue; whether there was nothing in it.
bool Device::ReportErrors() {
  if (!errors_.IsAsked()) return true;
  for (int count = 0; count < kMostErrors; ++count) {
    const std::string text = Ask(errors_);
    const bool is_error = NumberFromText(std::string_view(text).substr(0, text.find(','))) != 0;
    Answered();
    if (!is_error) return count == 0;
    reports_.SayAsItIs(fmt::format("{}: reports {}", title_, Quoted(text)));
  }
  return false;
}

/// What was known of the device's settings may not be so any more.
void Device::BeginAnew() {
  for (Turn& turn : turns_) {
    turn.is_prepared = false;
    if (turn.period == kNoPeriod && turn.failures == 0) turn.due = Clock::time_point{};
  }
}

void Device::Set(const SetQueue::Wish& wish) {
  ReportErrors();  // those of before are none of this command
  session_->Tell(CommandWith(config_.settings[wish.setting], wish.number));
  const bool is_good = ReportErrors();
  BeginAnew();
  Measure(turns_[wish.setting]);  // so that who has set it gets the new value
  wishes_.Finish(is_good ? SetQueue::Outcome::Done : SetQueue::Outcome::Refused);
}

void Device::Measure(Turn& turn) {
  turn_ = &turn;
  if (!turn.is_prepared) turn.item->Prepare(*session_);
  turn.is_prepared = true;
  turn.item->Measure(*session_);
  turn_ = nullptr;
  turn.failures = 0;
  pause_ = kShortestPause;
  AskAgain();
  turn.due = turn.period == kNoPeriod ? Clock::time_point::max()
                                      : Instruments::NextDeadline(turn.due, Clock::now(), turn.period);
  if (std::exchange(was_reported_lost_, false)) reports_.Say(title_ + ": is back", Priority::Notice);
}

/// The item that is due first.
Device::Turn* Device::NextTurn() {
  return &*std::min_element(turns_.begin(), turns_.end(),
                            [](const Turn& one, const Turn& other) { return one.due < other.due; });
}

/// Ends the connection; when the next is to be made.
Clock::time_point Device::Lost(const std::string& reason) {
  const std::string message = session_ ? session_->LastMessage() : std::string();
  session_.reset();
  wishes_.Close();
  if (OptionalQuestion* question = std::exchange(optional_question_, nullptr)) ++question->failures;
  if (Turn* turn = std::exchange(turn_, nullptr)) Postpone(*turn);
  const std::string where = message.empty() ? "" : message + ": ";
  if (reports_.Say(fmt::format("{}: {}{}; connecting anew", title_, where, reason))) was_reported_lost_ = true;
  return Clock::now() + std::exchange(pause_, std::min(pause_ * 2, kLongestPause));
}

/// After a failure, for twice as long each time.
void Device::Postpone(Turn& turn) {
  const Milliseconds longest = turns_.size() > 1 ? kLongestPauseBesideOthers : kLongestPause;
  turn.due = Clock::now() + std::min(kShortestPause * (1 << std::min(turn.failures, 10u)), longest);
  ++turn.failures;
}

}  // namespace Lumenar::Scpi
