// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tools/math_web/Channel.h"
#include "tools/math_web/Outlet.h"

namespace Lumenar::Web {

/// One thing that one client looks at. One frame is under way at a time, until the client has drawn it; then it gets
/// the newest sample, and what lies between was skipped, which is counted. Numbers are small: the next follows when the
/// system has taken the last.
/// Threads  the gateway's own.
class Stream {
 public:
  Stream(std::uint32_t number, std::string name, Outlet& outlet, StreamTotals& totals)
      : number_(number), name_(std::move(name)), outlet_(outlet), totals_(totals) {}
  ~Stream() { Detach(); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  /// The text by which the client asked for it.
  const std::string& Name() const { return name_; }
  bool IsAttached() const { return channel_ != nullptr; }

  void Attach(std::shared_ptr<Channel> channel);

  /// Another view is shown at once.
  void Show(const View& view);

  /// The client has drawn the last frame.
  void Ready();

  /// All that was sent has been handed to the system.
  void NoteSent();

  /// Sends the newest sample, if there is one that was not sent and nothing is under way.
  void Offer();

  /// Tells the client why nothing comes any more.
  void End(const std::string& reason);

 private:
  void Detach();
  void Send();
  void SendTrace();
  void SendNumber(const Sample& sample);
  void TellUnits(const FrameFacts& facts);

  const std::uint32_t number_;
  const std::string name_;
  Outlet& outlet_;
  StreamTotals& totals_;
  std::shared_ptr<Channel> channel_;
  View view_;
  bool under_way_ = false;
  bool is_trace_ = false;              // what is under way
  std::optional<std::uint64_t> sent_;  // the number of the sample that was sent last
  std::uint64_t skipped_ = 0;
  std::string told_units_;  // those of a units message
};

}  // namespace Lumenar::Web
