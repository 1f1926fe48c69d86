// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <functional>
#include <vector>

#include "platform/base/Mutex.h"

namespace Lumenar {

/// Holds back the publications of all readings of the process: results are stored but not published; when the last hold
/// ends, each reading that was assigned meanwhile publishes its newest value, in the order of the first assignments. A
/// publication that has begun already is not waited for.
/// Threads   any.
class HoldReadings {
 public:
  /// The object of the process; it lives as long as somebody shares it.
  static boost::shared_ptr<HoldReadings> CreateInstance();

  HoldReadings(const HoldReadings&) = delete;
  HoldReadings& operator=(const HoldReadings&) = delete;

  /// Holds nest.
  void Hold();

  /// Ends a hold; the end of the last one publishes, on this thread.
  /// Errors   std::logic_error when nothing is held.
  void Release();

  /// Takes no lock: what is published while nobody holds pays for nothing else.
  bool IsHolding() const noexcept { return holds_ > 0; }

  /// A publication to be made at the end of the hold; may find that its reading is gone. Never throws.
  using Publication = std::function<void()>;

  /// Remembers a publication for the end of the hold; false, having done nothing, when nothing is held.
  bool Defer(Publication publication);

  /// A hold for the length of a block.
  class Block {
   public:
    Block() : hold_(CreateInstance()) { hold_->Hold(); }
    ~Block() { hold_->Release(); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

   private:
    boost::shared_ptr<HoldReadings> hold_;
  };

 private:
  using Publications = std::vector<Publication>;

  HoldReadings() = default;
  Publications EndOne();

  mutable Mutex mutex_;                  // a leaf
  std::atomic<unsigned long> holds_{0};  // changes under the lock
  Publications deferred_ GUARDED_BY(mutex_);
};

}  // namespace Lumenar
