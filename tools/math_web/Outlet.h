// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/math_web/frame.h"

namespace Lumenar::Web {

/// One message to a client: a text, or the head and the numbers of a frame.
struct Message {
  std::shared_ptr<const std::string> text;
  std::optional<FrameHead> head{};
  std::shared_ptr<const std::vector<float>> numbers{};

  std::size_t Bytes() const {
    if (text != nullptr) return text->size();
    return (head ? head->size() : 0) + (numbers != nullptr ? numbers->size() * sizeof(float) : 0);
  }
};

/// The way to one client.
/// Threads  the gateway's own.
class Outlet {
 public:
  virtual ~Outlet() = default;

  /// In order, when the client has taken what was sent before.
  virtual void Send(Message message) = 0;

  /// Whether all has been handed to the system.
  virtual bool IsIdle() const = 0;

  /// Ends the connection; `code` as WebSocket has it, `reason` in a sentence.
  virtual void Close(unsigned short code, const std::string& reason) = 0;
};

/// What a client's streams counted.
struct StreamTotals {
  std::uint64_t frames = 0;
  std::uint64_t skipped = 0;
};

}  // namespace Lumenar::Web
