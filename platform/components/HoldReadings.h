// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <vector>

#include "platform/base/Mutex.h"

namespace Lumenar {

/// Something that HoldReadings can hold back: the publication of one reading.
class HeldPublication {
 public:
  virtual ~HeldPublication() = default;

  /// Called once the hold has ended.
  virtual void PublishHeld() noexcept = 0;
};

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

  bool IsHolding() const;

  /// Remembers a publication for the end of the hold; false, having done nothing, when nothing is held.
  bool Defer(const boost::weak_ptr<HeldPublication>& publication);

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
  using Publications = std::vector<boost::weak_ptr<HeldPublication>>;

  HoldReadings() = default;
  Publications EndOne();

  mutable Mutex mutex_;  // a leaf
  unsigned long holds_ GUARDED_BY(mutex_) = 0;
  Publications deferred_ GUARDED_BY(mutex_);
};

}  // namespace Lumenar
