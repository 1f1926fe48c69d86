// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Lumenar::Web {

/// An answer to a request of HTTP. The body is shared, so that many may be sent at once.
struct Reply {
  unsigned status = 200;
  std::string type = "text/plain; charset=utf-8";
  std::shared_ptr<const std::string> body = std::make_shared<const std::string>();
  std::vector<std::pair<std::string, std::string>> headers{};
};

/// A sentence as an answer.
Reply TextReply(unsigned status, const std::string& sentence);

/// The path of a request's target, without what stands behind "?", its %XX decoded; empty for a target that is no path
/// of ours: one that does not begin with "/", has "..", a zero byte or a broken %XX.
/// Threads  pure.
std::string PathOf(std::string_view target);

}  // namespace Lumenar::Web
