// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/Session.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "instruments/scpi/numbers.h"
#include "instruments/scpi/words.h"

namespace Lumenar::Scpi {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kRoom = 65536;   // a 10,001-point sweep comes in one or two pieces
constexpr auto kGreetingTime = 200ms;  // after the connection stands
constexpr auto kSilenceAtEnd = 100ms;  // ends a text where nothing else does

std::string_view EndOf(LineEnd end) {
  switch (end) {
    case LineEnd::Lf: return "\n";
    case LineEnd::CrLf: return "\r\n";
    case LineEnd::None: break;
  }
  return {};
}

}  // namespace

Session::Session(const DeviceConfig& config, const Address& address, const StopSign& stop)
    : config_(config), stop_(stop), room_(kRoom), socket_(address, Clock::now() + config.timeout, stop) {}

void Session::DropGreeting() {
  const auto end = Clock::now() + kGreetingTime;
  while (socket_.Receive(room_, end) > 0 && Clock::now() < end) {}
}

void Session::Tell(const std::string& message) { Begin(message, Clock::now() + config_.timeout); }

Answer Session::Ask(const std::string& question, Milliseconds limit) {
  const Milliseconds whole = has_answered_ ? limit : std::max(limit, config_.first_timeout);
  const auto deadline = Clock::now() + config_.gap + whole;
  Begin(question, deadline);
  Answer answer = ReadAnswer(deadline, whole);
  has_answered_ = true;
  quiet_until_ = Clock::now() + config_.gap;
  return answer;
}

void Session::Send(const std::vector<Message>& messages, Milliseconds limit) {
  for (const Message& message : messages) {
    if (message.is_question) {
      Ask(message.text, limit);
    } else {
      Tell(message.text);
    }
  }
}

double Session::ValueOf(const Figure& figure) {
  return figure.question.empty() ? figure.number : NumberOf(Ask(figure.question), NumberForm{});
}

void Session::RequireSilence() {
  const std::size_t count = socket_.Receive(room_, Clock::now());
  if (count == 0 || IsOnlyLineEnds(count)) return;
  throw std::runtime_error("speaks without being asked: " + Quoted(std::string_view(room_.data(), count)));
}

bool Session::IsOnlyLineEnds(std::size_t count) const {
  return config_.end == LineEnd::None &&
         std::string_view(room_.data(), count).find_first_not_of("\r\n") == std::string_view::npos;
}

void Session::Begin(const std::string& message, Clock::time_point deadline) {
  stop_.WaitUntil(quiet_until_);
  RequireSilence();
  last_message_ = message;
  if (!socket_.Send(message + std::string(EndOf(config_.end)), deadline))
    throw std::runtime_error("does not take the message in time");
  quiet_until_ = Clock::now() + config_.gap;
}

Answer Session::ReadAnswer(Clock::time_point deadline, Milliseconds limit) {
  AnswerReader reader(config_.end, config_.largest);
  while (!reader.IsWhole()) {
    const bool may_have_ended = reader.EndsWithSilence();
    const auto now = Clock::now();
    if (now >= deadline) {
      const std::string progress = reader.Progress();
      throw std::runtime_error(
          fmt::format("{} within {}", progress.empty() ? "no answer" : progress, DurationText(limit)));
    }
    const auto count = socket_.Receive(room_, may_have_ended ? std::min(deadline, now + kSilenceAtEnd) : deadline);
    if (count == 0 && may_have_ended) break;
    reader.Add(std::string_view(room_.data(), count));
  }
  return reader.Take();
}

}  // namespace Lumenar::Scpi
