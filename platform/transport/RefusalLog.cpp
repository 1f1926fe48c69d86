// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/RefusalLog.h"

#include <fmt/format.h>

#include "platform/base/Diagnostic.h"

namespace Corvanta {
namespace {

constexpr const char* kTheRest = "others";

}  // namespace

RefusalLog::RefusalLog(std::function<void(const std::string&)> write)
    : write_(write ? std::move(write)
                   : [](const std::string& line) { Lumenar::WriteError(line, Lumenar::Priority::Warning); }) {}

void RefusalLog::Say(const std::string& cause, const std::string& line, Time now) {
  std::string text = line;
  {
    Lumenar::Lock lock(mutex_);
    if (causes_.size() >= kMaxCauses && causes_.count(cause) == 0) ForgetOld(now);
    const bool room = causes_.size() < kMaxCauses || causes_.count(cause) != 0;
    const auto [found, is_new] = causes_.try_emplace(room ? cause : kTheRest);
    Cause& known = found->second;
    if (!is_new && now - known.written < kPause) {
      ++known.left_out;
      return;
    }
    if (known.left_out > 0) text += fmt::format(" ({} more since the last such line)", known.left_out);
    known = Cause{now, 0};
  }
  write_(text);
}

void RefusalLog::ForgetOld(Time now) {
  for (auto cause = causes_.begin(); cause != causes_.end();)
    cause = now - cause->second.written < kPause ? std::next(cause) : causes_.erase(cause);
}

}  // namespace Corvanta
