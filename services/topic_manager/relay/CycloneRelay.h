// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "platform/records/SampleRecord.h"

namespace Corvanta {

/// Carries the samples of chosen topics between the topic managers of several machines, over DDS.
///
/// Every sample has the id of its publisher and a sequence number, so that losses show at the receiver, whatever the
/// transport says of them. Samples received are handed on and never sent again; those sent do not come back. The
/// network is trusted: whoever reaches the DDS port can publish, and packets meant to do harm are not fended off.
/// Threads   any. Sending never waits: it has a thread and a bounded queue of its own.
class CycloneRelay {
 public:
  struct Options {
    unsigned domain = 0;
    std::string interface_address = "127.0.0.1";  ///< on a loopback address only processes of this machine are found
    std::set<std::string> topics;
    std::size_t queue_bytes = 64u << 20;  ///< of samples that wait to be sent; then the oldest goes
  };

  struct Counters {
    std::uint64_t sent = 0;
    std::uint64_t not_sent = 0;  ///< the queue was full, or the network did not take them in time
    std::uint64_t received = 0;
    std::uint64_t missed = 0;  ///< that others sent and that did not arrive
  };

  using RecordPtr = boost::shared_ptr<const SampleRecord>;
  /// Called on the receiving thread.
  using OnSample = std::function<void(const std::string& topic, SampleRecord&& sample)>;

  /// Errors   std::runtime_error with the reason when DDS cannot be started so.
  CycloneRelay(Options options, OnSample on_sample);
  ~CycloneRelay();

  /// Sends a sample soon; a topic that is not carried is ignored. `bytes` is about the memory that the sample takes.
  void Send(const std::string& topic, RecordPtr sample, std::size_t bytes);

  Counters Count() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Corvanta
