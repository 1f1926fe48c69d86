// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/Reports.h"

#include <fmt/format.h>

#include <utility>

namespace Lumenar::Instruments {
namespace {

constexpr std::chrono::minutes kPause{1};
constexpr std::size_t kMostKinds = 64;

}  // namespace

Reports::Reports(Write write, std::function<Clock::time_point()> now)
    : write_(std::move(write)), now_(std::move(now)) {}

std::string Reports::KindOf(const std::string& line) {
  std::string kind;
  bool is_quoted = false;
  for (const char c : line) {
    if (c == '\'') is_quoted = !is_quoted;
    if (!is_quoted && (c < '0' || c > '9')) kind += c;
  }
  return kind;
}

bool Reports::Say(const std::string& line, const std::string& kind, Priority priority) {
  unsigned long since = 0;
  {
    Lock lock(mutex_);
    if (kinds_.size() >= kMostKinds) kinds_.clear();
    const auto now = now_();
    const auto [at, is_new] = kinds_.try_emplace(kind, Kind{now, 0});
    Kind& known = at->second;
    if (!is_new && now - known.written < kPause) {
      ++known.since;
      return false;
    }
    since = std::exchange(known.since, 0);
    known.written = now;
  }
  write_(since == 0 ? line : fmt::format("{} ({} more of these since the last line)", line, since), priority);
  return true;
}

}  // namespace Lumenar::Instruments
