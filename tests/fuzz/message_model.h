// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace Lumenar::Fuzz {

/// What must come of a stream of messages, by a slow reading of the rules that looks at the whole of it.
struct MessageVerdict {
  std::string given;  ///< all that the ORB gets of messages that have come whole
  std::string begun;  ///< the message behind them that has not; a part of it may have been given
  bool is_unlawful = false;
  bool is_open = false;     ///< the last message has not come whole: whether it is lawful may be known or not
  std::size_t refused = 0;  ///< messages that were too large
};

struct MessageRules {
  bool is_served = true;  ///< else a connection of our own
  std::uint64_t max_message_bytes = 0;
  std::map<std::uint32_t, bool> expected = {};  ///< ids that may be answered; true: with long answers
};

MessageVerdict JudgeMessages(const std::string& stream, const MessageRules& rules);

}  // namespace Lumenar::Fuzz
